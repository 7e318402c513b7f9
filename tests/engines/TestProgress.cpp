#include "engines/Progress.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace tallowfern {

namespace {

std::vector<int> percentsOf(std::FILE* stream)
{
    std::rewind(stream);
    std::vector<int> percents;
    for (char line[100]; std::fgets(line, sizeof line, stream) != nullptr;) {
        std::cmatch match;
        if (std::regex_match(line, match, std::regex("progress = +(\\d+)%\n")))
            percents.push_back(std::stoi(match[1]));
        else
            ADD_FAILURE() << line;
    }
    return percents;
}

TEST(Progress, RisesFromZeroToHundredWhateverIsReported)
{
    std::FILE* stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    Progress progress(stream);
    progress.modelRead(0);
    progress.modelRead(1);
    for (const auto& [begin, end] : {std::pair(0.0, 0.5), std::pair(0.5, 1.0)}) {
        progress.beginWindow(begin, end);
        for (const double share : {0.0, 0.5, 0.2, 7.0, 0.0}) // a second hearing starts anew, a long one exceeds
            progress.decoded(share);
    }
    progress.finished();
    const auto percents = percentsOf(stream);
    std::fclose(stream);

    EXPECT_EQ(percents.front(), 0);
    EXPECT_EQ(percents.back(), 100);
    EXPECT_GE(percents.size(), 8U);
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(std::adjacent_find(percents.begin(), percents.end()), percents.end()) << "a line only when it moved";
    EXPECT_LT(percents[percents.size() - 2], 100);
}

} // namespace

} // namespace tallowfern
