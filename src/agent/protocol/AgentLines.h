#pragma once

#include "agent/protocol/AgentRuntimeEvent.h"
#include "agent/protocol/AgentRuntimeRequest.h"

#include <QByteArray>

namespace tallowfern {

// A message is a JSON object in UTF-8 on a line of its own, ended by 0x0A.

QByteArray encodedLine(const AgentRuntimeRequest& request);
QByteArray encodedLine(const AgentRuntimeEvent& event);
/// From a line without its end; throw json::DecodingError. Keys that are not known are passed over.
AgentRuntimeRequest decodedRequest(const QByteArray& line);
AgentRuntimeEvent decodedEvent(const QByteArray& line);

/// Cuts a stream of bytes into lines, however the bytes come.
class LineBuffer {
public:
    void append(const QByteArray& bytes) { m_bytes += bytes; }
    /// The next whole line, without its end; nothing when there is none yet.
    std::optional<QByteArray> takeLine();
    void clear();
    /// Of the bytes that are not taken yet.
    qsizetype size() const { return m_bytes.size() - m_taken; }

private:
    QByteArray m_bytes;
    qsizetype m_taken = 0; ///< bytes at the front that were handed out
    qsizetype m_searched = 0; ///< bytes at the front in which no further end stands
};

} // namespace tallowfern
