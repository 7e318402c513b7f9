#include "platform/linux/screens/X11ScreenCapture.h"

#include "foundation/Completion.h"
#include "foundation/InBackground.h"
#include "platform/linux/screens/X11WindowPicture.h"

#include <QBuffer>
#include <QTimer>

#include <algorithm>

namespace tallowfern {

namespace {

constexpr int kMilliseconds = 2000;

using Picture = std::optional<QByteArray>;

Picture png(xcb_window_t window)
{
    QImage image = x11WindowPicture(window);
    if (image.isNull())
        return std::nullopt;
    const QSize size = image.size().boundedTo({ScreenCapture::kMostPixels, ScreenCapture::kMostPixels});
    if (size != image.size())
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QBuffer buffer;
    if (!image.save(&buffer, "PNG"))
        return std::nullopt;
    return buffer.data();
}

QCoro::Task<> develop(QCoro::Task<Picture> work, Completion<Picture> picture)
{
    Picture developed = co_await work;
    picture.complete(std::move(developed));
}

} // namespace

QCoro::Task<Picture> X11ScreenCapture::captureWindow(RunningApplication application)
{
    const auto window = static_cast<xcb_window_t>(application.identity); // the number is its lower half
    Completion<Picture> picture;
    QTimer::singleShot(kMilliseconds, &m_timers, [picture]() mutable { picture.complete(std::nullopt); });
    develop(inBackground(m_queue, [window] { return png(window); }), picture);
    Picture developed = co_await picture;
    co_return developed;
}

} // namespace tallowfern
