#include "core/StatusReport.h"

#include "core/SelectedModel.h"

#include <QJsonArray>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QString hotKeyName(quint32 number)
{
    switch (number) {
    case 1:
        return u"toggle"_s;
    case 2:
        return u"pushToTalk"_s;
    case 3:
        return u"cancel"_s;
    case 4:
        return u"agent"_s;
    case 5:
        return u"agentScreenshot"_s;
    default:
        return u"profile%1"_s.arg(number - 99);
    }
}

QJsonArray hotKeys(const HotKeyManager& manager)
{
    QJsonArray list;
    for (const HotKeyState& state : manager.states()) {
        list.append(QJsonObject{{u"name"_s, hotKeyName(state.number)}, {u"keys"_s, state.shortcut.displayName()},
            {u"active"_s, state.active}});
    }
    return list;
}

QJsonValue resolution(const std::optional<ErrorResolution>& error)
{
    if (!error)
        return QJsonValue::Null;
    return QJsonObject{{u"id"_s, error->id.toString(QUuid::WithoutBraces)}, {u"message"_s, error->message},
        {u"destination"_s, enumToString(error->destination.place)}};
}

} // namespace

QJsonObject statusReport(const AppState& state)
{
    const CaptureStatus& status = state.dictation.status();
    const CommandStatus::Values& command = state.commandStatus.values();
    const auto conversation = command.activeConversationID;
    const auto model = selectedModel(state.models, state.preferences);
    return {
        {u"status"_s, QJsonObject{{u"case"_s, enumToString(status.state)}, {u"payload"_s, status.text}}},
        {u"transcriptionProgress"_s, state.overlay.transcriptionProgress()},
        {u"targetApplicationName"_s, state.overlay.targetApplicationName()},
        {u"lastTranscript"_s, state.dictation.lastTranscript()},
        {u"notice"_s, state.dictation.notice()},
        {u"agentPhase"_s, enumToString(command.phase)},
        {u"agentPhaseDetail"_s, command.phaseDetail},
        {u"agentProgress"_s, command.progress},
        {u"agentStreamedText"_s, command.streamedText},
        {u"agentResultText"_s, command.resultText},
        {u"agentResultNeedsPaste"_s, command.resultNeedsPaste},
        {u"activeAgentConversationID"_s,
            conversation ? QJsonValue(conversation->toString(QUuid::WithoutBraces).toUpper()) : QJsonValue::Null},
        {u"errorResolution"_s, resolution(state.errors.errorResolution())},
        {u"isOverlayPresented"_s, state.overlay.isPresented()},
        {u"hotKeys"_s, hotKeys(state.hotKeys)},
        {u"selectedModelID"_s, state.preferences.selectedModelID()},
        {u"canDictate"_s, state.dictation.canDictate()},
        {u"selectedModelIsStandIn"_s, model && state.models.isStandIn(*model)},
        {u"microphoneGranted"_s, state.permissions.microphoneGranted()},
        {u"accessibilityGranted"_s, state.permissions.accessibilityGranted()},
    };
}

void observeStatus(const AppState& state, QObject* context, const std::function<void()>& changed)
{
    QObject::connect(&state.dictation, &DictationSession::statusChanged, context, changed);
    QObject::connect(&state.dictation, &DictationSession::lastTranscriptChanged, context, changed);
    QObject::connect(&state.commandStatus, &CommandStatus::changed, context, changed);
    QObject::connect(&state.overlay, &OverlayPresenter::changed, context, changed);
    QObject::connect(&state.errors, &ErrorRouting::changed, context, changed);
    QObject::connect(&state.permissions, &Permissions::changed, context, changed);
    QObject::connect(&state.hotKeys, &HotKeyManager::statesChanged, context, changed);
    QObject::connect(&state.models, &ModelStore::revisionChanged, context, changed);
    QObject::connect(&state.models, &ModelStore::standInChanged, context, changed);
    QObject::connect(&state.preferences, &Preferences::selectedModelIDChanged, context, changed);
}

} // namespace tallowfern
