#pragma once

#include "platform/ProcessLauncher.h"

#include <QUrl>

#include <optional>

namespace tallowfern {

/// Why a model server ended.
enum class ServerEnd {
    Memory,
    ModelMissing,
    ModelUnreadable,
    ModelDamaged,
    ModelOfAnotherKind,
    ProjectorBad,
    ServerTooOld,
    ServerIncomplete,
    Killed,
    ProcessorTooOld,
    Unknown,
};

/// "NAME stopped: " and the cause in the user's words.
QString stoppedSentence(const QString& modelName, ServerEnd cause);

/// What llama-server writes to its standard error, in any pieces: where it listens, and why it ended. Keeps the last
/// lines only, and shows none of them: they may hold anything.
class ServerLog {
public:
    void append(const QByteArray& bytes);

    /// Nothing until the model is loaded and the server listens.
    const std::optional<QUrl>& address() const { return m_address; }
    ServerEnd cause(ProcessExit exit) const;

private:
    void take(const QByteArray& line);

    QByteArray m_rest; ///< of the line that is still being written
    QList<QByteArray> m_lines;
    std::optional<QUrl> m_address;
};

} // namespace tallowfern
