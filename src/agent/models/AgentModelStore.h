#pragma once

#include "agent/protocol/AgentModelDescriptor.h"
#include "foundation/BackgroundQueue.h"
#include "foundation/Completion.h"
#include "foundation/Lifetime.h"
#include "foundation/SavedFile.h"
#include "platform/HttpDownloader.h"
#include "system/AppPaths.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <exception>
#include <functional>
#include <optional>

namespace tallowfern {

/// Which writing models there are, and which of them are on this computer. Main thread.
class AgentModelStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(QHash<QString, double> progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QStringList activeDownloads READ activeDownloads NOTIFY progressChanged)
    Q_PROPERTY(QList<AgentModelDescriptor> customModels READ customModels NOTIFY customModelsChanged)
    Q_PROPERTY(std::optional<QString> lastImportWarning READ lastImportWarning CONSTANT)
    Q_PROPERTY(qint64 revision READ revision NOTIFY revisionChanged)
public:
    /// The address of the model hub; empty when none is configured.
    using Hub = std::function<QString()>;

    AgentModelStore(AppPaths paths, HttpDownloader& downloader, Hub hub);

    /// From the catalogue, then from the custom models.
    std::optional<AgentModelDescriptor> descriptor(const QString& id) const;
    /// The files that the model needs exist; what is in them is not looked at. Says nothing about keys.
    bool isAvailable(const AgentModelDescriptor& model) const;
    /// Where a file of the model lies when it is there.
    QString localPath(const AgentModelDescriptor& model, const AgentModelArtifact& artifact) const;

    /// Fetches what is missing or has other bytes than it should, and ends when all files are there; joins the
    /// download that runs. Throws a LocalizedError; files that have arrived stay and are not fetched again. When the
    /// model's folder cannot be made, the model stays among the active downloads.
    QCoro::Task<> download(AgentModelDescriptor model);
    /// Deletes the model's files, and a custom model with them. Only for local models. Throws SystemError.
    void remove(const AgentModelDescriptor& model);

    /// The running downloads by the identifier of their model, with the fraction from 0 to 1 that is done.
    const QHash<QString, double>& progress() const { return m_progress; }
    QStringList activeDownloads() const { return m_progress.keys(); }
    /// Those whose files are there.
    const QList<AgentModelDescriptor>& customModels() const { return m_customModels; }
    /// What a screen says about the last import; nothing, as long as custom models come only by hand.
    std::optional<QString> lastImportWarning() const { return std::nullopt; }
    /// Goes up by 1 whenever the files have changed.
    qint64 revision() const { return m_revision; }

Q_SIGNALS:
    void progressChanged();
    void customModelsChanged();
    void revisionChanged();

private:
    using Ending = Completion<std::exception_ptr>;

    QString folder(const AgentModelDescriptor& model) const;
    void loadCustomModels();
    QCoro::Task<> obtainAll(AgentModelDescriptor model);
    QCoro::Task<bool> isIntact(QString path, AgentModelArtifact artifact);
    QCoro::Task<> fetch(QString path, AgentModelArtifact artifact, HttpDownloader::Progress show);
    void setProgress(const QString& id, double fraction);
    void finish(const QString& id, bool filesChanged);
    void raiseRevision();

    AppPaths m_paths;
    HttpDownloader& m_downloader;
    Hub m_hub;
    QHash<QString, double> m_progress;
    QHash<QString, Ending> m_running;
    QList<AgentModelDescriptor> m_customModels;
    SavedFile m_customFile;
    qint64 m_revision = 0;
    BackgroundQueue m_work;
    Lifetime m_lifetime; // last, so that it ends first: a hash of many gigabytes asks its token
};

} // namespace tallowfern
