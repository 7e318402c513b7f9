#include "platform/linux/x11/X11Desktop.h"
#include "platform/x11/PrivateDisplay.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

class Windows : public testing::Test {
protected:
    Windows() { sharedDisplay(); }
    bool isInFront(const TestWindow& window)
    {
        return waitFor([&] { return windowInFront() == window.id(); });
    }
    xcb_window_t windowInFront()
    {
        const auto front = workspace().frontmostApplication();
        return front ? static_cast<xcb_window_t>(front->identity) : 0;
    }
    X11Workspace& workspace()
    {
        if (!m_connection) {
            m_connection = X11Connection::open();
            m_workspace = std::make_unique<X11Workspace>(*m_connection);
        }
        return *m_workspace;
    }

private:
    std::unique_ptr<X11Connection> m_connection;
    std::unique_ptr<X11Workspace> m_workspace;
};

} // namespace

TEST_F(Windows, AnApplicationIsKnownByItsWindowFromFirstFocusToDestruction)
{
    workspace();
    TestWindow first("First", 11);
    first.show();
    ASSERT_TRUE(isInFront(first));
    const auto application = *workspace().frontmostApplication();
    EXPECT_EQ(application.processIdentifier, 11);
    EXPECT_EQ(application.applicationIdentifier, u"First"_s);
    {
        TestWindow second("Second", 12);
        second.show();
        ASSERT_TRUE(isInFront(second));
        EXPECT_FALSE(workspace().frontmostApplication() == application);
        workspace().activate(application);
        ASSERT_TRUE(isInFront(first));
        EXPECT_TRUE(workspace().frontmostApplication() == application);
        EXPECT_TRUE(workspace().isInFrontNow(application));
    }
    first.destroy();
    EXPECT_TRUE(waitFor([&] { return workspace().isTerminated(application); }));
    EXPECT_FALSE(workspace().isInFrontNow(application));
    EXPECT_FALSE(workspace().frontmostApplication());
}

TEST_F(Windows, OurOwnWindowsAndTheDesktopAreNoTargets)
{
    workspace();
    TestWindow editor("Editor");
    editor.show();
    ASSERT_TRUE(isInFront(editor));
    TestWindow own("Tallowfern", quint32(QCoreApplication::applicationPid()));
    own.show();
    EXPECT_TRUE(waitFor([&] { return windowInFront() == 0; }));
}

TEST_F(Windows, NamesComeFromTheDesktopFileTheClassOrTheTitle)
{
    const QString folder = qEnvironmentVariable("HOME") + u"/.local/share/applications"_s;
    QDir().mkpath(folder);
    QFile file(folder + u"/org.example.Notes.desktop"_s);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Action new]\nName=New Note\n[Desktop Entry]\nName=My Notes\nName[xx]=Andere\n");
    file.close();

    struct Case {
        QString property;
        QByteArray value;
        QString identifier;
        QString name;
    };
    const QList<Case> cases = {
        {u"_GTK_APPLICATION_ID"_s, "org.example.Notes", u"org.example.Notes"_s, u"My Notes"_s},
        {u"_KDE_NET_WM_DESKTOP_FILE"_s, "org.example.Notes", u"org.example.Notes"_s, u"My Notes"_s},
        {u"WM_CLASS"_s, QByteArray("notes\0org.example.Notes\0", 24), u"org.example.Notes"_s, u"My Notes"_s},
        {u"_GTK_APPLICATION_ID"_s, "../../etc/passwd", u"Thing"_s, u"Thing"_s},
        {u"WM_CLASS"_s, "", {}, u"A title"_s},
    };
    workspace();
    for (const Case& each : cases) {
        TestWindow window("Thing");
        window.setText(u"WM_NAME"_s, "A title");
        window.setText(each.property, each.value);
        window.show();
        ASSERT_TRUE(isInFront(window));
        EXPECT_EQ(workspace().frontmostApplication()->applicationIdentifier, each.identifier);
        EXPECT_EQ(workspace().frontmostApplication()->localizedName, each.name);
    }
}

TEST_F(Windows, ThatVanishAtOnceHarmNothing)
{
    workspace();
    for (int i = 0; i < 50; ++i) {
        TestWindow brief("Brief");
        brief.show();
        QCoreApplication::processEvents();
    }
    TestWindow last("Last");
    last.show();
    EXPECT_TRUE(isInFront(last));
}

TEST_F(Windows, WithoutAWindowManagerTheFocusDecides)
{
    PrivateDisplay bare(PrivateDisplay::WindowManager::None);
    EXPECT_FALSE(workspace().frontmostApplication());
    TestWindow first("First");
    TestWindow second("Second");
    first.show();
    second.show();
    first.takeFocus();
    ASSERT_TRUE(isInFront(first));
    const auto application = *workspace().frontmostApplication();
    second.takeFocus();
    ASSERT_TRUE(isInFront(second));
    workspace().activate(application);
    EXPECT_TRUE(isInFront(first));
}

TEST_F(Windows, ADesktopThatGoesAwayIsSurvivedAndTold)
{
    PrivateDisplay doomed(PrivateDisplay::WindowManager::Openbox);
    auto opened = X11Desktop::open();
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<X11Desktop>>(opened));
    auto& desktop = *std::get<std::unique_ptr<X11Desktop>>(opened);
    bool isLost = false;
    QObject::connect(&desktop, &X11Desktop::lost, &desktop, [&] { isLost = true; });
    desktop.pasteboard().replaceText(u"text"_s);

    doomed.stopServer();
    EXPECT_TRUE(waitFor([&] { return isLost; }));
    EXPECT_FALSE(desktop.workspace().frontmostApplication());
    EXPECT_FALSE(desktop.keyPoster().canPost());
    EXPECT_FALSE(desktop.hotKeyCenter().grab(1, {49, KeyChord::kOption}));
    desktop.pasteboard().replaceText(u"more"_s);

    auto none = X11Desktop::open();
    ASSERT_TRUE(std::holds_alternative<QString>(none));
    EXPECT_FALSE(std::get<QString>(none).isEmpty());
}

} // namespace tallowfern
