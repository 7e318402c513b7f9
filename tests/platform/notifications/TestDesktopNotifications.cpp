#include "platform/PrivateSession.h"
#include "platform/linux/notifications/DesktopNotifications.h"
#include "platform/notifications/NotificationServer.h"

#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Notice = NotificationCenter::Notice;

namespace {

const QStringList kEverything = {u"actions"_s, u"body"_s, u"body-markup"_s};

class Notifying : public testing::Test {
public:
    ~Notifying() override { stopServer(); }

protected:
    static void SetUpTestSuite()
    {
        s_session = std::make_unique<PrivateSession>();
        // The bus would start the service that is installed here.
        const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/dbus-1/services"_s;
        QDir().mkpath(folder);
        QFile file(folder + u"/org.freedesktop.Notifications.service"_s);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/false\n");
        file.close();
        ASSERT_TRUE(s_session->succeeds(u"dbus-send"_s,
            {u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                u"org.freedesktop.DBus.ReloadConfig"_s}));
    }
    static void TearDownTestSuite() { s_session.reset(); }

    Notifying()
    {
        center.onClick = [this](const QString& identifier) { clicked.append(identifier); };
        QObject::connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, &center, [this] { ++m_ownerChanges; });
    }

    /// Ends the one before; the center knows when this returns.
    NotificationServer& startServer(const QStringList& capabilities)
    {
        stopServer();
        m_server = std::make_unique<NotificationServer>(capabilities);
        awaitOwnerChange();
        return *m_server;
    }
    void stopServer()
    {
        if (std::exchange(m_server, nullptr))
            awaitOwnerChange();
    }
    /// Posts it and waits until the server has it.
    void show(NotificationServer& server, const Notice& notice)
    {
        center.post(notice);
        ASSERT_TRUE(waitFor([&] { return !server.shown.isEmpty() && server.shown.last().title == notice.title; }));
    }
    /// Signals of one connection come in order: when the known one is there, so would have been those before it.
    void clickAndSettle(NotificationServer& server, uint number)
    {
        const qsizetype before = clicked.size();
        Q_EMIT server.ActionInvoked(number, u"default"_s);
        ASSERT_TRUE(waitFor([&] { return clicked.size() > before; }));
    }

    static inline std::unique_ptr<PrivateSession> s_session;
    QDBusConnection bus
        = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"notifications"_s);
    QStringList clicked;
    DesktopNotifications center{bus};

private:
    void awaitOwnerChange()
    {
        EXPECT_TRUE(waitFor([this] { return m_ownerChanges > m_ownerChangesSeen; }));
        m_ownerChangesSeen = m_ownerChanges;
    }

    QDBusServiceWatcher m_watcher{u"org.freedesktop.Notifications"_s, bus, QDBusServiceWatcher::WatchForOwnerChange};
    int m_ownerChanges = 0;
    int m_ownerChangesSeen = 0;
    std::unique_ptr<NotificationServer> m_server;
};

} // namespace

TEST_F(Notifying, ANewerNoticeReplacesTheOneOfItsName)
{
    NotificationServer& server = startServer(kEverything);
    center.post({u"run-1"_s, u"Given up before it was seen"_s, {}});
    server.onShow = [&] { // the number of the first is not known yet
        server.onShow = nullptr;
        center.post({u"run-1"_s, u"Done"_s, {}});
    };
    center.post({u"run-1"_s, u"Working"_s, {}});
    ASSERT_TRUE(waitFor([&] { return server.shown.size() == 2; }));
    show(server, {u"run-2"_s, u"Another"_s, {}});
    ASSERT_EQ(server.shown.size(), 3);
    EXPECT_EQ(server.shown[0].replaces, 0U);
    EXPECT_EQ(server.shown[1].replaces, server.shown[0].number);
    EXPECT_EQ(server.shown[2].replaces, 0U);
}

TEST_F(Notifying, SaysOnlyWhatTheServiceUnderstands)
{
    const QString body = u"a < b & \"c\" <b>d</b>"_s;
    struct Case {
        QStringList capabilities;
        QString body;
        QStringList actions;
    };
    const QList<Case> cases = {
        {kEverything, u"a &lt; b &amp; &quot;c&quot; &lt;b&gt;d&lt;/b&gt;"_s, {u"default"_s, u"Open Tallowfern"_s}},
        {{u"body"_s}, body, {}},
        {{u"actions"_s, u"body"_s}, body, {u"default"_s, u"Open Tallowfern"_s}},
    };
    for (const Case& each : cases) { // each a new service, that the same center meets
        NotificationServer& server = startServer(each.capabilities);
        show(server, {u"run"_s, u"Done <1>"_s, body});
        const auto& shown = server.shown.last();
        EXPECT_EQ(shown.body, each.body);
        EXPECT_EQ(shown.actions, each.actions);
        EXPECT_EQ(shown.hints[u"desktop-entry"_s], u"com.tallowfern.Tallowfern"_s);
        EXPECT_EQ(shown.hints[u"urgency"_s].typeId(), QMetaType::UChar);
    }
}

TEST_F(Notifying, OnlyClicksOnOurNoticesCount)
{
    NotificationServer& server = startServer(kEverything);
    show(server, {u"run-1"_s, u"One"_s, {}});
    show(server, {u"run-2"_s, u"Two"_s, {}});
    const uint one = server.shown[0].number;
    const uint two = server.shown[1].number;
    clickAndSettle(server, two);
    EXPECT_EQ(clicked, QStringList{u"run-2"_s});

    NotificationServer stranger(kEverything, false);
    Q_EMIT stranger.ActionInvoked(one, u"default"_s);
    EXPECT_FALSE(waitFor([&] { return clicked.size() > 1; }, 100));
    Q_EMIT server.ActionInvoked(two + 1, u"default"_s); // of another program
    Q_EMIT server.ActionInvoked(one, u"settings"_s);
    clickAndSettle(server, two);
    EXPECT_EQ(clicked, (QStringList{u"run-2"_s, u"run-2"_s}));
}

TEST_F(Notifying, ANewServiceKnowsNothingOfTheNoticesBefore)
{
    NotificationServer& first = startServer(kEverything);
    show(first, {u"run-1"_s, u"Old"_s, {}});
    show(first, {u"run-2"_s, u"Older"_s, {}});
    const uint old = first.shown[1].number;
    NotificationServer& second = startServer(kEverything);
    show(second, {u"run-1"_s, u"New"_s, {}});
    EXPECT_EQ(second.shown.last().replaces, 0U);
    Q_EMIT second.ActionInvoked(old, u"default"_s);
    clickAndSettle(second, second.shown.last().number);
    EXPECT_EQ(clicked, QStringList{u"run-1"_s});
}

TEST_F(Notifying, WithoutAServiceNothingHappensAndNothingIsLeftForLater)
{
    center.post({u"run-1"_s, u"Unseen"_s, {}});
    EXPECT_FALSE(waitFor([] { return false; }, 100));
    NotificationServer& server = startServer(kEverything);
    show(server, {u"run-2"_s, u"Seen"_s, {}});
    EXPECT_EQ(server.shown.size(), 1);

    DesktopNotifications withoutBus(QDBusConnection(u"no such bus"_s));
    withoutBus.post({u"run-1"_s, u"Unseen"_s, {}});
}

} // namespace tallowfern
