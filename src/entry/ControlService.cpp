#include "ControlService.h"

#include "control/CommandArguments.h"
#include "control/ControlProtocol.h"
#include "core/StatusReport.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QJsonDocument>

namespace tallowfern {

using namespace Qt::StringLiterals;

ControlService::Claim ControlService::claimName()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Claim::NoBus;
    return bus.registerService(QString::fromLatin1(control::kService)) ? Claim::Ours : Claim::Another;
}

void ControlService::handOver()
{
    auto message = QDBusMessage::createMethodCall(QString::fromLatin1(control::kService),
        QString::fromLatin1(control::kPath), QString::fromLatin1(control::kInterface), u"Do"_s);
    message.setArguments({QStringList{u"open"_s}});
    QDBusConnection::sessionBus().call(message);
}

ControlService::ControlService(AppState& state, std::function<void()> quit)
    : m_state(state)
    , m_quit(std::move(quit))
{
    observeStatus(state, this, [this] {
        const QString report = Status();
        if (report == m_lastReport)
            return;
        m_lastReport = report;
        Q_EMIT StatusChanged(report);
    });
    QDBusConnection::sessionBus().registerObject(
        QString::fromLatin1(control::kPath), this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
}

void ControlService::Do(const QStringList& words)
{
    const QString verb = words.value(0);
    if (verb == u"toggle"_s)
        m_state.dictation.toggleRecording();
    else if (verb == u"push-to-talk-begin"_s)
        m_state.dictation.beginPushToTalk();
    else if (verb == u"push-to-talk-end"_s)
        m_state.dictation.endPushToTalk();
    else if (verb == u"cancel"_s)
        m_state.cancelRecording();
    else if (verb == u"command"_s)
        command(words.sliced(1));
    else if (verb == u"open"_s)
        m_state.navigation.bringMainWindowForward();
    else if (verb == u"quit"_s)
        m_quit();
}

void ControlService::command(const QStringList& words)
{
    const auto asked = control::commandArguments(words);
    const auto* arguments = std::get_if<control::CommandArguments>(&asked);
    if (!arguments)
        return; // the command line has said so
    if (arguments->followUpText)
        m_state.command.submitAgentFollowUp(*arguments->followUpText, {});
    else if (arguments->isFollowUp)
        m_state.command.startAgentFollowUpRecording();
    else if (arguments->profileIndex)
        m_state.command.toggleAgentRecording(*arguments->profileIndex);
    else
        m_state.command.toggleAgentRecording(arguments->includeScreenshot, std::nullopt);
}

QString ControlService::Status() const
{
    return QString::fromUtf8(QJsonDocument(statusReport(m_state)).toJson(QJsonDocument::Compact));
}

} // namespace tallowfern
