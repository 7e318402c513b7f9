#include "doctor/Diagnosis.h"

#include <QJsonObject>

#include <gtest/gtest.h>

#include <functional>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

using State = Diagnosis::State;

Findings healthy()
{
    Findings found;
    found.sessionType = u"x11"_s;
    found.hasDisplay = true;
    found.windowManager = u"Openbox"_s;
    found.hotKeys = {{u"toggle"_s, u"Alt+Space"_s, true}, {u"pushToTalk"_s, u"Ctrl+Alt+Space"_s, true}};
    found.hasMicrophone = true;
    found.microphoneLevel = -42;
    found.canPostKeys = found.hasAccessibilityBus = found.hasTray = found.hasNotifications = true;
    found.hasSecretService = found.isTranslucent = true;
    found.engines = {{u"whisper-cli"_s, std::nullopt}, {u"parakeet-cli"_s, std::nullopt}};
    found.modelsFolder = u"/models"_s;
    found.freeBytes = 5'000'000'000;
    found.installedModels = {u"Pocket"_s};
    found.selectedModel = u"Pocket"_s;
    return found;
}

} // namespace

TEST(Diagnosis, AHealthyDesktopHasNothingToMend)
{
    const auto list = diagnose(healthy());
    EXPECT_TRUE(canDictate(list));
    for (const Diagnosis& one : list) {
        EXPECT_EQ(one.state, State::Good) << one.subject.toStdString();
        EXPECT_TRUE(one.mend.isEmpty()) << one.mend.toStdString();
        EXPECT_FALSE(one.detail.isEmpty()) << one.subject.toStdString();
    }
    EXPECT_EQ(diagnosisJson(list)[0].toObject()[u"state"_s].toString(), u"good"_s);
}

TEST(Diagnosis, EachFaultIsToldWithItsMend)
{
    struct Row {
        const char* subject;
        State state;
        std::function<void(Findings&)> harm;
        const char* mend;
    };
    const Row rows[] = {
        {"Session", State::Bad, [](Findings& f) { f.hasDisplay = false; }, "graphical session"},
        {"Session", State::Poor, [](Findings& f) { f.sessionType = u"wayland"_s; }, "X11 session"},
        {"Hot keys", State::Poor, [](Findings& f) { f.hotKeys[0].isFree = false; }, "tallowfern toggle"},
        {"Hot keys", State::Bad, [](Findings& f) { f.hotKeys[0].isFree = f.hotKeys[1].isFree = false; },
            "tallowfern toggle"},
        {"Microphone", State::Bad, [](Findings& f) { f.hasMicrophone = false; }, "Connect one"},
        {"Microphone", State::Poor, [](Findings& f) { f.microphoneLevel = -160; }, "muted"},
        {"Pasting", State::Bad, [](Findings& f) { f.canPostKeys = false; }, "XTEST"},
        {"Accessibility bus", State::Poor, [](Findings& f) { f.hasAccessibilityBus = false; }, "at-spi2-core"},
        {"Tray", State::Poor, [](Findings& f) { f.hasTray = false; }, "tallowfern open"},
        {"Notifications", State::Poor, [](Findings& f) { f.hasNotifications = false; }, "Install"},
        {"Secret service", State::Poor, [](Findings& f) { f.hasSecretService = false; }, "gnome-keyring"},
        {"Speech engines", State::Bad, [](Findings& f) { f.engines[1].problem = u"crashes"_s; },
            "Install Tallowfern again"},
        {"Speech model", State::Bad, [](Findings& f) { f.selectedModel.clear(); }, "/models"},
        {"Speech model", State::Poor, [](Findings& f) { f.isStandIn = true; }, "another model"},
        {"Disk", State::Poor, [](Findings& f) { f.freeBytes = 1000; }, "room"},
    };
    for (const Row& row : rows) {
        Findings found = healthy();
        row.harm(found);
        const auto list = diagnose(found);
        EXPECT_EQ(canDictate(list), row.state != State::Bad) << row.subject;
        bool isTold = false;
        for (const Diagnosis& one : list) {
            if (one.subject != QLatin1StringView(row.subject))
                continue;
            isTold = true;
            EXPECT_EQ(one.state, row.state) << row.subject;
            EXPECT_TRUE(one.mend.contains(QLatin1StringView(row.mend))) << one.mend.toStdString();
        }
        EXPECT_TRUE(isTold) << row.subject;
        EXPECT_TRUE(diagnosisText(list, false).contains(QLatin1StringView(row.mend)));
    }
}

} // namespace tallowfern
