#pragma once

#include "agent/protocol/AgentConversation.h"

#include <functional>
#include <memory>
#include <optional>

struct sqlite3;

namespace tallowfern {

/// What was said, as it is kept.
struct SessionMessage {
    AgentMessageRole role = AgentMessageRole::User;
    QString text;
    QList<AgentContextAttachment> attachments;

    bool operator==(const SessionMessage&) const = default;
};

/// The runtime's own record of the conversations: a database that outlives kills. It never fails a turn: without it a
/// turn has no history, and the reason is complained of in one sentence. May wait 2 s for another process.
class SessionStore {
public:
    using Complain = std::function<void(const QString& sentence)>;

    explicit SessionStore(Complain complain);
    ~SessionStore();

    /// In order of arrival.
    QList<SessionMessage> messages(const QString& path, const QUuid& conversation);
    /// On the disk when this returns, as far as another process can tell.
    void append(const QString& path, const QUuid& conversation, const SessionMessage& message, const QDateTime& now);

private:
    struct Close {
        void operator()(sqlite3* database) const;
    };
    using Database = std::unique_ptr<sqlite3, Close>;

    /// Runs `work` on the open database; what is damaged is set aside and begun anew, once.
    void use(const QString& path, const std::function<void(sqlite3*)>& work);
    static Database open(const QString& path);

    Complain m_complain;
    Database m_database;
    QString m_path; ///< of the open database
};

} // namespace tallowfern
