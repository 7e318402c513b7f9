#pragma once

#include "foundation/BackgroundQueue.h"
#include "foundation/Completion.h"
#include "foundation/Lifetime.h"
#include "platform/HttpDownloader.h"
#include "speech/SpeechModel.h"
#include "speech/StandInModel.h"
#include "system/AppPaths.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace tallowfern {

/// The files of the speech models on this computer. Main thread.
class ModelStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 revision READ revision NOTIFY revisionChanged)
    Q_PROPERTY(QHash<QString, double> progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QStringList activeDownloads READ activeDownloads NOTIFY progressChanged)
public:
    /// How a download ends: nothing when the file is there, else the sentence that says why not.
    using Download = Completion<std::optional<QString>>;
    /// The address of the model hub; empty when none is configured.
    using Hub = std::function<QString()>;

    /// `bundledPocket` is the file of the first model among the application's resources. It is put in place when the
    /// user has none; failures are passed over, the next start tries again. A stand-in from an earlier version gives
    /// way to what is bundled now; nothing else is ever replaced.
    ModelStore(AppPaths paths, HttpDownloader& downloader, Hub hub, const std::optional<QString>& bundledPocket,
        QList<ModelFingerprint> standIns = standInModels());

    const QList<SpeechModel>& catalog() const { return SpeechModel::catalog(); }
    QString localPath(const SpeechModel& model) const;
    /// A file of the right name exists. What is in it is not looked at.
    bool isInstalled(const SpeechModel& model) const;
    /// The installed file does not understand people. Known soon after the start; see standInChanged.
    bool isStandIn(const SpeechModel& model) const;
    /// Throws SystemError. Harmless when there is no file.
    void deleteModel(const SpeechModel& model);

    /// The running downloads by the identifier of their model, with the fraction from 0 to 1 that has arrived; it stays
    /// 0 where the server does not tell the length.
    const QHash<QString, double>& progress() const { return m_progress; }
    QStringList activeDownloads() const { return m_progress.keys(); }
    /// Starts a download, or joins the one that runs. Done at once when the file is there.
    Download startDownload(const SpeechModel& model);

    /// Goes up by 1 whenever the files have changed.
    qint64 revision() const { return m_revision; }

Q_SIGNALS:
    void revisionChanged();
    void standInChanged();
    void progressChanged();

private:
    void bootstrapBundledPocket(const QString& source);
    void examinePocket(const std::optional<QString>& bundled);
    void pocketExamined(bool standIn, bool replaced);
    QCoro::Task<> performDownload(SpeechModel model, Download download);
    QCoro::Task<QString> fetch(SpeechModel model);
    void raiseRevision();

    AppPaths m_paths;
    HttpDownloader& m_downloader;
    Hub m_hub;
    QList<ModelFingerprint> m_standIns;
    qint64 m_revision = 0;
    bool m_pocketIsStandIn = false;
    QHash<QString, double> m_progress;
    QHash<QString, Download> m_downloads;
    Lifetime m_lifetime;
    // Last: their jobs report to the members above. A move may take as long as the disk likes; nobody waits for it.
    BackgroundQueue m_examinations;
    BackgroundQueue m_moves;
};

} // namespace tallowfern
