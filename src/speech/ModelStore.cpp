#include "speech/ModelStore.h"

#include "foundation/Files.h"
#include "foundation/InBackground.h"
#include "foundation/LocalizedError.h"
#include "system/HubAddress.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace tallowfern {

namespace {

/// False when the source cannot be read or the target not written; a half copy never stands under the target's name.
bool copyModel(const QString& source, const QString& target)
{
    try {
        const auto bytes = readFile(source);
        if (!bytes)
            return false;
        writeFileAtomically(target, {*bytes});
        return true;
    } catch (const LocalizedError&) {
        return false;
    }
}

/// In the background: between two disks, gigabytes are copied. Gives the sentence of a failure.
std::optional<QString> moveModel(const QString& temporary, const QString& target)
{
    try {
        moveFile(temporary, target);
        return std::nullopt;
    } catch (const LocalizedError& error) {
        QFile::remove(temporary);
        return error.description();
    }
}

} // namespace

ModelStore::ModelStore(AppPaths paths, HttpDownloader& downloader, Hub hub, const std::optional<QString>& bundledPocket,
    QList<ModelFingerprint> standIns)
    : m_paths(std::move(paths))
    , m_downloader(downloader)
    , m_hub(std::move(hub))
    , m_standIns(std::move(standIns))
{
    try {
        m_paths.prepare();
    } catch (const LocalizedError&) {
        // The store works on what is there; recording says what is wrong with the folders.
    }
    if (catalog().isEmpty())
        return;
    if (bundledPocket && !isInstalled(catalog().first()))
        bootstrapBundledPocket(*bundledPocket);
    if (isInstalled(catalog().first()))
        examinePocket(bundledPocket);
}

void ModelStore::bootstrapBundledPocket(const QString& source)
{
    copyModel(source, localPath(catalog().first()));
    raiseRevision();
}

void ModelStore::examinePocket(const std::optional<QString>& bundled)
{
    m_examinations.post([this, bundled, standIns = m_standIns, installed = localPath(catalog().first())] {
        const auto digest = recognize(installed, standIns);
        const auto bundledDigest = digest && bundled ? recognize(*bundled, standIns) : std::nullopt;
        const bool replaced = digest && bundled && digest != bundledDigest && copyModel(*bundled, installed);
        const bool standIn = replaced ? bundledDigest.has_value() : digest.has_value();
        QMetaObject::invokeMethod(
            this, [=, this] { pocketExamined(standIn, replaced); }, Qt::QueuedConnection);
    });
}

void ModelStore::pocketExamined(bool standIn, bool replaced)
{
    m_pocketIsStandIn = standIn && isInstalled(catalog().first()); // it may have been deleted meanwhile
    if (replaced)
        raiseRevision();
    Q_EMIT standInChanged();
}

QString ModelStore::localPath(const SpeechModel& model) const
{
    return m_paths.models() + u'/' + model.fileName;
}

bool ModelStore::isInstalled(const SpeechModel& model) const
{
    return QFileInfo::exists(localPath(model));
}

bool ModelStore::isStandIn(const SpeechModel& model) const
{
    return m_pocketIsStandIn && model.fileName == catalog().first().fileName && isInstalled(model);
}

void ModelStore::deleteModel(const SpeechModel& model)
{
    m_examinations.drain(); // a replacement in progress would bring the file back
    QFile file(localPath(model));
    if (!file.exists())
        return;
    if (!file.remove())
        throw SystemError(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
    raiseRevision();
    if (model.fileName == catalog().first().fileName && m_pocketIsStandIn)
        pocketExamined(false, false);
}

ModelStore::Download ModelStore::startDownload(const SpeechModel& model)
{
    if (const auto running = m_downloads.constFind(model.id); running != m_downloads.cend())
        return *running;
    Download download;
    if (isInstalled(model)) {
        download.complete(std::nullopt);
        return download;
    }
    m_downloads.insert(model.id, download);
    m_progress.insert(model.id, 0);
    Q_EMIT progressChanged();
    performDownload(model, download);
    return download;
}

QCoro::Task<> ModelStore::performDownload(SpeechModel model, Download download)
{
    const auto alive = m_lifetime.token();
    std::optional<QString> failure;
    QString temporary;
    try {
        temporary = co_await fetch(model);
    } catch (const LocalizedError& error) {
        failure = error.description();
    }
    if (alive.stop_requested()) {
        if (!failure)
            QFile::remove(temporary); // nobody else knows of it
        co_return;
    }
    if (!failure) {
        auto moving
            = inBackground(m_moves, [temporary, target = localPath(model)] { return moveModel(temporary, target); });
        failure = co_await moving;
        if (alive.stop_requested())
            co_return;
    }
    if (!failure)
        raiseRevision();
    m_downloads.remove(model.id);
    m_progress.remove(model.id);
    Q_EMIT progressChanged();
    download.complete(failure);
}

/// The path of the new file.
QCoro::Task<QString> ModelStore::fetch(SpeechModel model)
{
    const QUrl address = addressOnHub(m_hub(), model.hubPath);
    const auto show = [this, id = model.id, alive = m_lifetime.token()](double fraction) {
        if (alive.stop_requested() || !m_progress.contains(id))
            return;
        m_progress[id] = std::clamp(fraction, 0.0, 1.0);
        Q_EMIT progressChanged();
    };
    return m_downloader.download(address, show);
}

void ModelStore::raiseRevision()
{
    ++m_revision;
    Q_EMIT revisionChanged();
}

} // namespace tallowfern
