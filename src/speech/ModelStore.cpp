#include "speech/ModelStore.h"

#include "foundation/Files.h"
#include "foundation/LocalizedError.h"

#include <QFile>
#include <QFileInfo>

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

} // namespace

ModelStore::ModelStore(AppPaths paths, const std::optional<QString>& bundledPocket, QList<ModelFingerprint> standIns)
    : m_paths(std::move(paths))
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
    m_queue.post([this, bundled, standIns = m_standIns, installed = localPath(catalog().first())] {
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
    m_queue.drain(); // a replacement in progress would bring the file back
    QFile file(localPath(model));
    if (!file.exists())
        return;
    if (!file.remove())
        throw SystemError(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
    raiseRevision();
    if (model.fileName == catalog().first().fileName && m_pocketIsStandIn)
        pocketExamined(false, false);
}

void ModelStore::raiseRevision()
{
    ++m_revision;
    Q_EMIT revisionChanged();
}

} // namespace tallowfern
