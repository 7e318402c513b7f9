#include "engines/Prompt.h"

#include <gtest/gtest.h>

namespace tallowfern {

namespace {

TEST(Prompt, StaysWholeWhenItIsOrdinary)
{
    for (const auto* prompt : {"", "Kafka, Zürich, C++20", "--help", "\n\"quoted\"", "漢字、かな"})
        EXPECT_EQ(boundedPrompt(prompt), prompt);
}

TEST(Prompt, KeepsItsEnd)
{
    std::string terms;
    for (int i = 0; i < 12000; ++i)
        terms += "Term" + std::to_string(i) + ", ";
    const auto bounded = boundedPrompt(terms + "last");
    EXPECT_LT(bounded.size(), 20000U);
    EXPECT_GT(bounded.size(), 8000U);
    EXPECT_TRUE(bounded.ends_with("Term11999, last"));
}

TEST(Prompt, BreaksLongRunsThatTheLibraryDiesOf)
{
    for (const std::string unit : {"a", "7", "-", "漢", "\xFF", " "}) {
        std::string run;
        for (int i = 0; i < 9000; ++i)
            run += unit;
        const auto bounded = boundedPrompt(run + ", Kafka");
        EXPECT_LE(bounded.size(), 200 * unit.size() + 7) << unit;
        EXPECT_TRUE(bounded.ends_with(", Kafka"));
        EXPECT_EQ((bounded.size() - 7) % unit.size(), 0U) << "characters stay whole: " << unit;
    }
}

} // namespace

} // namespace tallowfern
