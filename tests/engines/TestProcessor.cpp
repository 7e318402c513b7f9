#include "engines/Processor.h"

#include <gtest/gtest.h>

namespace tallowfern {

namespace {

TEST(Processor, NamesWhatIsMissing)
{
    EXPECT_EQ(missingProcessorFeatures(" fpu sse4_2 avx f16c bmi1 avx2 bmi2 fma sha_ni"), "");
    EXPECT_EQ(missingProcessorFeatures("fpu sse4_2 avx f16c"), "avx2 fma bmi2");
    EXPECT_EQ(missingProcessorFeatures("avx512 avx2x"), "sse4_2 avx avx2 fma f16c bmi2");
}

} // namespace

} // namespace tallowfern
