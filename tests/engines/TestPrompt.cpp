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

TEST(Prompt, LeavesOutTermsThatTheLibraryDiesOf)
{
    for (const std::string unit : {"a", "7", "-", "漢", "\xFF", " "}) {
        std::string run;
        for (int i = 0; i < 5000; ++i)
            run += unit;
        EXPECT_EQ(boundedPrompt("Zürich, " + run + ", Kafka"), "Zürich, Kafka") << unit;
        EXPECT_EQ(boundedPrompt(run), "") << unit;
    }
}

} // namespace

} // namespace tallowfern
