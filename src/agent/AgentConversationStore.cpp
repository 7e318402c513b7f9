#include "agent/AgentConversationStore.h"

#include "foundation/Files.h"
#include "foundation/Words.h"

#include <QDir>
#include <QFileInfo>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace tallowfern {

namespace {

auto hasID(const QUuid& id)
{
    return [id](const AgentConversation& conversation) { return conversation.id == id; };
}

constexpr int kTitleCharacters = 72;

QString firstCharacters(const QString& text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    while (count-- > 0 && finder.toNextBoundary() >= 0) { }
    return finder.position() < 0 ? text : text.left(finder.position());
}

} // namespace

AgentConversationStore::AgentConversationStore(AppPaths paths, Clock& clock)
    : m_paths(std::move(paths))
    , m_clock(clock)
    , m_file(m_paths.agentConversations())
{
    try {
        m_paths.prepare();
        makePrivateFolder(m_paths.agentAttachments());
    } catch (const LocalizedError&) {
        // What is there is still shown.
    }
    m_conversations = m_file.load<QList<AgentConversation>>();
    sortLatestFirst();
}

std::optional<AgentConversation> AgentConversationStore::conversation(const QUuid& id) const
{
    const auto found = std::find_if(m_conversations.begin(), m_conversations.end(), hasID(id));
    return found == m_conversations.end() ? std::nullopt : std::optional(*found);
}

QString AgentConversationStore::attachmentsFolder(const QUuid& id) const
{
    return m_paths.agentAttachments() + u'/' + id.toString(QUuid::WithoutBraces).toUpper();
}

QString AgentConversationStore::adoptAttachment(const QString& path, const QUuid& id) const
{
    const QString folder = attachmentsFolder(id);
    const QString place = folder + u'/' + QFileInfo(path).fileName();
    if (place == path)
        return path;
    try {
        makePrivateFolder(folder);
    } catch (const LocalizedError&) {
        return path;
    }
    return QFile::rename(path, place) ? place : path;
}

void AgentConversationStore::add(const AgentConversation& conversation)
{
    m_conversations.prepend(conversation);
    save();
}

void AgentConversationStore::addUserMessage(
    const QString& text, const QList<AgentContextAttachment>& attachments, const QUuid& id)
{
    addMessage(AgentMessageRole::User, text, attachments, id);
}

void AgentConversationStore::addAssistantMessage(const QString& text, const QUuid& id)
{
    addMessage(AgentMessageRole::Assistant, text, {}, id);
}

void AgentConversationStore::setLastPastedText(const std::optional<QString>& text, const QUuid& id)
{
    change(id, [&](AgentConversation& conversation, const QDateTime&) { conversation.lastPastedText = text; });
}

void AgentConversationStore::addMessage(
    AgentMessageRole role, const QString& text, const QList<AgentContextAttachment>& attachments, const QUuid& id)
{
    change(id, [&](AgentConversation& conversation, const QDateTime& now) {
        conversation.messages.append({QUuid::createUuid(), role, text, now, attachments});
    });
}

void AgentConversationStore::change(
    const QUuid& id, const std::function<void(AgentConversation&, const QDateTime& now)>& edit)
{
    const auto found = std::find_if(m_conversations.begin(), m_conversations.end(), hasID(id));
    if (found == m_conversations.end())
        return;
    const QDateTime now = m_clock.wallNow();
    edit(*found, now);
    found->updatedAt = now;
    sortLatestFirst();
    save();
}

void AgentConversationStore::remove(const QUuid& id)
{
    m_conversations.removeIf(hasID(id));
    m_file.post([folder = attachmentsFolder(id)] { QDir(folder).removeRecursively(); });
    save();
}

void AgentConversationStore::sortLatestFirst()
{
    std::stable_sort(m_conversations.begin(), m_conversations.end(),
        [](const AgentConversation& a, const AgentConversation& b) { return a.updatedAt > b.updatedAt; });
}

void AgentConversationStore::save()
{
    m_file.save([conversations = m_conversations] { return json::encodeForStorage(conversations); });
    Q_EMIT conversationsChanged();
}

AgentConversation newConversation(const QUuid& id, const QString& instruction,
    const QList<AgentContextAttachment>& attachments, const QString& targetApplicationName, const QDateTime& now)
{
    const QString title = firstCharacters(instruction.trimmed(), kTitleCharacters);
    AgentConversation conversation;
    conversation.id = id;
    conversation.title = title.isEmpty() ? words("New conversation") : title;
    conversation.createdAt = now;
    conversation.updatedAt = now;
    conversation.targetApplicationName = targetApplicationName;
    conversation.messages = {{QUuid::createUuid(), AgentMessageRole::User, instruction, now, attachments}};
    return conversation;
}

} // namespace tallowfern
