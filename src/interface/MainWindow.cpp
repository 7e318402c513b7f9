#include "interface/MainWindow.h"

#include "core/SelectedModel.h"
#include "foundation/Words.h"
#include "interface/DictationMenu.h"

#include <QMenuBar>
#include <QVBoxLayout>

namespace tallowfern {

using namespace Qt::StringLiterals;

MainWindow::MainWindow(AppState& state)
    : m_state(state)
    , m_attention(new QLabel)
    , m_models(new QListWidget)
    , m_action(new QPushButton)
{
    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    m_attention->setWordWrap(true);
    column->addWidget(m_attention);
    column->addWidget(m_models);
    column->addWidget(m_action, 0, Qt::AlignRight);
    setCentralWidget(content);
    menuBar()->addMenu(new DictationMenu(state, this));
    setMinimumSize(480, 320);

    connect(m_models, &QListWidget::currentRowChanged, this, &MainWindow::follow);
    connect(m_action, &QPushButton::clicked, this, &MainWindow::act);
    for (const auto signal : {&ModelStore::revisionChanged, &ModelStore::progressChanged, &ModelStore::standInChanged})
        connect(&state.models, signal, this, &MainWindow::fillModels);
    connect(&state.preferences, &Preferences::selectedModelIDChanged, this, &MainWindow::fillModels);
    connect(&state.dictation, &DictationSession::statusChanged, this, &MainWindow::follow);
    for (const SpeechModel& model : state.models.catalog())
        m_models->addItem(model.name);
    fillModels();
    m_models->setCurrentRow(0);
}

void MainWindow::bringForward()
{
    if (isVisible() && !isActiveWindow())
        hide(); // shown anew it comes to the workspace where the user is
    showNormal();
    raise();
    activateWindow();
}

void MainWindow::fillModels()
{
    const auto selected = selectedModel(m_state.models, m_state.preferences);
    for (int row = 0; row < m_models->count(); ++row) {
        const SpeechModel& model = m_state.models.catalog().at(row);
        QString note = model.sizeLabel;
        if (const auto progress = m_state.models.progress().constFind(model.id);
            progress != m_state.models.progress().cend())
            note = QString::number(qRound(*progress * 100)) + u'%';
        else if (selected && selected->id == model.id && m_state.models.isInstalled(model))
            note = words("Active");
        else if (m_state.models.isInstalled(model))
            note = words("On this computer");
        m_models->item(row)->setText(u"%1 · %2 · %3"_s.arg(model.name, model.tier, note));
    }
    follow();
}

void MainWindow::follow()
{
    const CaptureStatus& status = m_state.dictation.status();
    QString attention = words("Press %1 in any application, speak, and press it again.")
                            .arg(m_state.preferences.toggleShortcut().displayName());
    if (!m_downloadFailure.isEmpty())
        attention = m_downloadFailure;
    else if (status.state == CaptureStatus::Case::Error)
        attention = status.text;
    else if (!m_state.dictation.canDictate())
        attention = words("Get a speech model to dictate.");
    m_attention->setText(attention);
    const SpeechModel* model = chosen();
    const bool isThere = model && m_state.models.isInstalled(*model);
    m_action->setText(isThere ? words("Use") : words("Get"));
    m_action->setEnabled(model && !m_state.models.progress().contains(model->id)
        && !(isThere && m_state.preferences.selectedModelID() == model->id));
}

void MainWindow::act()
{
    const SpeechModel* model = chosen();
    if (!model)
        return;
    if (m_state.models.isInstalled(*model))
        m_state.preferences.setSelectedModelID(model->id);
    else
        get(*model);
}

QCoro::Task<> MainWindow::get(SpeechModel model)
{
    const auto alive = m_lifetime.token();
    m_downloadFailure.clear();
    auto download = m_state.models.startDownload(model);
    const auto failure = co_await download;
    if (alive.stop_requested())
        co_return;
    m_downloadFailure = failure.value_or(QString());
    if (!failure)
        m_state.preferences.setSelectedModelID(model.id);
    fillModels();
}

const SpeechModel* MainWindow::chosen() const
{
    const int row = m_models->currentRow();
    return row < 0 ? nullptr : &m_state.models.catalog().at(row);
}

} // namespace tallowfern
