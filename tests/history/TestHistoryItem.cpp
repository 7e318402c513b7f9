#include "history/HistoryItem.h"
#include "speech/SpeechModel.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;

TEST(HistoryItem, DurationsReadAsMinutesAndSeconds)
{
    const std::pair<double, QString> cases[] = {{0.4, u"0:00"_s}, {0.5, u"0:01"_s}, {59.6, u"1:00"_s},
        {61.4, u"1:01"_s}, {-3.0, u"0:00"_s}, {600, u"10:00"_s}, {6005, u"100:05"_s}};
    for (const auto& [seconds, label] : cases) {
        HistoryItem item;
        item.duration = seconds;
        EXPECT_EQ(item.durationLabel(), label) << seconds;
    }
}

TEST(HistoryItem, TellsTheModelByItsNameWhileTheCatalogueKnowsIt)
{
    HistoryItem item;
    item.modelID = SpeechModel::catalog().first().id;
    EXPECT_EQ(item.modelName(), SpeechModel::catalog().first().name);
    item.modelID = u"of a later version"_s;
    EXPECT_EQ(item.modelName(), u"Local model"_s);
}

} // namespace
} // namespace tallowfern
