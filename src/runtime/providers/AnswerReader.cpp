#include "runtime/providers/AnswerReader.h"

#include <QJsonDocument>

namespace tallowfern {

AnswerReader::AnswerReader(
    const ServiceAdapter& adapter, const AnswerRequest& request, std::function<void(const QString&)> onText)
    : m_adapter(adapter)
    , m_request(request)
    , m_onText(std::move(onText))
{
}

bool AnswerReader::append(const QByteArray& bytes)
{
    for (const QByteArray& data : m_events.append(bytes)) {
        const Piece piece = m_adapter.read(QJsonDocument::fromJson(data).object(), m_request);
        if (!piece.text.isEmpty())
            say(mayThinkAloud() ? m_thoughts.pass(piece.text) : piece.text);
        m_failure = piece.failure;
        if (piece.isEnd)
            end();
        if (m_failure || m_hasEnded)
            return true;
    }
    return false;
}

std::optional<QString> AnswerReader::wholeText() const
{
    return m_hasEnded ? std::optional(m_text) : std::nullopt;
}

void AnswerReader::say(const QString& piece)
{
    m_text += piece;
    if (!piece.isEmpty())
        m_onText(piece);
}

void AnswerReader::end()
{
    m_hasEnded = true;
    if (!mayThinkAloud())
        return;
    say(m_thoughts.rest());
    m_text = ThinkingFilter::withoutThoughts(m_text);
}

} // namespace tallowfern
