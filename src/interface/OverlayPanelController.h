#pragma once

#include "core/AppState.h"
#include "interface/InterfaceServices.h"
#include "interface/OverlayWindow.h"

#include <QObject>

#include <memory>
#include <optional>

namespace tallowfern {

/// Puts the overlay on the screen when the sessions ask for it, where the user left it, and keeps it there while
/// screens come and go. The window is made at the first showing. Main thread.
class OverlayPanelController : public QObject {
    Q_OBJECT
public:
    OverlayPanelController(AppState& state, const InterfaceServices& desktop);

    /// Back to the place where nobody has dragged it.
    void resetPosition();

private:
    void follow();
    void present();
    void hide();
    void makePanel();
    OverlaySource source() const;
    OverlayMoment moment(const OverlayFace& face) const;
    OverlayStyle style() const;
    void refresh();
    void keepAbove();

    void place(const QPointF& origin);
    void restorePosition(const Screen& screen);
    void savePosition(const QPoint& origin);
    void screensChanged();
    void workspaceChanged();
    std::optional<QPointF> savedPosition();
    std::optional<QPointF> migrateLegacyPosition();
    void saveRelativePosition(const QPointF& relative);
    QRectF frame() const { return m_panel->geometry(); }

    AppState& m_state;
    Clock& m_clock;
    Screens& m_screens;
    FloatingPanels& m_panels;
    PreferenceStore& m_store;
    SystemAppearance& m_appearance;
    std::unique_ptr<OverlayWindow> m_panel;
    bool m_isPresented = false;
    int m_presentations = 0;
};

} // namespace tallowfern
