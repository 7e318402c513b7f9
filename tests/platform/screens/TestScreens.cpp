#include "platform/linux/screens/X11Screens.h"
#include "platform/x11/PrivateDisplay.h"

#include <QGuiApplication>
#include <QRect>

#include <gmock/gmock.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QRect kLeft(0, 0, 640, 800);
const QRect kRight(640, 0, 640, 800);
const QRect kWhole(0, 0, 1280, 800);

class OnScreens : public testing::Test {
protected:
    OnScreens()
    {
        QObject::connect(&m_screens, &Screens::screensChanged, &m_screens, [this] {
            ++changes;
            lastTold = m_screens.screens();
        });
        QObject::connect(&m_screens, &Screens::workspaceChanged, &m_screens, [this] { ++workspaceChanges; });
    }
    ~OnScreens() override
    {
        run("xrandr --delmonitor left; xrandr --delmonitor right; xrandr --output screen --mode 1280x800;"
            "xprop -root -remove _GTK_WORKAREAS_D0");
        EXPECT_TRUE(becomes({kWhole}));
    }

    static QByteArray run(const char* commands)
    {
        return sharedDisplay().output(u"sh"_s, {u"-c"_s, QString::fromLatin1(commands)});
    }
    static void splitIntoTwo()
    {
        run("xrandr --setmonitor left 640/170x800/210+0+0 screen; xrandr --setmonitor right 640/170x800/210+640+0 "
            "none");
    }
    static bool isListed(const char* property, const TestWindow& window)
    {
        const QByteArray id = "0x" + QByteArray::number(window.id(), 16);
        return waitFor([&] { return run((QByteArray("xprop -root ") + property).constData()).contains(id); }, 5000);
    }
    bool becomes(const QList<QRect>& frames)
    {
        return waitFor([&] { return framesOf(m_screens.screens()) == frames; }, 5000);
    }
    bool leavesFree(const QList<QRect>& frames)
    {
        return waitFor([&] { return freeOf(m_screens.screens()) == frames; }, 5000);
    }
    /// Back in device pixels, so that the same numbers hold at every scale.
    static QRect devicePixels(const QRectF& part, const QRectF& screen)
    {
        const double ratio = qGuiApp->devicePixelRatio();
        const QPointF corner = screen.topLeft() + (part.topLeft() - screen.topLeft()) * ratio;
        return QRectF(corner, part.size() * ratio).toRect();
    }
    static QList<QRect> framesOf(const QList<Screen>& screens)
    {
        QList<QRect> list;
        for (const Screen& screen : screens)
            list.append(devicePixels(screen.frame, screen.frame));
        return list;
    }
    static QList<QRect> freeOf(const QList<Screen>& screens)
    {
        QList<QRect> list;
        for (const Screen& screen : screens)
            list.append(devicePixels(screen.visibleFrame, screen.frame));
        return list;
    }
    QRect focused()
    {
        const auto screen = m_screens.focusedScreen();
        return screen ? devicePixels(screen->frame, screen->frame) : QRect();
    }

    int changes = 0;
    int workspaceChanges = 0;
    QList<Screen> lastTold;

private:
    std::unique_ptr<X11Connection> m_connection = X11Connection::open();
    X11Screens m_screens{*m_connection};
};

} // namespace

TEST_F(OnScreens, PanelsTakeTheEdgesOfTheMonitorsThatTheyReach)
{
    splitIntoTwo();
    ASSERT_TRUE(becomes({kLeft, kRight}));
    struct Case {
        QString property;
        QList<quint32> values;
        QRect left;
        QRect right;
    };
    const QString partial = u"_NET_WM_STRUT_PARTIAL"_s;
    const QList<Case> cases = {
        {partial, {0, 0, 30, 0, 0, 0, 0, 0, 0, 639, 0, 0}, kLeft.adjusted(0, 30, 0, 0), kRight},
        {partial, {0, 0, 0, 28, 0, 0, 0, 0, 0, 0, 640, 1279}, kLeft, kRight.adjusted(0, 0, 0, -28)},
        {partial, {0, 0, 24, 0, 0, 0, 0, 0, 1270, 1279, 0, 0}, kLeft,
            kRight.adjusted(0, 24, 0, 0)}, // less wide than high
        {partial, {680, 0, 0, 0, 0, 799, 0, 0, 0, 0, 0, 0}, kLeft, kRight.adjusted(40, 0, 0, 0)}, // between the two
        {u"_NET_WM_STRUT"_s, {0, 50, 20, 0}, kLeft.adjusted(0, 20, 0, 0), kRight.adjusted(0, 20, -50, 0)},
        {partial, {0, 0, 500, 0, 0, 0, 0, 0, 0, 1279, 0, 0}, kLeft, kRight},
        {partial, {~0U, ~0U, ~0U, ~0U, 0, ~0U, 0, ~0U, 0, ~0U, 0, ~0U}, kLeft, kRight},
        {partial, {0, 0, 30, 0, 0, 0, 0, 0, 9, 2, 0, 0}, kLeft, kRight},
    };
    for (const Case& each : cases) {
        TestWindow panel("Panel");
        panel.setAtom(u"_NET_WM_WINDOW_TYPE"_s, u"_NET_WM_WINDOW_TYPE_DOCK"_s);
        panel.setNumbers(each.property, each.values);
        panel.show();
        ASSERT_TRUE(isListed("_NET_CLIENT_LIST", panel));
        EXPECT_TRUE(leavesFree({each.left, each.right})) << "case " << &each - cases.data();
    }
    EXPECT_TRUE(leavesFree({kLeft, kRight})) << "panels that went";
}

TEST_F(OnScreens, APanelThatComesGrowsOrGoesIsTold)
{
    TestWindow panel("Panel");
    panel.setAtom(u"_NET_WM_WINDOW_TYPE"_s, u"_NET_WM_WINDOW_TYPE_DOCK"_s);
    panel.setNumbers(u"_NET_WM_STRUT"_s, {0, 0, 30, 0});
    panel.show();
    EXPECT_TRUE(waitFor([&] { return freeOf(lastTold) == QList{kWhole.adjusted(0, 30, 0, 0)}; }));
    panel.setNumbers(u"_NET_WM_STRUT"_s, {0, 0, 60, 0});
    EXPECT_TRUE(waitFor([&] { return freeOf(lastTold) == QList{kWhole.adjusted(0, 60, 0, 0)}; }));
    panel.destroy();
    EXPECT_TRUE(waitFor([&] { return freeOf(lastTold) == QList{kWhole}; }));
}

TEST_F(OnScreens, PanelsThatAreNoWindowsCountByTheWorkArea)
{
    run("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA 0,27,1280,773");
    EXPECT_TRUE(waitFor([&] { return freeOf(lastTold) == QList{kWhole.adjusted(0, 27, 0, 0)}; }));
    splitIntoTwo();
    ASSERT_TRUE(becomes({kLeft, kRight}));
    run("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA 0,27,1280,773");
    EXPECT_TRUE(leavesFree({kLeft, kRight})) << "which monitor has the panel is not known";
    run("xprop -root -f _GTK_WORKAREAS_D0 32c -set _GTK_WORKAREAS_D0 0,27,640,773,640,0,640,800");
    EXPECT_TRUE(leavesFree({kLeft.adjusted(0, 27, 0, 0), kRight}));
    run("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA 0,0,1280,800");
}

TEST_F(OnScreens, ChangesOfResolutionAndMonitorsAreToldWhenTheyCanBeSeen)
{
    run("xrandr --newmode 1024x600_60 49 1024 1072 1168 1312 600 601 604 624; xrandr --addmode screen 1024x600_60;"
        "xrandr --output screen --mode 1024x600_60");
    const QRect smaller(0, 0, 1024, 600);
    EXPECT_TRUE(waitFor([&] { return framesOf(lastTold) == QList{smaller} && freeOf(lastTold) == QList{smaller}; }));
    run("xrandr --output screen --mode 1280x800");
    EXPECT_TRUE(waitFor([&] { return framesOf(lastTold) == QList{kWhole}; }));
    splitIntoTwo();
    EXPECT_TRUE(waitFor([&] { return framesOf(lastTold) == QList{kLeft, kRight}; }));
    run("xrandr --delmonitor right");
    EXPECT_TRUE(waitFor([&] { return framesOf(lastTold) == QList{kLeft}; }));
    EXPECT_LT(changes, 20);
}

TEST_F(OnScreens, TheFocusIsOnTheScreenThatShowsMostOfTheActiveWindow)
{
    splitIntoTwo();
    ASSERT_TRUE(becomes({kLeft, kRight}));
    EXPECT_TRUE(waitFor([&] { return focused().isNull(); })) << "no window at all";
    {
        TestWindow window("Editor");
        window.show();
        EXPECT_TRUE(waitFor([&] { return focused() == kLeft; }));
        const QString id = QString::number(window.id());
        sharedDisplay().output(u"xdotool"_s, {u"windowmove"_s, id, u"600"_s, u"100"_s});
        EXPECT_TRUE(waitFor([&] { return focused() == kRight; }));
    }
    TestWindow desktop("Desktop");
    desktop.setAtom(u"_NET_WM_WINDOW_TYPE"_s, u"_NET_WM_WINDOW_TYPE_DESKTOP"_s);
    desktop.show();
    sharedDisplay().output(u"xdotool"_s, {u"windowactivate"_s, QString::number(desktop.id())});
    ASSERT_TRUE(isListed("_NET_ACTIVE_WINDOW", desktop));
    EXPECT_TRUE(focused().isNull());
}

TEST_F(OnScreens, AnotherWorkspaceIsTold)
{
    run("xdotool set_num_desktops 2 set_desktop 1");
    EXPECT_TRUE(waitFor([&] { return workspaceChanges == 1; }));
    run("xdotool set_desktop 0");
    EXPECT_TRUE(waitFor([&] { return workspaceChanges == 2; }));
}

} // namespace tallowfern
