#include "fakes/FakeHotKeyCenter.h"
#include "fakes/VirtualClock.h"
#include "shortcuts/HotKeyManager.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

KeyboardShortcutSetting key(quint32 code)
{
    return {.keyCode = code, .keyLabel = QString::number(code), .control = true};
}

class HotKeys : public ::testing::Test {
protected:
    HotKeys()
    {
        manager->onToggle = [this] { log.push_back("toggle"); };
        manager->onPushToTalkBegan = [this] { log.push_back("began"); };
        manager->onPushToTalkEnded = [this] { log.push_back("ended"); };
        manager->onCancel = [this] { log.push_back("cancel"); };
        manager->onAgentToggle = [this] { log.push_back("agent"); };
        manager->onAgentScreenshotToggle = [this] { log.push_back("screenshot"); };
        manager->onAgentProfileToggle = [this](int index) { log.push_back("profile " + std::to_string(index)); };
        shortcuts.toggle = key(1);
        shortcuts.pushToTalk = key(2);
    }
    void press(quint32 code) { center.press(key(code).chord()); }
    void release(quint32 code) { center.release(key(code).chord()); }
    std::vector<std::string> told()
    {
        clock.settle();
        return std::exchange(log, {});
    }

    VirtualClock clock;
    FakeHotKeyCenter center;
    std::unique_ptr<HotKeyManager> manager = std::make_unique<HotKeyManager>(center, clock);
    HotKeyShortcuts shortcuts;
    std::vector<std::string> log;
};

TEST_F(HotKeys, EveryKeyDoesWhatItStandsForAndOnlyPushToTalkHearsOfReleases)
{
    shortcuts.agent = key(4);
    shortcuts.agentScreenshot = key(5);
    for (quint32 i = 0; i < 10; ++i)
        shortcuts.agentProfiles.append(key(100 + i));
    shortcuts.cancel = key(3);
    manager->registerShortcuts(shortcuts);
    manager->enableCancel();
    EXPECT_THAT(center.numbers(), ElementsAre(1, 2, 3, 4, 5, 100, 101, 102, 103, 104, 105, 106, 107, 108, 109));
    for (const quint32 code : {1, 2, 3, 4, 5, 100, 109}) {
        press(code);
        release(code);
    }
    EXPECT_TRUE(log.empty()); // never inside the desktop's event
    EXPECT_THAT(
        told(), ElementsAre("toggle", "began", "ended", "cancel", "agent", "screenshot", "profile 0", "profile 9"));
    for (const quint32 unused : {0, 6, 99})
        center.onEvent({unused, true});
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(HotKeys, RefusedKeyIsReportedAndHarmsNoOther)
{
    shortcuts.agentProfiles = {key(100), key(101), key(1)};
    center.heldByOthers = {key(100).chord()};
    manager->registerShortcuts(shortcuts);
    EXPECT_THAT(manager->states(),
        ElementsAre(HotKeyState{1, key(1), true}, HotKeyState{2, key(2), true}, HotKeyState{100, key(100), false},
            HotKeyState{101, key(101), true}, HotKeyState{102, key(1), false}));
    press(101);
    press(1); // the first to be registered keeps the keys
    EXPECT_THAT(told(), ElementsAre("profile 1", "toggle"));

    center.heldByOthers.clear();
    manager->registerShortcuts(shortcuts);
    EXPECT_THAT(center.numbers(), ElementsAre(1, 2, 100, 101));
}

TEST_F(HotKeys, RegisteringAgainReplacesEverythingInTheOrderOfRegistration)
{
    manager->registerShortcuts(shortcuts);
    manager->enableCancel();
    manager->registerShortcuts(shortcuts);
    EXPECT_THAT(center.numbers(), ElementsAre(1, 2));

    std::swap(shortcuts.toggle, shortcuts.pushToTalk);
    manager->registerShortcuts(shortcuts);
    press(2);
    EXPECT_THAT(told(), ElementsAre("toggle"));

    shortcuts.toggle = shortcuts.pushToTalk; // both want the keys of push to talk
    manager->registerShortcuts(shortcuts);
    press(1);
    EXPECT_THAT(told(), ElementsAre("toggle"));
    EXPECT_THAT(center.numbers(), ElementsAre(1));
}

TEST_F(HotKeys, HeldPushToTalkAlwaysEnds)
{
    manager->registerShortcuts(shortcuts);
    press(2);
    shortcuts.toggle = key(7);
    manager->registerShortcuts(shortcuts); // another shortcut has changed: the hold goes on
    EXPECT_THAT(told(), ElementsAre("began"));
    release(2);
    EXPECT_THAT(told(), ElementsAre("ended"));

    press(2);
    shortcuts.pushToTalk = key(8);
    manager->registerShortcuts(shortcuts);
    release(2);
    EXPECT_THAT(told(), ElementsAre("began", "ended"));

    press(8);
    manager->unregister();
    release(8);
    EXPECT_THAT(told(), ElementsAre("began", "ended"));
    manager->registerShortcuts(shortcuts);
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(HotKeys, CancelHoldsItsKeyOnlyWhileItIsEnabled)
{
    manager->disableCancel();
    shortcuts.cancel = key(3);
    manager->registerShortcuts(shortcuts);
    EXPECT_EQ(manager->states().size(), 2);
    manager->enableCancel();
    manager->enableCancel();
    EXPECT_THAT(center.numbers(), ElementsAre(1, 2, 3));
    EXPECT_EQ(manager->states().last(), (HotKeyState{3, key(3), true}));
    manager->disableCancel();
    EXPECT_THAT(center.numbers(), ElementsAre(1, 2));

    manager->unregister();
    EXPECT_THAT(center.numbers(), IsEmpty());
    manager->enableCancel(); // the shortcut is remembered
    EXPECT_THAT(center.numbers(), ElementsAre(3));
}

TEST_F(HotKeys, EndOfTheManagerGivesTheKeysBackAndDropsWhatWasPressed)
{
    manager->registerShortcuts(shortcuts);
    manager->enableCancel();
    press(1);
    press(2);
    manager.reset();
    release(2);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(center.numbers(), IsEmpty());
}

} // namespace
} // namespace tallowfern
