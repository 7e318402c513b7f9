#include "platform/linux/screens/X11ScreenCapture.h"
#include "platform/x11/PrivateDisplay.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QImage>

#include <gmock/gmock.h>

#include <xcb/composite.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::await;

namespace {

constexpr quint32 kLeft = 0xff2040c0;
constexpr quint32 kRight = 0xffc08020;
constexpr quint32 kCover = 0xff00ff00;

/// A program's window, with a half in one colour and a half in another, painted whenever the server asks for it.
class PaintedWindow : public QObject {
public:
    PaintedWindow(QSize size, QColor left, QColor right)
        : m_size(size)
        , m_colors{left.rgb(), right.rgb()}
        , m_window(xcb_generate_id(m_connection->xcb()))
        , m_context(xcb_generate_id(m_connection->xcb()))
    {
        xcb_connection_t* xcb = m_connection->xcb();
        const quint32 values[] = {1, XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(xcb, XCB_COPY_FROM_PARENT, m_window, m_connection->root(), 0, 0, quint16(size.width()),
            quint16(size.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
            XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_create_gc(xcb, m_context, m_window, 0, nullptr);
        connect(m_connection.get(), &X11Connection::eventReceived, this, [this](const xcb_generic_event_t* event) {
            if (x11EventType(event) == XCB_EXPOSE && repaints)
                paint();
        });
    }

    void show()
    {
        xcb_map_window(m_connection->xcb(), m_window);
        m_connection->settle();
        m_connection->settle(); // the paint that the first one has brought about
    }
    void hide()
    {
        xcb_unmap_window(m_connection->xcb(), m_window);
        m_connection->settle();
    }
    void destroy()
    {
        xcb_destroy_window(m_connection->xcb(), m_window);
        m_connection->settle();
    }
    void setFrame(const QList<quint32>& sides)
    {
        xcb_change_property(m_connection->xcb(), XCB_PROP_MODE_REPLACE, m_window,
            m_connection->atom(u"_GTK_FRAME_EXTENTS"_s), XCB_ATOM_CARDINAL, 32, quint32(sides.size()),
            sides.constData());
        m_connection->settle();
    }
    void takeFocus()
    {
        xcb_set_input_focus(m_connection->xcb(), XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
        m_connection->settle();
    }
    bool hasFocus()
    {
        xcb_connection_t* xcb = m_connection->xcb();
        const auto focus = m_connection->take(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
        return focus->focus == m_window;
    }
    RunningApplication application() const { return {quint64(5) << 32 | m_window, 1, {}, {}}; }

    bool repaints = true;

private:
    void paint()
    {
        xcb_connection_t* xcb = m_connection->xcb();
        for (int half = 0; half < 2; ++half) {
            const qint16 width = qint16(m_size.width() / 2);
            const xcb_rectangle_t area = {qint16(half * width), 0, quint16(width), quint16(m_size.height())};
            xcb_change_gc(xcb, m_context, XCB_GC_FOREGROUND, &m_colors[half]);
            xcb_poly_fill_rectangle(xcb, m_window, m_context, 1, &area);
        }
        m_connection->flush();
    }

    QSize m_size;
    quint32 m_colors[2];
    std::unique_ptr<X11Connection> m_connection = X11Connection::open();
    xcb_window_t m_window;
    xcb_gcontext_t m_context;
};

class Capturing : public testing::Test {
protected:
    QImage capture(const RunningApplication& application)
    {
        const auto png = await(m_capture.captureWindow(application));
        if (!png)
            return {};
        EXPECT_TRUE(png->startsWith("\x89PNG"));
        return QImage::fromData(*png).convertToFormat(QImage::Format_RGB32);
    }
    static QImage halves(QSize size)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(kRight);
        for (int y = 0; y < size.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
            std::fill(line, line + size.width() / 2, kLeft);
        }
        return image;
    }

    PrivateDisplay m_display{PrivateDisplay::WindowManager::None};
    X11ScreenCapture m_capture;
};

} // namespace

TEST_F(Capturing, ACoveredWindowComesCompleteAndKeepsTheFocus)
{
    PaintedWindow window({300, 200}, kLeft, kRight);
    window.show();
    window.takeFocus();
    PaintedWindow cover({200, 120}, kCover, kCover);
    cover.show();
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(capture(window.application()), halves({300, 200})) << time;
        EXPECT_TRUE(window.hasFocus());
    }
    EXPECT_EQ(capture(cover.application()).size(), QSize(200, 120));
}

TEST_F(Capturing, WhatAProgramDrawsAroundItselfIsCut)
{
    PaintedWindow window({300, 200}, kLeft, kRight);
    window.show();
    struct Case {
        QList<quint32> sides; ///< left, right, top, bottom
        QRect part;
    };
    const QList<Case> cases = {
        {{26, 20, 23, 29}, {26, 23, 254, 148}},
        {{0, 0, 0, 0}, {0, 0, 300, 200}},
        {{200, 200, 0, 0}, {0, 0, 300, 200}}, // nonsense
        {{0xffffffff, 0, 0, 0}, {0, 0, 300, 200}},
        {{26, 20}, {0, 0, 300, 200}},
    };
    for (const Case& each : cases) {
        window.setFrame(each.sides);
        EXPECT_EQ(capture(window.application()), halves({300, 200}).copy(each.part)) << each.part.width();
    }
}

TEST_F(Capturing, UnderACompositorNobodyHasToPaint)
{
    const auto compositor = X11Connection::open();
    xcb_connection_t* xcb = compositor->xcb();
    const xcb_window_t owner = compositor->createHiddenWindow(XCB_EVENT_MASK_NO_EVENT);
    xcb_set_selection_owner(xcb, owner, compositor->atom(u"_NET_WM_CM_S0"_s), XCB_CURRENT_TIME);
    xcb_composite_redirect_subwindows(xcb, compositor->root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    compositor->settle();
    PaintedWindow window({300, 200}, kLeft, kRight);
    window.show();
    PaintedWindow cover({200, 120}, kCover, kCover);
    cover.show();
    window.repaints = false;
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(capture(window.application()), halves({300, 200}));
    EXPECT_LT(elapsed.elapsed(), 140);
}

TEST_F(Capturing, WhatIsNotOnScreenHasNoPicture)
{
    PaintedWindow window({300, 200}, kLeft, kRight);
    EXPECT_TRUE(capture(window.application()).isNull()); // not yet
    window.show();
    EXPECT_FALSE(capture(window.application()).isNull());
    window.hide();
    EXPECT_TRUE(capture(window.application()).isNull());
    window.show();
    window.destroy();
    EXPECT_TRUE(capture(window.application()).isNull());
    m_display.stopServer();
    EXPECT_TRUE(capture(window.application()).isNull());
}

TEST_F(Capturing, LongSidesAreScaledEachApart)
{
    PaintedWindow wide({5000, 100}, kLeft, kRight);
    wide.show();
    const QImage picture = capture(wide.application());
    EXPECT_EQ(picture.size(), QSize(4096, 100));
    EXPECT_EQ(picture.pixel(10, 50), kLeft);
    EXPECT_EQ(picture.pixel(4090, 50), kRight); // off the screen
}

TEST_F(Capturing, AProgramOrAServerThatHangsCostsNoMoreThanTheTimeForIt)
{
    PaintedWindow window({300, 200}, kLeft, kRight);
    window.show();
    window.repaints = false;
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_FALSE(capture(window.application()).isNull());
    EXPECT_LT(elapsed.elapsed(), 800);

    const auto other = X11Connection::open();
    xcb_grab_server(other->xcb());
    other->settle();
    elapsed.start();
    EXPECT_TRUE(capture(window.application()).isNull());
    EXPECT_LT(elapsed.elapsed(), 2400);
    xcb_ungrab_server(other->xcb());
    other->settle();
}

} // namespace tallowfern
