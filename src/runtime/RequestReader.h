#pragma once

#include "agent/protocol/AgentLines.h"

#include <variant>

namespace tallowfern {

/// Cuts what comes on the standard input into requests. Whatever the bytes are, each line gives one item at most.
class RequestReader {
public:
    static constexpr qsizetype kLongestLine = 64 << 20; ///< bytes

    struct Rejected {
        std::optional<QUuid> requestID; ///< nothing when the line does not say whose it is
        QString sentence;
    };
    using Item = std::variant<AgentRuntimeRequest, Rejected>;

    void append(const QByteArray& bytes) { m_lines.append(bytes); }
    /// To be called until it gives nothing.
    std::optional<Item> take();

private:
    LineBuffer m_lines;
    bool m_skipping = false; ///< within a line that is too long and was rejected already
};

} // namespace tallowfern
