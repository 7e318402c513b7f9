#include "platform/linux/x11/X11Desktop.h"
#include "platform/x11/PrivateDisplay.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QFile>

#include <gmock/gmock.h>

#include <linux/input-event-codes.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing_support::await;

namespace {

constexpr quint16 kControl = XCB_MOD_MASK_CONTROL;
constexpr quint16 kShift = XCB_MOD_MASK_SHIFT;

class Pasting : public testing::Test {
protected:
    Pasting()
    {
        sharedDisplay();
        keyboard = std::make_unique<Keyboard>();
        desktop = std::move(std::get<std::unique_ptr<X11Desktop>>(X11Desktop::open()));
        desktop->pasteboard().replaceText(u"dictated"_s);
    }
    void TearDown() override { sharedDisplay().output(u"setxkbmap"_s, {u"us"_s, u"-option"_s}); }

    RunningApplication show(TestWindow& window)
    {
        window.show();
        const auto isInFront = [&] {
            const auto front = desktop->workspace().frontmostApplication();
            return front && static_cast<xcb_window_t>(front->identity) == window.id();
        };
        EXPECT_TRUE(waitFor(isInFront));
        return desktop->workspace().frontmostApplication().value_or(RunningApplication{});
    }
    bool paste(const RunningApplication& target) { return await(desktop->keyPoster().paste(target)); }
    bool copy(const RunningApplication& target) { return await(desktop->keyPoster().copy(target)); }
    static QByteArray primary() { return sharedDisplay().output(u"xclip"_s, {u"-o"_s, u"-selection"_s, u"primary"_s}); }

    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<X11Desktop> desktop;
};

} // namespace

TEST_F(Pasting, TheChordFollowsTheTarget)
{
    struct Case {
        QByteArray windowClass;
        TestWindow::Key chord;
        QByteArray primary;
    };
    const QList<Case> cases = {
        {"Mousepad", {KEY_V, kControl}, ""},
        {"Xfce4-terminal", {KEY_V, kControl | kShift}, ""},
        {"org.gnome.Terminal", {KEY_V, kControl | kShift}, ""},
        {"konsole", {KEY_V, kControl | kShift}, ""},
        {"XTerm", {KEY_INSERT, kShift}, "dictated"},
    };
    for (const Case& each : cases) {
        TestWindow window(each.windowClass);
        const auto target = show(window);
        EXPECT_TRUE(paste(target)) << each.windowClass.constData();
        EXPECT_TRUE(waitFor([&] { return !window.keys.isEmpty(); }));
        EXPECT_THAT(window.keys, ElementsAre(each.chord)) << each.windowClass.constData();
        EXPECT_EQ(primary(), each.primary) << each.windowClass.constData();
    }
}

TEST_F(Pasting, WorksWithLayoutsThatHideTheLetter)
{
    struct Case {
        QStringList layout;
        TestWindow::Key chord;
        QByteArray windowClass = "Editor";
        QByteArray primary = "";
    };
    const QList<Case> cases = {
        {{u"ru"_s}, {KEY_INSERT, kShift}}, {{u"us,ru"_s}, {KEY_V, kControl}}, {{u"ru,us"_s}, {KEY_V, kControl}},
        {{u"dvorak"_s}, {KEY_DOT, kControl}},
        {{u"ru"_s}, {KEY_INSERT, kShift}, "konsole", "dictated"}, // where that chord pastes PRIMARY
    };
    for (const Case& each : cases) {
        sharedDisplay().output(u"setxkbmap"_s, each.layout);
        TestWindow window(each.windowClass);
        const auto target = show(window);
        EXPECT_TRUE(paste(target));
        EXPECT_TRUE(waitFor([&] { return !window.keys.isEmpty(); }));
        EXPECT_THAT(window.keys, ElementsAre(each.chord)) << qPrintable(each.layout.value(0));
        EXPECT_EQ(primary(), each.primary);
    }
}

TEST_F(Pasting, TheCopyChordFollowsTheTargetAndNeverEndsWhatRunsInATerminal)
{
    struct Case {
        QStringList layout;
        QByteArray windowClass;
        QList<TestWindow::Key> chord; ///< empty: none
    };
    const QList<Case> cases = {
        {{u"us"_s}, "Mousepad", {{KEY_C, kControl}}},
        {{u"us"_s}, "Xfce4-terminal", {{KEY_C, kControl | kShift}}},
        {{u"us"_s}, "cool-retro-term", {{KEY_C, kControl | kShift}}},
        {{u"us"_s}, "XTerm", {}},
        {{u"ru"_s}, "Mousepad", {{KEY_INSERT, kControl}}},
        {{u"ru"_s}, "org.gnome.Terminal", {}},
    };
    X11Pasteboard user(X11Connection::open());
    user.replaceText(u"of another program"_s);
    await(user.settledChangeCount());
    for (const Case& each : cases) {
        sharedDisplay().output(u"setxkbmap"_s, each.layout);
        TestWindow window(each.windowClass);
        const auto target = show(window);
        EXPECT_EQ(copy(target), !each.chord.isEmpty()) << each.windowClass.constData();
        EXPECT_TRUE(waitFor([&] { return window.keys.size() >= each.chord.size(); }));
        EXPECT_EQ(window.keys, each.chord) << each.windowClass.constData();
    }
    TestWindow behind("Behind");
    const auto target = show(behind);
    TestWindow inFront("Front");
    show(inFront);
    EXPECT_FALSE(copy(target));
}

TEST_F(Pasting, WhatAnEditorCopiesIsKnownAsItsOwn)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"letter"_s);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("Dear Anna");
    file.close();
    QProcess* editor = sharedDisplay().start(u"mousepad"_s, {u"--disable-server"_s, path});
    const auto isInFront = [&] {
        const auto front = desktop->workspace().frontmostApplication();
        return front && front->applicationIdentifier.contains(u"mousepad"_s, Qt::CaseInsensitive);
    };
    ASSERT_TRUE(waitFor(isInFront));
    const auto target = *desktop->workspace().frontmostApplication();
    std::optional<QString> copied;
    const auto hasCopied = [&] {
        keyboard->press(KEY_LEFTCTRL); // it shows its window before it has read the file
        keyboard->tap(KEY_A);
        keyboard->release(KEY_LEFTCTRL);
        EXPECT_TRUE(copy(target));
        copied = await(desktop->pasteboard().readText(target));
        return copied && copied->startsWith(u"Dear");
    };
    EXPECT_TRUE(waitFor(hasCopied));
    EXPECT_EQ(copied->trimmed(), u"Dear Anna");
    EXPECT_EQ(await(desktop->pasteboard().readSelectedText(target))->trimmed(), u"Dear Anna");
    editor->kill();
    EXPECT_TRUE(waitFor([&] { return desktop->workspace().isTerminated(target); }));
}

TEST_F(Pasting, WaitsUntilTheHotKeyIsReleased)
{
    TestWindow window("Editor");
    const auto target = show(window);
    const auto hotKey = desktop->hotKeyCenter().grab(1, {49, KeyChord::kControl | KeyChord::kOption});
    for (const quint32 key : {KEY_LEFTCTRL, KEY_LEFTALT, KEY_SPACE})
        keyboard->press(key);
    const auto pasted = testing_support::start(desktop->keyPoster().paste(target));
    keyboard->release(KEY_SPACE);
    keyboard->release(KEY_LEFTALT);
    EXPECT_FALSE(waitFor([&] { return pasted.isDone(); }, 100));
    EXPECT_TRUE(window.keys.isEmpty());
    keyboard->release(KEY_LEFTCTRL);
    ASSERT_TRUE(waitFor([&] { return pasted.isDone() && !window.keys.isEmpty(); }));
    EXPECT_TRUE(pasted.value());
    EXPECT_THAT(window.keys, ElementsAre(TestWindow::Key{KEY_V, kControl}));
}

TEST_F(Pasting, KeysThatAreNeverReleasedDoNotLeakIntoTheChord)
{
    TestWindow window("Editor");
    const auto target = show(window);
    const auto hotKey = desktop->hotKeyCenter().grab(1, {49, KeyChord::kControl | KeyChord::kOption});
    for (const quint32 key : {KEY_LEFTCTRL, KEY_LEFTALT, KEY_SPACE})
        keyboard->press(key);
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_TRUE(paste(target));
    EXPECT_GE(elapsed.elapsed(), 900);
    EXPECT_TRUE(waitFor([&] { return !window.keys.isEmpty(); }));
    EXPECT_THAT(window.keys, ElementsAre(TestWindow::Key{KEY_V, kControl}));
}

TEST_F(Pasting, NothingIsTypedUnlessTargetAndClipboardAreWhatTheyShouldBe)
{
    TestWindow first("First");
    const auto target = show(first);
    {
        TestWindow second("Second");
        show(second);
        EXPECT_FALSE(paste(target));
        EXPECT_FALSE(waitFor([&] { return !first.keys.isEmpty() || !second.keys.isEmpty(); }, 50));
    }
    show(first);
    X11Pasteboard user(X11Connection::open());
    user.replaceText(u"something else"_s);
    await(user.settledChangeCount());
    EXPECT_FALSE(paste(target));
    first.destroy();
    EXPECT_FALSE(paste(target));
    EXPECT_TRUE(first.keys.isEmpty());
}

TEST_F(Pasting, GoesOnWithoutItsCallerAndEndsWithTheDesktop)
{
    TestWindow window("Editor");
    const auto target = show(window);
    keyboard->press(KEY_LEFTCTRL);
    {
        const auto dropped = desktop->keyPoster().paste(target);
    }
    keyboard->release(KEY_LEFTCTRL);
    EXPECT_TRUE(waitFor([&] { return !window.keys.isEmpty(); }));

    keyboard->press(KEY_LEFTCTRL);
    const auto orphaned = testing_support::start(desktop->keyPoster().paste(target));
    desktop.reset();
    EXPECT_TRUE(orphaned.isDone());
    EXPECT_FALSE(orphaned.value());
}

TEST_F(Pasting, ATerminalOfTheOldestKindGetsTheText)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"typed"_s);
    sharedDisplay().start(
        u"xterm"_s, {u"-e"_s, u"sh"_s, u"-c"_s, u"stty raw; head -c 8 > %1.new; mv %1.new %1"_s.arg(path)});
    const auto isInFront = [&] {
        const auto front = desktop->workspace().frontmostApplication();
        return front && front->applicationIdentifier.contains(u"xterm"_s, Qt::CaseInsensitive);
    };
    ASSERT_TRUE(waitFor(isInFront));
    const auto target = *desktop->workspace().frontmostApplication();
    EXPECT_TRUE(paste(target));
    EXPECT_TRUE(waitFor([&] { return QFile::exists(path); }));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "dictated");
}

} // namespace tallowfern
