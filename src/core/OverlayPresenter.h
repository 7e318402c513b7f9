#pragma once

#include "foundation/Clock.h"
#include "foundation/TaskSlot.h"

#include <QCoroTask>
#include <QObject>

#include <functional>

namespace tallowfern {

/// When the overlay is on screen and what it says besides the sessions' own state. Whoever draws it reads this.
/// One hide timer serves all sessions. Main thread.
class OverlayPresenter : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isPresented READ isPresented NOTIFY changed)
    Q_PROPERTY(double transcriptionProgress READ transcriptionProgress NOTIFY changed)
    Q_PROPERTY(QString targetApplicationName READ targetApplicationName NOTIFY changed)
public:
    explicit OverlayPresenter(Clock& clock);

    bool isPresented() const { return m_isPresented; }
    /// How often present() was called: the overlay takes its size and place anew at each.
    int presentations() const { return m_presentations; }
    double transcriptionProgress() const { return m_transcriptionProgress; } ///< 0 to 1
    QString targetApplicationName() const { return m_targetApplicationName; }

    void present();
    /// At once, with no animation.
    void hide();
    /// Replaces a pending hide. When the time has come and no session has taken the overlay over, it is hidden and
    /// `onEnded` is called.
    void scheduleOverlayHide(double seconds);
    void cancelOverlayHide();

    void setTranscriptionProgress(double progress);
    void setTargetApplicationName(const QString& name);

    /// Set once by the owner: whether a running session needs the overlay, and what ends with it.
    std::function<bool()> isNeeded;
    std::function<void()> onEnded;

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<> hideAfter(double seconds, std::stop_token stop);

    Clock& m_clock;
    bool m_isPresented = false;
    int m_presentations = 0;
    double m_transcriptionProgress = 0;
    QString m_targetApplicationName;
    TaskSlot m_overlayHideTask;
};

} // namespace tallowfern
