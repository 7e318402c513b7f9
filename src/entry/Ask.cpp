#include "Ask.h"

#include "agent/AgentRuntimeService.h"
#include "agent/CommandRequest.h"
#include "agent/models/AgentModelStore.h"
#include "core/CloudKeys.h"
#include "core/ModelHub.h"
#include "core/Preferences.h"
#include "foundation/Files.h"
#include "foundation/SystemClock.h"
#include "foundation/Words.h"
#include "platform/linux/network/CurlDownloader.h"
#include "platform/linux/preferences/FilePreferenceStore.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "speech/ResourceLocator.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <cstdio>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// Everything that one question needs, for the life of the process.
class Asking {
public:
    explicit Asking(const QString& libexecFolder)
        : m_store(configuration() + u"/preferences.json"_s, m_clock)
        , m_models(m_paths, m_downloader, [this] { return hubBaseURL(m_store); })
        , m_resources(libexecFolder)
        , m_runtime(m_clock, m_launcher, [this](const QString& name) { return m_resources.file(name); })
    {
    }

    QCoro::Task<> answer(control::AskArguments asked)
    {
        int status = 1;
        try {
            const AgentRuntimeRequest request = co_await requestFor(asked);
            const std::optional<QString> text
                = co_await m_runtime.run(request, [this](const AgentRuntimeEvent& event) { show(event); });
            finish(text.value_or(QString()));
            rememberConversation(*request.conversationID);
            status = 0;
        } catch (const LocalizedError& error) {
            std::fprintf(
                stderr, "%stallowfern: %s\n", m_shown.isEmpty() ? "" : "\n", qUtf8Printable(error.description()));
        }
        QCoreApplication::exit(status);
    }

private:
    static QString configuration()
    {
        return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/tallowfern"_s;
    }
    static QString conversationFile()
    {
        const QString named = qEnvironmentVariable("XDG_STATE_HOME"); // which Qt has no word for yet
        return (named.isEmpty() ? QDir::homePath() + u"/.local/state"_s : named) + u"/tallowfern/ask-conversation"_s;
    }

    QCoro::Task<AgentRuntimeRequest> requestFor(control::AskArguments asked)
    {
        CommandTurnParts parts;
        parts.model = modelOf(asked);
        parts.instruction = asked.instruction;
        parts.isContinuation = asked.isContinuation;
        parts.conversationID = asked.isContinuation ? earlierConversation() : QUuid::createUuid();
        if (asked.imagePath)
            parts.attachments.append(screenshot(*asked.imagePath));
        parts.llamaServer = m_resources.file(u"llama-server"_s);
        parts.appleBridge = m_resources.file(u"TallowfernAppleBridge"_s);
        if (isCloud(parts.model.provider)) {
            const AgentWritingProvider provider = writingProvider(parts.model.provider);
            parts.key = co_await m_keys.key(provider);
        }
        m_paths.prepare();
        co_return commandRequest(parts, m_preferences.agentSettings(), m_models, m_paths.agentSessions());
    }

    AgentModelDescriptor modelOf(const control::AskArguments& asked) const
    {
        const QString id = asked.modelID.value_or(selectedModelID(m_preferences.agentSettings()));
        const auto model = m_models.descriptor(id);
        if (!model)
            throw SystemError(words("There is no writing model \"%1\".").arg(id));
        if (!m_models.isAvailable(*model))
            throw SystemError(words("Download %1 before using it.").arg(model->name));
        return *model;
    }

    AgentContextAttachment screenshot(const QString& path) const
    {
        if (!QFileInfo(path).isReadable())
            throw SystemError(words("%1 cannot be read.").arg(path));
        AgentContextAttachment attachment;
        attachment.id = QUuid::createUuid();
        attachment.kind = AgentAttachmentKind::Screenshot;
        attachment.displayName = QFileInfo(path).fileName();
        attachment.filePath = QFileInfo(path).absoluteFilePath();
        attachment.createdAt = m_clock.wallNow();
        return attachment;
    }

    QUuid earlierConversation() const
    {
        const auto bytes = readFile(conversationFile());
        const QUuid id = bytes ? QUuid(QString::fromLatin1(bytes->trimmed())) : QUuid();
        if (id.isNull())
            throw SystemError(words("There is no earlier question to continue."));
        return id;
    }

    static void rememberConversation(const QUuid& conversation)
    {
        makePrivateFolder(QFileInfo(conversationFile()).path());
        writeFileAtomically(conversationFile(), {conversation.toByteArray(QUuid::WithoutBraces), "\n"});
    }

    void show(const AgentRuntimeEvent& event)
    {
        if (event.kind != AgentProtocolEventKind::Delta || !event.text)
            return;
        m_shown += *event.text;
        std::fputs(qUtf8Printable(*event.text), stdout);
        std::fflush(stdout);
    }
    /// The whole text counts; what streamed is nearly always the same but for white space at its end.
    void finish(const QString& text)
    {
        if (m_shown.isEmpty())
            std::fputs(qUtf8Printable(text), stdout);
        else if (m_shown.trimmed() != text)
            std::fprintf(stdout, "\n\n%s", qUtf8Printable(text));
        if (!m_shown.endsWith(u'\n'))
            std::fputc('\n', stdout);
        std::fflush(stdout);
    }

    SystemClock m_clock;
    AppPaths m_paths = AppPaths::forUser();
    FilePreferenceStore m_store;
    Preferences m_preferences{m_store, {}};
    CurlDownloader m_downloader{
        QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/Tallowfern"_s};
    AgentModelStore m_models;
    SecretServiceStore m_secrets{m_clock};
    CloudKeys m_keys{m_secrets, m_preferences};
    LinuxProcessLauncher m_launcher;
    ResourceLocator m_resources;
    AgentRuntimeService m_runtime;
    QString m_shown;
};

} // namespace

int ask(const control::AskArguments& asked, const QString& libexecFolder)
{
    Asking asking(libexecFolder);
    QMetaObject::invokeMethod(
        qApp, [&] { asking.answer(asked); }, Qt::QueuedConnection);
    return QCoreApplication::exec();
}

} // namespace tallowfern
