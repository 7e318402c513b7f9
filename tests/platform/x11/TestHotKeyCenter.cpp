#include "platform/linux/x11/VirtualKeys.h"
#include "platform/linux/x11/X11HotKeyCenter.h"
#include "platform/x11/PrivateDisplay.h"

#include <gmock/gmock.h>

#include <linux/input-event-codes.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

constexpr KeyChord kControlAltSpace{49, KeyChord::kControl | KeyChord::kOption};
constexpr KeyChord kAltF9{101, KeyChord::kOption};
constexpr KeyChord kEscape{53, 0};

class HotKeys : public testing::Test {
protected:
    HotKeys()
    {
        sharedDisplay();
        keyboard = std::make_unique<Keyboard>();
        center = makeCenter();
        center->onEvent = [this](HotKeyCenter::Event event) {
            events.append((event.pressed ? "+" : "-") + std::to_string(event.number));
        };
    }
    static std::unique_ptr<X11HotKeyCenter> makeCenter()
    {
        return std::make_unique<X11HotKeyCenter>(X11Connection::open());
    }
    bool happened(qsizetype count)
    {
        return waitFor([this, count] { return events.size() >= count; });
    }
    void pressControlAltSpace()
    {
        for (const quint32 key : {KEY_LEFTCTRL, KEY_LEFTALT, KEY_SPACE})
            keyboard->press(key);
    }

    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<X11HotKeyCenter> center;
    QList<std::string> events;
};

} // namespace

TEST_F(HotKeys, PressAndReleaseComeOnceWhileTheKeyRepeats)
{
    const auto registration = center->grab(1, kControlAltSpace);
    ASSERT_TRUE(registration);
    pressControlAltSpace();
    EXPECT_FALSE(waitFor([this] { return events.size() > 1; }, 1200)); // repeats begin after 660 ms
    keyboard->release(KEY_LEFTALT); // the modifiers first, as people do
    keyboard->release(KEY_LEFTCTRL);
    keyboard->release(KEY_SPACE);
    ASSERT_TRUE(happened(2));
    EXPECT_THAT(events, ElementsAre("+1", "-1"));
}

TEST_F(HotKeys, LocksMakeNoDifference)
{
    const auto registration = center->grab(1, kControlAltSpace);
    for (const quint32 lock : {KEY_NUMLOCK, KEY_CAPSLOCK, KEY_NUMLOCK, KEY_CAPSLOCK}) {
        keyboard->tap(lock); // on, both on, one on, off
        events.clear();
        pressControlAltSpace();
        for (const quint32 key : {KEY_SPACE, KEY_LEFTALT, KEY_LEFTCTRL})
            keyboard->release(key);
        ASSERT_TRUE(happened(2)) << lock;
        EXPECT_THAT(events, ElementsAre("+1", "-1")) << lock;
    }
}

TEST_F(HotKeys, AKeyThatAnotherProgramHoldsIsAbsentAndHarmsNobody)
{
    const auto other = makeCenter();
    int othersPresses = 0;
    other->onEvent = [&](HotKeyCenter::Event event) { othersPresses += event.pressed; };
    auto othersKey = other->grab(7, kControlAltSpace);
    ASSERT_TRUE(othersKey);

    EXPECT_FALSE(center->grab(1, kControlAltSpace));
    const auto mine = center->grab(2, kAltF9);
    EXPECT_TRUE(mine);
    pressControlAltSpace();
    for (const quint32 key : {KEY_SPACE, KEY_LEFTCTRL})
        keyboard->release(key);
    keyboard->tap(KEY_F9);
    ASSERT_TRUE(happened(2));
    EXPECT_THAT(events, ElementsAre("+2", "-2"));
    EXPECT_EQ(othersPresses, 1);

    othersKey.reset();
    EXPECT_TRUE(waitFor([this] { return center->grab(1, kControlAltSpace) != nullptr; }));
}

TEST_F(HotKeys, AGrabThatHalfSucceededIsGivenBack)
{
    const auto other = X11Connection::open();
    const xcb_keycode_t f9 = KEY_F9 + kX11KeycodeOffset;
    xcb_grab_key(other->xcb(), false, other->root(), XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK, f9, XCB_GRAB_MODE_ASYNC,
        XCB_GRAB_MODE_ASYNC); // with CapsLock only
    other->settle();
    EXPECT_FALSE(center->grab(1, kAltF9));
    EXPECT_TRUE(waitFor([&] {
        const auto plain = xcb_grab_key_checked(
            other->xcb(), false, other->root(), XCB_MOD_MASK_1, f9, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        return other->errorOf(plain) == 0;
    }));
}

TEST_F(HotKeys, OurOwnSecondRegistrationOfACombinationIsAbsent)
{
    auto first = center->grab(1, kAltF9);
    EXPECT_TRUE(first);
    EXPECT_FALSE(center->grab(2, kAltF9));
    first.reset();
    EXPECT_TRUE(center->grab(2, kAltF9));
    EXPECT_FALSE(center->grab(3, {9999, 0})); // no such key
}

TEST_F(HotKeys, WorkOnAfterAChangeOfTheKeyboardLayout)
{
    const auto registration = center->grab(1, kControlAltSpace);
    const auto letter = center->grab(2, {9, KeyChord::kCommand}); // by position, the v of a US keyboard
    ASSERT_TRUE(registration && letter);
    const QList<QStringList> layouts = {{u"ru"_s}, {u"us,ru"_s}, {u"dvorak"_s},
        {u"us"_s, u"-option"_s, u"altwin:swap_alt_win"_s}, {u"us"_s, u"-option"_s}};
    for (const QStringList& layout : layouts) {
        events.clear();
        sharedDisplay().output(u"setxkbmap"_s, layout);
        const bool swapped = layout.size() == 3;
        const quint32 alt = swapped ? KEY_LEFTMETA : KEY_LEFTALT;
        const quint32 super = swapped ? KEY_LEFTALT : KEY_LEFTMETA;
        // The center hears of the new layout a moment later than we do: press until it answers.
        EXPECT_TRUE(waitFor([&] {
            for (const quint32 key : {quint32(KEY_LEFTCTRL), alt, quint32(KEY_SPACE)})
                keyboard->press(key);
            for (const quint32 key : {quint32(KEY_SPACE), alt, quint32(KEY_LEFTCTRL)})
                keyboard->release(key);
            return events.contains("+1") && events.contains("-1");
        })) << qPrintable(layout.join(u' '));
        events.clear();
        keyboard->press(super);
        keyboard->tap(KEY_V);
        keyboard->release(super);
        EXPECT_TRUE(waitFor([&] { return events.contains("-2"); })) << qPrintable(layout.join(u' '));
    }
}

TEST_F(HotKeys, EscapeIsHeardWhileAnotherHotKeyIsHeld)
{
    const auto talk = center->grab(2, kControlAltSpace);
    pressControlAltSpace();
    ASSERT_TRUE(happened(1));
    const auto cancel = center->grab(3, kEscape);
    keyboard->tap(KEY_ESC);
    keyboard->release(KEY_SPACE);
    ASSERT_TRUE(happened(4));
    EXPECT_THAT(events, ElementsAre("+2", "+3", "-3", "-2"));
}

TEST(VirtualKeys, AreTheSamePositionInBothDirections)
{
    const QList<std::pair<quint32, quint32>> known
        = {{49, KEY_SPACE}, {53, KEY_ESC}, {9, KEY_V}, {0, KEY_A}, {18, KEY_1}, {122, KEY_F1}, {126, KEY_UP}};
    for (const auto& [virtualKey, evdev] : known)
        EXPECT_EQ(evdevCode(virtualKey), evdev);
    for (quint32 virtualKey = 0; virtualKey < 128; ++virtualKey) {
        if (const auto evdev = evdevCode(virtualKey)) {
            EXPECT_EQ(virtualKeyCode(*evdev), virtualKey);
        }
    }
}

} // namespace tallowfern
