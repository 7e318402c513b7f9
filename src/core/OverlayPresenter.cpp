#include "core/OverlayPresenter.h"

namespace tallowfern {

OverlayPresenter::OverlayPresenter(Clock& clock)
    : m_clock(clock)
{
}

void OverlayPresenter::present()
{
    m_isPresented = true;
    ++m_presentations;
    Q_EMIT changed();
}

void OverlayPresenter::hide()
{
    m_isPresented = false;
    Q_EMIT changed();
}

void OverlayPresenter::scheduleOverlayHide(double seconds)
{
    m_overlayHideTask.restart([&](std::stop_token stop) { hideAfter(seconds, std::move(stop)); });
}

void OverlayPresenter::cancelOverlayHide()
{
    m_overlayHideTask.cancel();
}

QCoro::Task<> OverlayPresenter::hideAfter(double seconds, std::stop_token stop)
{
    co_await m_clock.sleep(seconds, stop);
    if (stop.stop_requested())
        co_return;
    if (isNeeded())
        co_return;
    hide();
    onEnded();
    setTranscriptionProgress(0);
}

void OverlayPresenter::setTranscriptionProgress(double progress)
{
    m_transcriptionProgress = progress;
    Q_EMIT changed();
}

void OverlayPresenter::setTargetApplicationName(const QString& name)
{
    m_targetApplicationName = name;
    Q_EMIT changed();
}

} // namespace tallowfern
