#include "platform/linux/screens/X11FloatingPanels.h"
#include "platform/x11/PrivateDisplay.h"

#include <QRasterWindow>

#include <gmock/gmock.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

class PanelWindow : public QRasterWindow {
public:
    PanelWindow()
    {
        setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool | Qt::WindowDoesNotAcceptFocus);
        setGeometry(150, 150, 100, 50);
        create();
    }
    bool appears()
    {
        return waitFor([this] { return isExposed(); });
    }
};

class FloatingPanel : public testing::Test {
protected:
    static QByteArray property(const char* name, xcb_window_t window)
    {
        const QStringList arguments{u"-notype"_s, u"-id"_s, QString::number(window), QString::fromLatin1(name)};
        return sharedDisplay().output(u"xprop"_s, arguments).trimmed();
    }
    static QByteArray desktop(const QStringList& arguments) { return sharedDisplay().output(u"xdotool"_s, arguments); }
    bool isEverywhere(const QWindow& window)
    {
        return waitFor(
            [&] {
                const QByteArray state = property("_NET_WM_STATE", xcb_window_t(window.winId()));
                return property("_NET_WM_DESKTOP", xcb_window_t(window.winId())).endsWith(" 4294967295")
                    && state.contains("_ABOVE") && state.contains("_SKIP_TASKBAR") && state.contains("_SKIP_PAGER");
            },
            5000);
    }
    bool isOnTop(const QWindow& window)
    {
        const QByteArray id = "0x" + QByteArray::number(window.winId(), 16);
        return waitFor(
            [&] { return property("_NET_CLIENT_LIST_STACKING", m_connection->root()).endsWith(" " + id); }, 5000);
    }
    bool isActive(const TestWindow& window)
    {
        return waitFor(
            [&] { return desktop({u"getactivewindow"_s}).trimmed() == QByteArray::number(window.id()); }, 5000);
    }

    std::unique_ptr<X11Connection> m_connection = X11Connection::open();
    X11FloatingPanels panels{*m_connection};
};

} // namespace

TEST_F(FloatingPanel, IsAboveOthersOnEveryWorkspaceAndNeverActive)
{
    TestWindow editor("Editor");
    editor.show();
    ASSERT_TRUE(isActive(editor));
    PanelWindow panel;
    panels.keepAbove(panel.winId());
    panel.show();
    ASSERT_TRUE(panel.appears());
    EXPECT_TRUE(isEverywhere(panel));
    TestWindow later("Later");
    later.show();
    EXPECT_TRUE(isActive(later));
    EXPECT_TRUE(isOnTop(panel));

    desktop({u"set_num_desktops"_s, u"2"_s, u"set_desktop"_s, u"1"_s});
    EXPECT_TRUE(waitFor([&] {
        return desktop({u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"."_s})
            .contains(QByteArray::number(panel.winId()));
    }));
    desktop({u"set_desktop"_s, u"0"_s});
    desktop({u"mousemove"_s, u"200"_s, u"175"_s, u"click"_s, u"1"_s});
    EXPECT_TRUE(isActive(later));
}

TEST_F(FloatingPanel, StaysEverywhereWhenItGoesAndComesAtOnce)
{
    PanelWindow panel;
    for (int round = 0; round < 25; ++round) {
        panel.hide();
        panels.keepAbove(panel.winId());
        panel.show();
        ASSERT_TRUE(panel.appears());
        ASSERT_TRUE(isEverywhere(panel)) << "round " << round;
    }
}

TEST_F(FloatingPanel, CanBecomeOneWhileItIsShown)
{
    PanelWindow panel;
    panel.show();
    ASSERT_TRUE(panel.appears());
    PanelWindow other;
    panels.keepAbove(other.winId());
    other.show();
    ASSERT_TRUE(other.appears());
    ASSERT_TRUE(isOnTop(other));
    panels.keepAbove(panel.winId());
    EXPECT_TRUE(isEverywhere(panel));
    EXPECT_TRUE(isOnTop(panel));
    panels.keepAbove(12345); // of nobody's
}

TEST_F(FloatingPanel, IsTranslucentWhileACompositorRuns)
{
    int changes = 0;
    QObject::connect(&panels, &FloatingPanels::translucencyChanged, &panels, [&] { ++changes; });
    EXPECT_FALSE(panels.isTranslucent());
    {
        const auto compositor = X11Connection::open();
        xcb_set_selection_owner(compositor->xcb(), compositor->createHiddenWindow(0),
            compositor->atom(u"_NET_WM_CM_S0"_s), XCB_CURRENT_TIME);
        compositor->flush();
        EXPECT_TRUE(waitFor([&] { return panels.isTranslucent(); }));
        X11FloatingPanels later(*m_connection);
        EXPECT_TRUE(later.isTranslucent());
    }
    EXPECT_TRUE(waitFor([&] { return !panels.isTranslucent(); }));
    EXPECT_EQ(changes, 2);
}

} // namespace tallowfern
