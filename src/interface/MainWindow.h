#pragma once

#include "core/AppState.h"

#include <QCoroTask>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QPushButton>

namespace tallowfern {

/// The main window: what needs the user's attention, and the speech models to get and to choose. Closing hides it.
/// Main thread.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(AppState& state);

    /// To the front with the focus, on the workspace where the user is.
    void bringForward();

private:
    void follow();
    void fillModels();
    void act();
    QCoro::Task<> get(SpeechModel model);
    const SpeechModel* chosen() const;

    AppState& m_state;
    Lifetime m_lifetime;
    QLabel* m_attention;
    QListWidget* m_models;
    QPushButton* m_action;
    QString m_downloadFailure;
};

} // namespace tallowfern
