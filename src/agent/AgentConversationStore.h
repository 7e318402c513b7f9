#pragma once

#include "agent/protocol/AgentConversation.h"
#include "foundation/Clock.h"
#include "foundation/SavedFile.h"
#include "system/AppPaths.h"

#include <QList>
#include <QObject>

#include <functional>
#include <optional>

namespace tallowfern {

/// The application's own record of every Command conversation, the latest first, and the owner of their attachments.
/// Each change is saved at once, in the background; failures are passed over, the next saving tries again.
/// Main thread.
class AgentConversationStore : public QObject {
    Q_OBJECT
public:
    AgentConversationStore(AppPaths paths, Clock& clock);

    const QList<AgentConversation>& conversations() const { return m_conversations; }
    std::optional<AgentConversation> conversation(const QUuid& id) const;
    /// Where the files of the conversation's attachments lie.
    QString attachmentsFolder(const QUuid& id) const;

    /// Moves a file to the attachments of the conversation, and gives the path where it is now.
    QString adoptAttachment(const QString& path, const QUuid& id) const;

    /// At the head, whatever its dates.
    void add(const AgentConversation& conversation);
    // These bring the conversation to the top; without it nothing happens.
    void addUserMessage(const QString& text, const QList<AgentContextAttachment>& attachments, const QUuid& id);
    void addAssistantMessage(const QString& text, const QUuid& id);
    void setLastPastedText(const std::optional<QString>& text, const QUuid& id);
    /// With its attachments.
    void remove(const QUuid& id);

Q_SIGNALS:
    void conversationsChanged();

private:
    void addMessage(
        AgentMessageRole role, const QString& text, const QList<AgentContextAttachment>& attachments, const QUuid& id);
    void change(const QUuid& id, const std::function<void(AgentConversation&, const QDateTime& now)>& edit);
    void sortLatestFirst();
    void save();

    AppPaths m_paths;
    Clock& m_clock;
    QList<AgentConversation> m_conversations;
    SavedFile m_file;
};

/// One that begins with an instruction, after which it is called.
AgentConversation newConversation(const QUuid& id, const QString& instruction,
    const QList<AgentContextAttachment>& attachments, const QString& targetApplicationName, const QDateTime& now);

} // namespace tallowfern
