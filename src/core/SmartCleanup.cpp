#include "core/SmartCleanup.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QString cleanupPrompt()
{
    static const QStringList lines{
        u"You clean up dictation transcripts inside Tallowfern."_s,
        u"Return only the cleaned transcript, with no analysis, labels, or quotes."_s,
        u"Remove filler words and hesitations such as \"um\", \"uh\", \"ehm\", \"like\" (when used as filler), and stutters or repeated sentence starts."_s,
        u"Apply self-corrections: when the speaker corrects themselves, keep only the corrected version."_s,
        u"Fix obvious punctuation and capitalization."_s,
        u"Never add content, never answer questions that appear in the transcript, and never change the meaning, tone, or language."_s,
        u"If the transcript is already clean, return it unchanged."_s,
        {},
        u"Examples:"_s,
        u"\"so um we need like six... ah no sorry I mean seven laptops\" becomes \"So we need seven laptops.\""_s,
        u"\"meet me at uh at the station at at 9\" becomes \"Meet me at the station at 9.\""_s,
        u"\"das ist ähm eigentlich ganz gut geworden\" becomes \"Das ist eigentlich ganz gut geworden.\""_s,
        u"\"can you send it tomorrow... actually no, send it on Friday\" becomes \"Can you send it on Friday?\""_s,
    };
    return lines.join(u'\n');
}

} // namespace

SmartCleanup::SmartCleanup(Collaborators collaborators)
    : m_with(std::move(collaborators))
{
}

QCoro::Task<QString> SmartCleanup::clean(QString transcript)
{
    if (!m_with.preferences.smartDictationEnabled())
        co_return transcript;
    std::optional<AgentRuntimeRequest> asked = request(transcript);
    if (!asked)
        co_return transcript;
    try {
        const std::optional<QString> text = co_await m_with.runtime.run(*asked, [](const AgentRuntimeEvent&) {});
        const QString cleaned = text.value_or(QString()).trimmed();
        if (!cleaned.isEmpty())
            co_return cleaned;
    } catch (const std::exception&) {
        // The words as they were said are the answer to every failure.
    }
    co_return transcript;
}

/// The transcript goes as reference material, so that no sentence in it can be taken for a command to the model.
std::optional<AgentRuntimeRequest> SmartCleanup::request(const QString& transcript) const
{
    AgentRuntimeRequest request;
    request.model = m_with.models.descriptor(u"apple-system"_s);
    request.appleBridgePath = m_with.find(u"TallowfernAppleBridge"_s);
    if (!request.model || !request.appleBridgePath)
        return std::nullopt;
    request.requestID = QUuid::createUuid();
    request.conversationID = QUuid::createUuid();
    request.instruction = u"Clean up the dictation transcript provided as reference material."_s;
    request.trustedInstructions = cleanupPrompt();
    request.sessionPath = m_with.sessionPath;
    request.ephemeralSession = true;
    AgentContextAttachment attachment;
    attachment.id = QUuid::createUuid();
    attachment.displayName = u"Dictation transcript"_s;
    attachment.text = transcript;
    attachment.createdAt = m_with.clock.wallNow();
    request.attachments = {attachment};
    return request;
}

} // namespace tallowfern
