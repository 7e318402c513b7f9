#include "agent/protocol/AgentLines.h"

#include <QJsonDocument>

namespace tallowfern {

namespace {

template <class T>
QByteArray line(const T& message)
{
    return QJsonDocument(json::write(message).toObject()).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

QByteArray encodedLine(const AgentRuntimeRequest& request)
{
    return line(request);
}

QByteArray encodedLine(const AgentRuntimeEvent& event)
{
    return line(event);
}

AgentRuntimeRequest decodedRequest(const QByteArray& line)
{
    return json::decode<AgentRuntimeRequest>(line);
}

AgentRuntimeEvent decodedEvent(const QByteArray& line)
{
    return json::decode<AgentRuntimeEvent>(line);
}

std::optional<QByteArray> LineBuffer::takeLine()
{
    const auto end = m_bytes.indexOf('\n', m_searched);
    if (end < 0) {
        m_bytes.remove(0, std::exchange(m_taken, 0));
        m_searched = m_bytes.size();
        return std::nullopt;
    }
    const QByteArray line = m_bytes.sliced(m_taken, end - m_taken);
    m_taken = m_searched = end + 1;
    return line;
}

void LineBuffer::clear()
{
    *this = LineBuffer();
}

} // namespace tallowfern
