#include "agent/models/AgentModelStore.h"

#include "agent/models/AgentModelCatalog.h"
#include "agent/models/Sha256.h"
#include "agent/protocol/AgentRuntimeError.h"
#include "foundation/Files.h"
#include "foundation/InBackground.h"
#include "foundation/Words.h"
#include "system/HubAddress.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace tallowfern {

namespace {

constexpr double kMostInTransfer = 0.99; // the check is still to come

/// Written by hand, a custom model may name anything; nothing outside the model's own folder is its file.
bool isPlainName(const QString& name)
{
    return !name.isEmpty() && name != QStringLiteral(".") && name != QStringLiteral("..") && !name.contains(u'/');
}

bool needsFiles(const AgentModelDescriptor& model)
{
    return model.provider == AgentModelProvider::LlamaCPP;
}

double totalBytes(const AgentModelDescriptor& model)
{
    double total = 0;
    for (const AgentModelArtifact& artifact : model.artifacts)
        total += static_cast<double>(artifact.byteSize);
    return std::max(1.0, total);
}

/// For a worker. False when stopped; throws a LocalizedError.
bool install(const QString& temporary, const QString& path, const AgentModelArtifact& artifact, std::stop_token stop)
{
    const auto digest = sha256OfFile(temporary, stop);
    if (digest != artifact.sha256) {
        QFile::remove(temporary);
        if (!digest)
            return false;
        throw AgentRuntimeError::modelImportFailed(
            words("The downloaded %1 failed its integrity check.").arg(artifact.fileName));
    }
    try {
        moveFile(temporary, path);
    } catch (const SystemError&) {
        QFile::remove(temporary);
        throw;
    }
    return true;
}

} // namespace

AgentModelStore::AgentModelStore(AppPaths paths, HttpDownloader& downloader, Hub hub)
    : m_paths(std::move(paths))
    , m_downloader(downloader)
    , m_hub(std::move(hub))
    , m_customFile(m_paths.customAgentModels())
{
    try {
        m_paths.prepare();
    } catch (const LocalizedError&) {
        // The store works on what is there.
    }
    loadCustomModels();
}

void AgentModelStore::loadCustomModels()
{
    m_customModels = m_customFile.load<QList<AgentModelDescriptor>>();
    m_customModels.removeIf([this](const AgentModelDescriptor& model) { return !isAvailable(model); });
}

std::optional<AgentModelDescriptor> AgentModelStore::descriptor(const QString& id) const
{
    for (const auto* models : {&agentModelCatalog(), &m_customModels}) {
        const auto found = std::find_if(
            models->begin(), models->end(), [&](const AgentModelDescriptor& model) { return model.id == id; });
        if (found != models->end())
            return *found;
    }
    return std::nullopt;
}

QString AgentModelStore::folder(const AgentModelDescriptor& model) const
{
    return m_paths.agentModels() + u'/' + model.id;
}

QString AgentModelStore::localPath(const AgentModelDescriptor& model, const AgentModelArtifact& artifact) const
{
    return folder(model) + u'/' + artifact.fileName;
}

bool AgentModelStore::isAvailable(const AgentModelDescriptor& model) const
{
    if (!needsFiles(model))
        return true;
    return isPlainName(model.id) && !model.artifacts.isEmpty()
        && std::all_of(model.artifacts.begin(), model.artifacts.end(), [&](const AgentModelArtifact& artifact) {
               return isPlainName(artifact.fileName) && QFileInfo::exists(localPath(model, artifact));
           });
}

QCoro::Task<> AgentModelStore::download(AgentModelDescriptor model)
{
    if (!needsFiles(model) || model.artifacts.isEmpty() || isAvailable(model))
        co_return;
    const auto running = m_running.constFind(model.id);
    const bool isFirst = running == m_running.cend();
    Ending ending = isFirst ? Ending() : *running;
    if (isFirst) {
        setProgress(model.id, 0);
        makePrivateFolder(folder(model)); // a failure leaves the model as downloading, until the next start
        m_running.insert(model.id, ending);
        const auto alive = m_lifetime.token();
        std::exception_ptr failure;
        try {
            auto obtaining = obtainAll(model);
            co_await obtaining;
        } catch (const LocalizedError&) {
            failure = std::current_exception();
        }
        if (!alive.stop_requested())
            finish(model.id, !failure);
        ending.complete(failure);
    }
    const auto failure = co_await ending;
    if (failure)
        std::rethrow_exception(failure);
}

QCoro::Task<> AgentModelStore::obtainAll(AgentModelDescriptor model)
{
    const auto alive = m_lifetime.token();
    const double total = totalBytes(model);
    double completed = 0;
    for (const AgentModelArtifact& artifact : model.artifacts) {
        const QString path = localPath(model, artifact);
        const auto size = static_cast<double>(artifact.byteSize);
        auto checking = isIntact(path, artifact);
        const bool isThere = co_await checking;
        if (alive.stop_requested())
            co_return;
        if (!isThere) {
            const auto show = [this, alive, id = model.id, completed, size, total](double fraction) {
                const double bytes = std::trunc(completed + std::clamp(fraction, 0.0, 1.0) * size);
                if (!alive.stop_requested() && m_running.contains(id))
                    setProgress(id, std::min(kMostInTransfer, bytes / total));
            };
            auto fetching = fetch(path, artifact, show);
            co_await fetching;
            if (alive.stop_requested())
                co_return;
            setProgress(model.id, (completed + size) / total);
        }
        completed += size;
    }
}

QCoro::Task<bool> AgentModelStore::isIntact(QString path, AgentModelArtifact artifact)
{
    if (!QFileInfo::exists(path))
        co_return false;
    auto hashing = inBackground(m_work, [path, stop = m_lifetime.token()] { return sha256OfFile(path, stop); });
    const auto digest = co_await hashing;
    co_return digest == artifact.sha256;
}

QCoro::Task<> AgentModelStore::fetch(QString path, AgentModelArtifact artifact, HttpDownloader::Progress show)
{
    const auto alive = m_lifetime.token();
    const QUrl address = artifact.url.startsWith(u'/') ? addressOnHub(m_hub(), artifact.url) : QUrl(artifact.url);
    auto transferring = m_downloader.download(address, std::move(show));
    const QString temporary = co_await transferring;
    if (alive.stop_requested()) {
        QFile::remove(temporary); // nobody else knows of it
        co_return;
    }
    auto installing = inBackground(
        m_work, [temporary, path, artifact, alive] { return install(temporary, path, artifact, alive); });
    co_await installing;
}

void AgentModelStore::setProgress(const QString& id, double fraction)
{
    m_progress.insert(id, fraction);
    Q_EMIT progressChanged();
}

void AgentModelStore::finish(const QString& id, bool filesChanged)
{
    m_running.remove(id);
    if (filesChanged)
        raiseRevision();
    m_progress.remove(id);
    Q_EMIT progressChanged();
}

void AgentModelStore::remove(const AgentModelDescriptor& model)
{
    if (!needsFiles(model) || !isPlainName(model.id))
        return;
    std::error_code error;
    std::filesystem::remove_all(QFile::encodeName(folder(model)).constData(), error);
    if (error)
        throw SystemError(QStringLiteral("%1: %2").arg(folder(model), QString::fromStdString(error.message())));
    if (model.isCustom) {
        m_customModels.removeIf([&](const AgentModelDescriptor& other) { return other.id == model.id; });
        m_customFile.save([models = m_customModels] {
            return QJsonDocument(json::write(models).toArray()).toJson(QJsonDocument::Compact);
        });
        Q_EMIT customModelsChanged();
    }
    raiseRevision();
}

void AgentModelStore::raiseRevision()
{
    ++m_revision;
    Q_EMIT revisionChanged();
}

} // namespace tallowfern
