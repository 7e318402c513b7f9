#include "runtime/Turn.h"

#include "foundation/Words.h"
#include "runtime/PictureLoader.h"

namespace tallowfern {

using Kind = AgentProtocolEventKind;

namespace {

constexpr qint64 kCloudContextTokens = 100000; // the smallest of the services' models, with room to answer
constexpr int kFurtherAttempts = 3; // with ever less of the conversation

bool isSystemModel(const AgentRuntimeRequest& request)
{
    return request.model && request.model->provider == AgentModelProvider::AppleSystem;
}

QString serviceLabel(const AgentModelDescriptor& model)
{
    return label(writingProvider(model.provider));
}

bool holdsPicture(const AgentRuntimeRequest& request)
{
    return std::any_of(request.attachments.begin(), request.attachments.end(),
        [](const AgentContextAttachment& each) { return each.kind == AgentAttachmentKind::Screenshot; });
}

bool isNothing(const AgentRuntimeRequest& request)
{
    return request.instruction.value_or(QString()).trimmed().isEmpty() && request.attachments.isEmpty();
}

} // namespace

Turn::Turn(TurnTools tools, AgentRuntimeRequest request, Emit emitEvent)
    : m_tools(std::move(tools))
    , m_request(std::move(request))
    , m_emit(std::move(emitEvent))
    , m_modelName(isSystemModel(m_request) ? words("The model on this computer")
              : m_request.model            ? m_request.model->name
                                           : words("The model"))
    , m_gate(m_tools.clock, [this](const QString& piece) { tell(Kind::Delta, piece); })
{
}

QCoro::Task<> Turn::run(std::stop_token stop)
{
    tell(Kind::Phase, {}, AgentPhase::LoadingModel);
    std::stop_source ending;
    const std::stop_callback fromOutside(stop, [&ending] { ending.request_stop(); });
    const bool isEphemeral = m_request.ephemeralSession.value_or(false);
    const double longest = isEphemeral ? kSecondsInAllEphemeral : kSecondsInAll;
    m_generatingDeadline.restart(
        [&](const std::stop_token& token) { endAfter(kSecondsToGenerating, &Turn::notLoadedSentence, ending, token); });
    m_deadline.restart(
        [&](const std::stop_token& token) { endAfter(longest, &Turn::notFinishedSentence, ending, token); });

    QString result;
    QString failure;
    try {
        rejectWhatCannotBe();
        result = co_await answer(ending.get_token());
        if (result.isEmpty())
            failure = words("The model returned no text.");
    } catch (const LocalizedError& error) {
        failure = error.description();
    } catch (const std::exception&) {
        failure = words("Command failed.");
    }
    m_generatingDeadline.cancel();
    m_deadline.cancel();
    m_tools.restServer();
    if (stop.stop_requested())
        co_return;
    if (m_deadlineSentence)
        failure = *m_deadlineSentence;
    m_gate.flush();
    if (!failure.isEmpty()) {
        tell(Kind::Error, failure);
        co_return;
    }
    keep(AgentMessageRole::Assistant, result, {});
    tell(Kind::Completed, result);
}

/// What needs no model to be refused.
void Turn::rejectWhatCannotBe() const
{
    if (!m_request.model)
        throw SystemError(words("Choose a writing model."));
    if (isNothing(m_request))
        throw SystemError(words("No instruction was detected."));
    if (holdsPicture(m_request) && !m_request.model->capabilities.images)
        throw SystemError(words("Switch to an image-capable model to include a screenshot."));
    const bool hasKey = m_request.cloudAPIKey && !m_request.cloudAPIKey->isEmpty();
    if (isCloud(m_request.model->provider) && !hasKey)
        throw SystemError(words("Add your %1 API key before using this model.").arg(serviceLabel(*m_request.model)));
}

QCoro::Task<QString> Turn::answer(std::stop_token stop)
{
    if (isKept())
        m_earlier = exchanges(m_tools.sessions.messages(*m_request.sessionPath, *m_request.conversationID));
    keep(AgentMessageRole::User, m_request.instruction.value_or(QString()), m_request.attachments);
    AnswerRequest service = co_await findService(stop);
    QString text = co_await speak(service, stop);
    co_return finalText(text, m_request);
}

QCoro::Task<AnswerRequest> Turn::findService(std::stop_token stop)
{
    AnswerRequest service;
    service.model = *m_request.model;
    service.effort = m_request.reasoningEffort.value_or(AgentReasoningEffort::Automatic);
    if (isCloud(service.model.provider)) {
        // One that came into the keyring through a pipe brings its line end, which no header can carry.
        service.key = Secret(m_request.cloudAPIKey->reveal().trimmed());
        m_contextTokens = kCloudContextTokens;
        co_return service;
    }
    ModelFiles files;
    if (isSystemModel(m_request)) {
        const SystemModel::Choice choice
            = co_await m_tools.chooseSystemModel(m_request.appleBridgePath, m_request.sessionPath, stop);
        m_modelName = choice.name;
        files.modelPath = choice.modelPath;
    } else {
        files.modelPath = m_request.modelPath.value_or(QString());
        files.projectorPath = m_request.projectorPath;
    }
    files.name = m_modelName;
    files.program = m_request.llamaServerPath.value_or(m_tools.ownServerProgram);
    const ServedModel served = co_await m_tools.serve(files, stop);
    service.localServer = served.address;
    service.key = served.key;
    m_contextTokens = served.contextTokens;
    co_return service;
}

QCoro::Task<QString> Turn::speak(AnswerRequest service, std::stop_token stop)
{
    AnswerStream::Listener listener;
    listener.onSent = [this] { tellGenerating(); };
    listener.onText = [this](const QString& piece) {
        m_hasSpoken = true;
        m_gate.push(piece);
    };
    QList<Exchange> kept = m_earlier.sliced(exchangesToDrop(m_request, m_earlier, m_contextTokens));
    for (int attempt = 0;; ++attempt) {
        service.prompt = promptFor(m_request, kept);
        loadPictures(service.prompt, service.localServer.isEmpty() ? kCloudPictureSide : kLocalPictureSide);
        std::exception_ptr failure;
        auto cause = AnswerFailure::Cause::Other;
        try {
            QString text = co_await m_tools.answer(service, listener, stop);
            co_return text;
        } catch (const AnswerFailure& error) {
            failure = std::current_exception();
            cause = error.cause();
            const bool mayCut = cause == AnswerFailure::Cause::TooLong && !m_hasSpoken && attempt < kFurtherAttempts
                && !kept.isEmpty();
            if (mayCut) {
                kept = kept.sliced((kept.size() + 1) / 2);
                continue;
            }
        }
        const bool mayHaveDied = !service.localServer.isEmpty()
            && (cause == AnswerFailure::Cause::Unreachable || cause == AnswerFailure::Cause::CutOff);
        if (mayHaveDied && !stop.stop_requested()) {
            const std::optional<QString> died = co_await m_tools.whyServerEnded();
            if (died)
                throw SystemError(*died);
        }
        std::rethrow_exception(failure);
    }
}

QCoro::Task<> Turn::endAfter(double seconds, Sentence sentence, std::stop_source ending, std::stop_token stop)
{
    co_await m_tools.clock.sleep(seconds, stop);
    if (stop.stop_requested())
        co_return;
    m_deadlineSentence = (this->*sentence)();
    ending.request_stop();
}

bool Turn::isKept() const
{
    return m_request.conversationID && m_request.sessionPath && !m_request.ephemeralSession.value_or(false);
}

void Turn::keep(AgentMessageRole role, const QString& text, const QList<AgentContextAttachment>& attachments)
{
    if (isKept())
        m_tools.sessions.append(
            *m_request.sessionPath, *m_request.conversationID, {role, text, attachments}, m_tools.clock.wallNow());
}

void Turn::tell(Kind kind, std::optional<QString> text, std::optional<AgentPhase> phase)
{
    AgentRuntimeEvent event;
    event.requestID = m_request.requestID;
    event.kind = kind;
    event.phase = phase;
    event.text = std::move(text);
    m_emit(event);
}

/// Not first at the first token: reading a long prompt, or thinking, may take longer than the application waits.
void Turn::tellGenerating()
{
    if (std::exchange(m_isGenerating, true))
        return;
    m_generatingDeadline.cancel();
    tell(Kind::Phase, {}, AgentPhase::Generating);
}

QString Turn::notLoadedSentence() const
{
    if (m_request.model && isCloud(m_request.model->provider))
        return words("%1 could not be reached.").arg(serviceLabel(*m_request.model));
    return words("%1 is still loading. Try again in a moment.").arg(m_modelName);
}

QString Turn::notFinishedSentence() const
{
    return words("%1 did not finish within two minutes. Ask for less, or choose a faster model.").arg(m_modelName);
}

} // namespace tallowfern
