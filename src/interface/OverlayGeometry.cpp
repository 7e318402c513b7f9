#include "interface/OverlayGeometry.h"

#include <algorithm>

namespace tallowfern {

namespace {

constexpr double kDistanceFromTop = 72;

struct Travel {
    double width;
    double height;
};

Travel freeTravel(const QSizeF& panel, const QRectF& visibleFrame)
{
    return {std::max(0.0, visibleFrame.width() - panel.width()), std::max(0.0, visibleFrame.height() - panel.height())};
}

double share(double distance, double travel)
{
    return travel > 0 ? std::clamp(distance / travel, 0.0, 1.0) : 0.5;
}

double constrained(double start, double extent, double visibleStart, double visibleExtent)
{
    if (extent > visibleExtent)
        return visibleStart + (visibleExtent - extent) / 2;
    return std::clamp(start, visibleStart, visibleStart + visibleExtent - extent);
}

} // namespace

QSizeF overlayPanelSize(OverlayBody body)
{
    switch (body) {
    case OverlayBody::Compact:
        return {232, 48};
    case OverlayBody::Mini:
        return {160, 44};
    case OverlayBody::Classic:
    case OverlayBody::Listening:
        break;
    }
    return {318, 64};
}

QPointF relativePosition(const QRectF& frame, const QRectF& visibleFrame)
{
    const auto travel = freeTravel(frame.size(), visibleFrame);
    return {share(frame.left() - visibleFrame.left(), travel.width),
        share(visibleFrame.bottom() - frame.bottom(), travel.height)};
}

QPointF origin(const QPointF& relative, const QSizeF& panelSize, const QRectF& visibleFrame)
{
    const auto travel = freeTravel(panelSize, visibleFrame);
    return {visibleFrame.left() + travel.width * std::clamp(relative.x(), 0.0, 1.0),
        visibleFrame.bottom() - panelSize.height() - travel.height * std::clamp(relative.y(), 0.0, 1.0)};
}

QPointF defaultOrigin(const QSizeF& panelSize, const QRectF& visibleFrame)
{
    return {visibleFrame.center().x() - panelSize.width() / 2, visibleFrame.top() + kDistanceFromTop};
}

QPointF constrainedOrigin(const QRectF& frame, const QRectF& visibleFrame)
{
    return {constrained(frame.left(), frame.width(), visibleFrame.left(), visibleFrame.width()),
        constrained(frame.top(), frame.height(), visibleFrame.top(), visibleFrame.height())};
}

std::optional<Screen> bestScreen(const QRectF& frame, const QList<Screen>& screens)
{
    std::optional<Screen> best;
    double largest = 0;
    for (const Screen& screen : screens) {
        const QRectF shown = frame & screen.visibleFrame;
        const double area = shown.width() * shown.height();
        if (area > largest) {
            largest = area;
            best = screen;
        }
    }
    return best;
}

std::optional<Screen> preferredScreen(const Screens& screens)
{
    if (const auto focused = screens.focusedScreen())
        return focused;
    const auto all = screens.screens();
    const auto pointed = std::find_if(all.begin(), all.end(),
        [pointer = screens.pointer()](const Screen& one) { return one.frame.contains(pointer); });
    if (pointed != all.end())
        return *pointed;
    return all.isEmpty() ? std::nullopt : std::optional(all.first());
}

} // namespace tallowfern
