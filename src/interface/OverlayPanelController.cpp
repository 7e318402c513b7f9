#include "interface/OverlayPanelController.h"

#include "core/SelectedModel.h"
#include "interface/OverlayWaveform.h"

#include <QGuiApplication>
#include <QPalette>
#include <QScreen>

#include <cmath>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kRelativeX = u"overlayRelativeX"_s;
const QString kRelativeY = u"overlayRelativeY"_s;
const QString kOriginX = u"overlayOriginX"_s; // written by earlier versions
const QString kOriginY = u"overlayOriginY"_s;

/// Where the desktop does not say what it likes, the colours of its windows do.
bool systemIsDark(const SystemAppearance& appearance)
{
    const QPalette palette = QGuiApplication::palette();
    const bool isPaletteDark
        = palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
    return appearance.prefersDark().value_or(isPaletteDark);
}

} // namespace

OverlayPanelController::OverlayPanelController(AppState& state, const InterfaceServices& desktop)
    : m_state(state)
    , m_clock(desktop.clock)
    , m_screens(desktop.screens)
    , m_panels(desktop.floatingPanels)
    , m_store(desktop.preferences)
    , m_appearance(desktop.appearance)
{
    connect(&state.overlay, &OverlayPresenter::changed, this, &OverlayPanelController::follow);
    connect(&state.dictation, &DictationSession::statusChanged, this, &OverlayPanelController::refresh);
    connect(&state.commandStatus, &CommandStatus::changed, this, &OverlayPanelController::refresh);
    connect(&state.preferences, &Preferences::overlayAppearanceChanged, this, &OverlayPanelController::refresh);
    connect(&m_panels, &FloatingPanels::translucencyChanged, this, &OverlayPanelController::refresh);
    connect(&m_appearance, &SystemAppearance::changed, this, &OverlayPanelController::refresh);
    connect(&m_screens, &Screens::screensChanged, this, &OverlayPanelController::screensChanged);
    connect(&m_screens, &Screens::workspaceChanged, this, &OverlayPanelController::workspaceChanged);
}

void OverlayPanelController::follow()
{
    if (!m_state.overlay.isPresented())
        hide();
    else if (m_state.overlay.presentations() != m_presentations)
        present();
    else
        refresh();
    m_presentations = m_state.overlay.presentations();
}

void OverlayPanelController::makePanel()
{
    m_panel = std::make_unique<OverlayWindow>([this](const OverlayFace& face) { return moment(face); });
    m_panel->create();
    connect(m_panel.get(), &OverlayWindow::tapped, this, [this] { m_state.errors.handleOverlayTap(); });
    connect(m_panel.get(), &OverlayWindow::dragged, this, &OverlayPanelController::savePosition);
    connect(m_panel.get(), &QWindow::screenChanged, this, [this] {
        if (m_isPresented)
            keepAbove();
    });
}

void OverlayPanelController::present()
{
    if (!m_panel)
        makePanel();
    m_isPresented = true;
    refresh();
    if (const auto screen = preferredScreen(m_screens))
        restorePosition(*screen);
    keepAbove();
    m_panel->show();
}

void OverlayPanelController::hide()
{
    m_isPresented = false;
    if (m_panel)
        m_panel->hide();
}

/// The face of now, and its size under the same middle and on the same lower edge.
void OverlayPanelController::refresh()
{
    if (!m_isPresented)
        return;
    const OverlayFace face = overlayFace(source());
    const QSize size = overlayPanelSize(face.body).toSize();
    const QRectF before = frame();
    m_panel->setFace(face);
    m_panel->setStyle(style());
    if (before.size() == QSizeF(size))
        return;
    m_panel->resize(size);
    place({before.center().x() - size.width() / 2.0, before.bottom() - size.height()});
}

void OverlayPanelController::keepAbove()
{
    m_panels.keepAbove(m_panel->winId());
}

OverlaySource OverlayPanelController::source() const
{
    const CommandStatus::Values& command = m_state.commandStatus.values();
    const auto agentModel = selectedAgentModel(m_state.agentModels, m_state.preferences);
    return {.status = m_state.dictation.status(),
        .agentPhase = command.phase,
        .agentPhaseDetail = command.phaseDetail,
        .agentProgress = command.progress,
        .transcriptionProgress = m_state.overlay.transcriptionProgress(),
        .overlaySize = m_state.preferences.overlaySize(),
        .targetApplicationName = m_state.overlay.targetApplicationName(),
        .automaticPaste = m_state.preferences.automaticPaste(),
        .cancelKeys = m_state.preferences.cancelShortcut().displayName(),
        .selectedModel = selectedModel(m_state.models, m_state.preferences),
        .selectedAgentModel = agentModel ? agentModel->name : QString()};
}

OverlayMoment OverlayPanelController::moment(const OverlayFace& face) const
{
    const double now = m_clock.now();
    return {.bars = waveformBars(face.wave, waveformShape(face.body), m_state.recorder.samples(), now),
        .duration = overlayDuration(m_state.recorder.elapsed()),
        .turn = std::fmod(now, 1)};
}

OverlayStyle OverlayPanelController::style() const
{
    return {usesDarkAppearance(m_state.preferences.overlayAppearance(), systemIsDark(m_appearance)),
        m_panels.isTranslucent()};
}

void OverlayPanelController::place(const QPointF& origin)
{
    m_panel->setPosition(origin.toPoint());
}

void OverlayPanelController::restorePosition(const Screen& screen)
{
    const auto relative = savedPosition();
    place(relative ? origin(*relative, frame().size(), screen.visibleFrame)
                   : defaultOrigin(frame().size(), screen.visibleFrame));
}

std::optional<QPointF> OverlayPanelController::savedPosition()
{
    const auto x = m_store.get<double>(kRelativeX);
    const auto y = m_store.get<double>(kRelativeY);
    return x && y ? QPointF(*x, *y) : migrateLegacyPosition();
}

std::optional<QPointF> OverlayPanelController::migrateLegacyPosition()
{
    const auto x = m_store.get<double>(kOriginX);
    const auto y = m_store.get<double>(kOriginY);
    if (!x || !y)
        return std::nullopt;
    const auto screens = m_screens.screens();
    const double ground = screens.isEmpty() ? 0 : screens.first().frame.bottom(); // they counted upwards from there
    const QRectF old(QPointF(*x, ground - *y - frame().height()), frame().size());
    if (const auto screen = bestScreen(old, screens)) {
        const QPointF relative = relativePosition(old, screen->visibleFrame);
        saveRelativePosition(relative);
        return relative;
    }
    m_store.remove(kOriginX);
    m_store.remove(kOriginY);
    return std::nullopt;
}

void OverlayPanelController::savePosition(const QPoint& origin)
{
    const QRectF left(origin, frame().size());
    if (const auto screen = bestScreen(left, m_screens.screens()))
        saveRelativePosition(relativePosition(left, screen->visibleFrame));
}

void OverlayPanelController::saveRelativePosition(const QPointF& relative)
{
    m_store.set(kRelativeX, relative.x());
    m_store.set(kRelativeY, relative.y());
    m_store.remove(kOriginX);
    m_store.remove(kOriginY);
}

void OverlayPanelController::resetPosition()
{
    for (const QString& key : {kRelativeX, kRelativeY, kOriginX, kOriginY})
        m_store.remove(key);
    const auto screen = preferredScreen(m_screens);
    if (!screen || !m_panel)
        return;
    place(defaultOrigin(frame().size(), screen->visibleFrame));
    if (m_isPresented)
        keepAbove();
}

void OverlayPanelController::screensChanged()
{
    if (!m_isPresented)
        return; // the next showing does the same
    if (const auto screen = preferredScreen(m_screens))
        restorePosition(*screen);
    else if (const auto best = bestScreen(frame(), m_screens.screens()))
        place(constrainedOrigin(frame(), best->visibleFrame));
    keepAbove();
}

void OverlayPanelController::workspaceChanged()
{
    if (!m_isPresented)
        return;
    if (const auto screen = preferredScreen(m_screens))
        restorePosition(*screen);
    keepAbove();
}

} // namespace tallowfern
