#include "delivery/ClipboardRestorer.h"
#include "delivery/TextDelivery.h"
#include "fakes/Desk.h"
#include "support/Await.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::start;

/// A desk at which texts are delivered as the sessions do it.
class DeliveryDesk : public Desk {
public:
    static constexpr double kEngineSeconds = 0.5;

    std::optional<int> restoreDelay = 3;
    std::unique_ptr<ClipboardRestorer> restorer
        = std::make_unique<ClipboardRestorer>(clipboard, clock, [this] { return restoreDelay; });
    TextDelivery delivery{windows, keys, clock};
    RunningApplication editor = windows.open(u"Editor"_s);
    double deliveredAfter = 0; ///< seconds that the newest delivery took

    /// A whole delivery; the time stands at its end.
    void dictate(const QString& text)
    {
        restorer->prepareSnapshot();
        clock.advance(kEngineSeconds);
        const auto done = start(deliver(text));
        while (!done.isDone())
            clock.advance(0.001);
    }
    QCoro::Task<> deliver(QString text)
    {
        const double begin = clock.now();
        const PasteboardSnapshot snapshot = co_await restorer->takeClipboardSnapshotForRestore();
        clipboard.replaceText(text);
        const qint64 delivered = clipboard.changeCount();
        const bool pasted = co_await delivery.paste(editor);
        if (pasted)
            restorer->scheduleClipboardRestore(snapshot, delivered);
        deliveredAfter = clock.now() - begin;
    }
};

TEST(ClipboardRestore, EverythingTheUserHadComesBack)
{
    const QList<QList<PasteboardItem>> clipboards = {
        {},
        {FakePasteboard::textItem(u"mine"_s)},
        {{{u"text/html"_s, "<b>mine</b>"}, {u"image/png"_s, QByteArray(100000, '\x89')}, {u"text/plain"_s, "mine"}},
            {{u"application/x-private"_s, QByteArray("\0\1", 2)}, {u"text/uri-list"_s, ""}}, {}},
    };
    for (const auto& items : clipboards) {
        DeliveryDesk desk;
        desk.clipboard.userCopies(items);
        desk.dictate(u"words"_s);
        EXPECT_EQ(desk.clipboard.text(), u"words"_s);
        EXPECT_EQ(desk.windows.textIn(desk.editor), u"words"_s);
        desk.clock.advance(2.999);
        EXPECT_EQ(desk.clipboard.text(), u"words"_s);
        desk.clock.advance(0.001);
        EXPECT_EQ(desk.clipboard.items(), items);
        EXPECT_EQ(desk.clipboard.ownWrites, 2); // never emptied in between: clipboard keepers refill an empty one
    }
}

TEST(ClipboardRestore, ManyDictationsInARowKeepTheUsersOwnClipboard)
{
    DeliveryDesk desk;
    desk.clipboard.userCopies(u"mine"_s);
    for (const auto& text : {u"first"_s, u"second"_s, u"third"_s}) {
        desk.dictate(text);
        desk.clock.advance(2);
        EXPECT_EQ(desk.clipboard.text(), text);
    }
    EXPECT_EQ(desk.clipboard.readings, 1);
    desk.clock.advance(1);
    EXPECT_EQ(desk.clipboard.text(), u"mine"_s);
}

TEST(ClipboardRestore, DeliveryThatBeginsWhileTheRestoreIsDecidedKeepsTheUsersOwnClipboard)
{
    DeliveryDesk desk;
    desk.clipboard.roundTripSeconds = 0.1;
    desk.clipboard.userCopies(u"mine"_s);
    desk.dictate(u"first"_s);
    desk.after(3.05, [&] { start(desk.deliver(u"second"_s)); });
    desk.clock.advance(4);
    EXPECT_EQ(desk.clipboard.text(), u"second"_s);
    desk.clock.advance(3);
    EXPECT_EQ(desk.clipboard.text(), u"mine"_s);
}

TEST(ClipboardRestore, WhatTheUserCopiesMeanwhileIsNeverLost)
{
    struct Case {
        double seconds; ///< from the end of the recording
        const char* moment;
    };
    const Case cases[] = {
        {0.1, "while the engine works"},
        {0.55, "while the snapshot is read"},
        {0.62, "before the chord"},
        {0.78, "after the chord"},
        {2, "during the delay"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.moment);
        DeliveryDesk desk;
        desk.clipboard.readSeconds = 0.6;
        desk.clipboard.userCopies(u"mine"_s);
        desk.after(c.seconds, [&] { desk.clipboard.userCopies(u"newer"_s); });
        desk.dictate(u"words"_s);
        EXPECT_EQ(desk.windows.textIn(desk.editor), c.seconds == 0.62 ? QString() : u"words"_s);
        desk.clock.advance(5);
        EXPECT_EQ(desk.clipboard.text(), u"newer"_s);
    }
}

TEST(ClipboardRestore, CopyBetweenTwoDictationsIsWhatComesBack)
{
    DeliveryDesk desk;
    desk.clipboard.userCopies(u"mine"_s);
    desk.dictate(u"first"_s);
    desk.clipboard.userCopies(u"newer"_s);
    desk.dictate(u"second"_s);
    desk.clock.advance(2.9); // the first restore would have been due
    EXPECT_EQ(desk.clipboard.text(), u"second"_s);
    desk.clock.advance(0.1);
    EXPECT_EQ(desk.clipboard.text(), u"newer"_s);
}

TEST(ClipboardRestore, SwitchedOffTheTextStaysAndNothingIsRead)
{
    DeliveryDesk desk;
    desk.restoreDelay.reset();
    desk.clipboard.userCopies({FakePasteboard::textItem(u"mine"_s)}, {u"text/plain"_s});
    desk.dictate(u"words"_s);
    desk.clock.advance(100);
    EXPECT_EQ(desk.clipboard.text(), u"words"_s);
    EXPECT_EQ(desk.clipboard.readings, 0);
    EXPECT_NEAR(desk.deliveredAfter, 0.225, 0.002);
}

TEST(ClipboardRestore, DelayIsTheOneInForceWhenItBegan)
{
    for (const int delay : {1, 60}) {
        DeliveryDesk desk;
        desk.clipboard.userCopies(u"mine"_s);
        desk.restoreDelay = delay;
        desk.dictate(u"words"_s);
        desk.restoreDelay = delay == 1 ? std::nullopt : std::optional(1);
        desk.clock.advance(delay - 0.01);
        EXPECT_EQ(desk.clipboard.text(), u"words"_s);
        desk.clock.advance(0.01);
        EXPECT_EQ(desk.clipboard.text(), u"mine"_s);
    }
}

TEST(ClipboardRestore, OwnerThatHangsCostsWhatItDidNotGiveAndNeverTheText)
{
    const PasteboardItem item = {{u"text/plain"_s, "mine"}, {u"image/png"_s, "picture"}};
    struct Case {
        QSet<QString> hanging;
        QString endsAs;
    };
    const Case cases[] = {
        {{u"image/png"_s}, u"mine"_s},
        {{u"text/plain"_s, u"image/png"_s}, u"words"_s}, // nothing was read, so nothing is put in its place
    };
    for (const Case& c : cases) {
        DeliveryDesk desk;
        desk.clipboard.userCopies({item}, c.hanging);
        desk.dictate(u"words"_s);
        EXPECT_EQ(desk.windows.textIn(desk.editor), u"words"_s);
        EXPECT_EQ(desk.clipboard.readings, 1);
        // A second of waiting less what the engine's work has covered.
        EXPECT_NEAR(desk.deliveredAfter, 1 - DeliveryDesk::kEngineSeconds + 0.225, 0.002);
        desk.clock.advance(3);
        EXPECT_EQ(desk.clipboard.text(), c.endsAs);
    }
}

TEST(ClipboardRestore, CopyInPlaceOfAHungReadingIsNotWaitedFor)
{
    DeliveryDesk desk;
    desk.clipboard.userCopies({FakePasteboard::textItem(u"hung"_s)}, {u"text/plain"_s});
    desk.after(0.2, [&] { desk.clipboard.userCopies(u"newer"_s); });
    desk.dictate(u"words"_s);
    EXPECT_LT(desk.deliveredAfter, 0.25);
    desk.clock.advance(3);
    EXPECT_EQ(desk.clipboard.text(), u"newer"_s);
}

TEST(ClipboardRestore, QuittingGivesTheClipboardBackAtOnce)
{
    for (const bool copied : {false, true}) {
        DeliveryDesk desk;
        desk.clipboard.userCopies(u"mine"_s);
        desk.dictate(u"words"_s);
        if (copied)
            desk.clipboard.userCopies(u"newer"_s);
        desk.clock.settle();
        desk.restorer->restoreNow();
        EXPECT_EQ(desk.clipboard.text(), copied ? u"newer"_s : u"mine"_s);
        const int writes = desk.clipboard.ownWrites;
        desk.clock.advance(5);
        EXPECT_EQ(desk.clipboard.ownWrites, writes);
    }
}

TEST(ClipboardRestore, EndOfTheOwnerDropsWhatIsUnderWay)
{
    for (const double seconds : {0.0, 0.001, 2.9}) { // prepared, reading, restore pending
        DeliveryDesk desk;
        desk.clipboard.userCopies(u"mine"_s);
        if (seconds > 1)
            desk.dictate(u"words"_s);
        else
            desk.restorer->prepareSnapshot();
        desk.after(seconds, [&] { desk.restorer.reset(); });
        const QString before = desk.clipboard.text();
        desk.clock.advance(10);
        EXPECT_EQ(desk.clipboard.text(), before);
    }
}

} // namespace
} // namespace tallowfern
