#include "platform/linux/x11/X11Pasteboard.h"
#include "platform/x11/PrivateDisplay.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <gmock/gmock.h>

#include <csignal>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::await;
using Extent = PasteboardReading::Extent;

namespace {

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(1);
    for (char& byte : bytes)
        byte = char(generator.generate());
    return bytes;
}

const PasteboardItem& richItem()
{
    static const PasteboardItem item = {
        {u"UTF8_STRING"_s, u"Grüße 👋"_s.toUtf8()},
        {u"text/html"_s,
            "<b>Gr\xc3\xbc\xc3\x9f"
            "e</b>"},
        {u"image/png"_s, randomBytes(10'000'000)},
        {u"text/uri-list"_s, "file:///home/me/a%20b.txt\r\nfile:///home/me/c.txt\r\n"},
        {u"x-special/gnome-copied-files"_s, "copy\nfile:///home/me/c.txt"},
        {u"application/x-private;part=\"1\""_s, QByteArray("\0\1\2\xff", 4)},
        {u"application/x-empty"_s, ""},
    };
    return item;
}

class Clipboard : public testing::Test {
protected:
    Clipboard() { sharedDisplay(); }
    static std::unique_ptr<X11Pasteboard> makePasteboard()
    {
        sharedDisplay(); // whichever test is the first
        return std::make_unique<X11Pasteboard>(X11Connection::open());
    }
    QProcess* startCopying(const QByteArray& bytes, const QString& type, const QString& selection)
    {
        const QString path = m_folder.filePath(u"copied"_s);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        return sharedDisplay().start(
            u"xclip"_s, {u"-quiet"_s, u"-selection"_s, selection, u"-t"_s, type, u"-i"_s, path});
    }
    /// Copies with a program from elsewhere, and waits until it has.
    QProcess* copyElsewhere(const QByteArray& bytes, const QString& type)
    {
        const qint64 before = await(mine->settledChangeCount());
        QProcess* program = startCopying(bytes, type, u"clipboard"_s);
        // A late word of an earlier program's end counts too, so the content is looked at as well.
        EXPECT_TRUE(waitFor([&] { return mine->changeCount() > before && pasteElsewhere(type) == bytes; }));
        return program;
    }
    static QByteArray pasteElsewhere(const QString& type, const QString& selection = u"clipboard"_s)
    {
        return sharedDisplay().output(u"xclip"_s, {u"-o"_s, u"-selection"_s, selection, u"-t"_s, type});
    }

    std::unique_ptr<X11Pasteboard> mine = makePasteboard();
    std::unique_ptr<X11Pasteboard> user = makePasteboard(); // another program, as far as the server knows

private:
    QTemporaryDir m_folder;
};

/// Answers for what it is told, never for the type that hangs, and tells who is asked.
class CapriciousOwner {
public:
    explicit CapriciousOwner(X11SelectionContent content)
        : m_content(std::move(content))
        , m_window(m_connection->createHiddenWindow(XCB_EVENT_MASK_NO_EVENT))
    {
        QObject::connect(m_connection.get(), &X11Connection::eventReceived, m_connection.get(),
            [this](const xcb_generic_event_t* event) {
                if (x11EventType(event) == XCB_SELECTION_REQUEST)
                    answer(*x11Event<xcb_selection_request_event_t>(event));
            });
        xcb_set_selection_owner(m_connection->xcb(), m_window, m_connection->atom(u"CLIPBOARD"_s), XCB_CURRENT_TIME);
        m_connection->settle();
    }
    std::function<void(QString)> onRequest = [](const QString&) {};
    QString hangingType;

private:
    void answer(const xcb_selection_request_event_t& request)
    {
        const QString type = m_connection->atomNames({request.target}).value(0);
        onRequest(type);
        if (type == hangingType)
            return;
        xcb_connection_t* xcb = m_connection->xcb();
        if (type == u"TARGETS") {
            QList<xcb_atom_t> atoms;
            for (const QString& name : m_content.keys())
                atoms.append(m_connection->atom(name));
            xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, request.requestor, request.property, XCB_ATOM_ATOM, 32,
                quint32(atoms.size()), atoms.constData());
        } else {
            const QByteArray bytes = m_content.value(type);
            xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, request.requestor, request.property, request.target, 8,
                quint32(bytes.size()), bytes.constData());
        }
        xcb_selection_notify_event_t notify{};
        notify.response_type = XCB_SELECTION_NOTIFY;
        notify.requestor = request.requestor;
        notify.selection = request.selection;
        notify.target = request.target;
        notify.property = request.property;
        xcb_send_event(xcb, false, request.requestor, 0, reinterpret_cast<const char*>(&notify));
        m_connection->flush();
    }

    X11SelectionContent m_content;
    std::unique_ptr<X11Connection> m_connection = X11Connection::open();
    xcb_window_t m_window;
};

/// What a clipboard manager does when it is asked to save: reads everything, takes over, and says so.
QCoro::Task<> keep(X11Pasteboard& keeper, X11Connection& connection, xcb_selection_request_event_t request)
{
    auto task = keeper.readAll();
    const PasteboardReading reading = co_await task;
    keeper.replaceItems(reading.items);
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    notify.property = request.property;
    xcb_send_event(connection.xcb(), false, request.requestor, 0, reinterpret_cast<const char*>(&notify));
    connection.flush();
}

} // namespace

TEST_F(Clipboard, EveryFormatSurvivesSnapshotAndRestore)
{
    user->replaceItems({richItem()});
    const PasteboardReading snapshot = await(mine->readAll());
    EXPECT_EQ(snapshot.extent, Extent::Complete);
    EXPECT_EQ(snapshot.items, QList{richItem()});

    mine->replaceText(u"dictated"_s);
    await(mine->settledChangeCount()); // two connections have no order between them
    EXPECT_EQ(await(user->readAll()).items.value(0).value(u"UTF8_STRING"_s), "dictated");
    mine->replaceItems(snapshot.items);
    EXPECT_EQ(await(user->readAll()).items, QList{richItem()});
    EXPECT_EQ(await(mine->readAll()).items, QList{richItem()});
}

TEST_F(Clipboard, ExchangesAPictureOfTenMegabytesWithAnotherProgram)
{
    const QByteArray picture = richItem().value(u"image/png"_s);
    copyElsewhere(picture, u"image/png"_s);
    const PasteboardReading snapshot = await(mine->readAll());
    EXPECT_EQ(snapshot.extent, Extent::Complete);
    EXPECT_EQ(snapshot.items.value(0), (PasteboardItem{{u"image/png"_s, picture}}));
    mine->replaceItems(snapshot.items);
    EXPECT_EQ(pasteElsewhere(u"image/png"_s), picture);
}

TEST_F(Clipboard, TextIsThereUnderEveryNameThatProgramsAskFor)
{
    mine->replaceText(u"Grüße 👋"_s);
    for (const QString& type : {u"UTF8_STRING"_s, u"TEXT"_s, u"text/plain"_s, u"text/plain;charset=utf-8"_s})
        EXPECT_EQ(pasteElsewhere(type), u"Grüße 👋"_s.toUtf8()) << qPrintable(type);
    EXPECT_EQ(pasteElsewhere(u"STRING"_s).left(5),
        "Gr\xfc\xdf"
        "e");
    const QByteArray targets = pasteElsewhere(u"TARGETS"_s);
    for (const char* type : {"TARGETS", "TIMESTAMP", "MULTIPLE", "UTF8_STRING", "STRING"})
        EXPECT_TRUE(targets.split('\n').contains(type)) << type;
    EXPECT_GT(pasteElsewhere(u"TIMESTAMP"_s).toLongLong(), 0);
}

TEST_F(Clipboard, EveryChangeCountsOnceWhoeverMakesIt)
{
    const qint64 start = await(mine->settledChangeCount());
    mine->replaceText(u"one"_s);
    EXPECT_EQ(mine->changeCount(), start + 1); // at once
    EXPECT_EQ(await(mine->settledChangeCount()), start + 1); // and not again
    user->replaceText(u"two"_s);
    await(user->settledChangeCount());
    EXPECT_EQ(await(mine->settledChangeCount()), start + 2);
    user->replaceText(u"two"_s);
    await(user->settledChangeCount());
    mine->replaceText(u"three"_s); // before the user's change is known
    mine->replaceItems({});
    EXPECT_EQ(await(mine->settledChangeCount()), start + 5);
    EXPECT_TRUE(await(mine->readAll()).items.isEmpty());
    mine->replaceText(u"four"_s);
    user.reset(); // no longer an owner, so no change
    EXPECT_EQ(await(mine->settledChangeCount()), start + 6);
}

TEST_F(Clipboard, AnEmptyClipboardIsCompleteAndCanBeMadeAgain)
{
    user->replaceText(u"text"_s);
    await(user->settledChangeCount());
    mine->replaceItems({});
    for (X11Pasteboard* pasteboard : {mine.get(), user.get()}) {
        const PasteboardReading reading = await(pasteboard->readAll());
        EXPECT_EQ(reading.extent, Extent::Complete);
        EXPECT_TRUE(reading.items.isEmpty());
    }
}

TEST_F(Clipboard, AnOwnerThatHangsCostsLessThanASecondAndKeepsItsContent)
{
    QProcess* program = copyElsewhere("precious", u"UTF8_STRING"_s);
    ::kill(pid_t(program->processId()), SIGSTOP);
    QElapsedTimer elapsed;
    elapsed.start();
    const PasteboardReading reading = await(mine->readAll());
    EXPECT_LT(elapsed.elapsed(), 1200);
    EXPECT_EQ(reading.extent, Extent::Unread);
    ::kill(pid_t(program->processId()), SIGCONT);
    EXPECT_EQ(pasteElsewhere(u"UTF8_STRING"_s), "precious"); // our late answer did not end it
    EXPECT_EQ(await(mine->readAll()).items.value(0).value(u"UTF8_STRING"_s), "precious");
}

TEST_F(Clipboard, ATypeThatIsNotGivenIsToldAndTheOthersAreKept)
{
    CapriciousOwner owner({{u"UTF8_STRING"_s, "text"}, {u"application/x-slow"_s, ""}, {u"text/html"_s, "<p>"},
        {u"image/png"_s, "png"}, {u"image/bmp"_s, "bmp"}, {u"TEXT"_s, "text"}, {u"SAVE_TARGETS"_s, ""}});
    owner.hangingType = u"application/x-slow"_s;
    QStringList asked;
    owner.onRequest = [&](const QString& type) { asked.append(type); };
    QElapsedTimer elapsed;
    elapsed.start();
    const PasteboardReading reading = await(mine->readAll());
    EXPECT_LT(elapsed.elapsed(), 1200);
    EXPECT_EQ(reading.extent, Extent::Partial);
    EXPECT_EQ(reading.missing, QStringList{owner.hangingType});
    EXPECT_EQ(reading.items.value(0),
        (PasteboardItem{{u"UTF8_STRING"_s, "text"}, {u"text/html"_s, "<p>"}, {u"image/png"_s, "png"}}));
    EXPECT_EQ(asked.last(), u"image/png"_s); // the costly ones last, and no two of a picture
    EXPECT_EQ(asked.size(), 5);
}

TEST_F(Clipboard, AChangeWhileReadingNeverGivesAMixture)
{
    CapriciousOwner owner({{u"UTF8_STRING"_s, "old"}, {u"text/html"_s, "<p>old"}});
    owner.onRequest = [&](const QString& type) {
        if (type == u"text/html")
            user->replaceText(u"new"_s);
    };
    const PasteboardItem item = await(mine->readAll()).items.value(0);
    EXPECT_EQ(item.value(u"UTF8_STRING"_s), "new");
    EXPECT_FALSE(item.contains(u"text/html"_s));
}

TEST_F(Clipboard, TextCountsOnlyFromTheProcessThatIsAskedFor)
{
    const auto of = [](qint64 process) { return RunningApplication{7, process, {}, {}}; };
    QProcess* copied = copyElsewhere(u"Grüße 👋"_s.toUtf8(), u"UTF8_STRING"_s);
    QProcess* selected = startCopying("selected", u"UTF8_STRING"_s, u"primary"_s);
    ASSERT_TRUE(waitFor([&] { return pasteElsewhere(u"UTF8_STRING"_s, u"primary"_s) == "selected"; }));
    EXPECT_EQ(await(mine->readText(of(copied->processId()))), u"Grüße 👋"_s);
    EXPECT_EQ(await(mine->readSelectedText(of(selected->processId()))), u"selected"_s);
    for (const qint64 other : {qint64(0), selected->processId()})
        EXPECT_EQ(await(mine->readText(of(other))), std::nullopt) << other;
    EXPECT_EQ(await(mine->readSelectedText(of(copied->processId()))), std::nullopt);

    ::kill(pid_t(copied->processId()), SIGSTOP);
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(await(mine->readText(of(copied->processId()))), std::nullopt);
    EXPECT_LT(elapsed.elapsed(), 1200);
    ::kill(pid_t(copied->processId()), SIGCONT);

    selected->kill();
    selected->waitForFinished();

    const auto thisProcess = of(QCoreApplication::applicationPid());
    for (const QList<PasteboardItem>& textless : {QList<PasteboardItem>{{{u"image/png"_s, "png"}}}, {}}) {
        user->replaceItems(textless);
        await(user->settledChangeCount());
        EXPECT_EQ(await(mine->readText(thisProcess)), std::nullopt);
    }
}

TEST_F(Clipboard, TextOfAnOwnerThatLostTheClipboardMeanwhileDoesNotCount)
{
    CapriciousOwner owner({{u"UTF8_STRING"_s, "old"}});
    owner.onRequest = [&](const QString&) {
        user->replaceText(u"new"_s);
        await(user->settledChangeCount());
    };
    const RunningApplication application{7, QCoreApplication::applicationPid(), {}, {}};
    EXPECT_EQ(await(mine->readText(application)), std::nullopt);
    EXPECT_EQ(await(mine->readText(application)), u"new"_s);
}

TEST_F(Clipboard, PrimaryIsTouchedOnlyWhenAsked)
{
    mine->replaceText(u"dictated"_s);
    EXPECT_EQ(pasteElsewhere(u"UTF8_STRING"_s, u"primary"_s), "");
    mine->offerAsPrimary();
    EXPECT_EQ(pasteElsewhere(u"UTF8_STRING"_s, u"primary"_s), "dictated");
}

TEST_F(Clipboard, QuittingHandsOverToTheClipboardManager)
{
    mine->replaceItems({richItem()});
    await(mine->handOver()); // nobody to hand over to

    auto connection = X11Connection::open();
    const xcb_window_t window = connection->createHiddenWindow(XCB_EVENT_MASK_NO_EVENT);
    const xcb_atom_t manager = connection->atom(u"CLIPBOARD_MANAGER"_s);
    xcb_set_selection_owner(connection->xcb(), window, manager, XCB_CURRENT_TIME);
    connection->settle();
    QObject::connect(connection.get(), &X11Connection::eventReceived, connection.get(), [&](const auto* event) {
        if (x11EventType(event) == XCB_SELECTION_REQUEST)
            keep(*user, *connection, *x11Event<xcb_selection_request_event_t>(event));
    });
    await(mine->handOver());
    mine.reset();
    EXPECT_EQ(await(makePasteboard()->readAll()).items, QList{richItem()});
}

} // namespace tallowfern
