#pragma once

#include "foundation/BackgroundQueue.h"
#include "speech/SpeechModel.h"
#include "speech/StandInModel.h"
#include "system/AppPaths.h"

#include <QList>
#include <QObject>
#include <QString>

#include <optional>

namespace tallowfern {

/// The files of the speech models on this computer. Main thread.
class ModelStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 revision READ revision NOTIFY revisionChanged)
public:
    /// `bundledPocket` is the file of the first model among the application's resources. It is put in place when the
    /// user has none; failures are passed over, the next start tries again. A stand-in from an earlier version gives
    /// way to what is bundled now; nothing else is ever replaced.
    ModelStore(AppPaths paths, const std::optional<QString>& bundledPocket,
        QList<ModelFingerprint> standIns = standInModels());

    const QList<SpeechModel>& catalog() const { return SpeechModel::catalog(); }
    QString localPath(const SpeechModel& model) const;
    /// A file of the right name exists. What is in it is not looked at.
    bool isInstalled(const SpeechModel& model) const;
    /// The installed file does not understand people. Known soon after the start; see standInChanged.
    bool isStandIn(const SpeechModel& model) const;
    /// Throws SystemError. Harmless when there is no file.
    void deleteModel(const SpeechModel& model);

    /// Goes up by 1 whenever the files have changed.
    qint64 revision() const { return m_revision; }

Q_SIGNALS:
    void revisionChanged();
    void standInChanged();

private:
    void bootstrapBundledPocket(const QString& source);
    void examinePocket(const std::optional<QString>& bundled);
    void pocketExamined(bool standIn, bool replaced);
    void raiseRevision();

    AppPaths m_paths;
    QList<ModelFingerprint> m_standIns;
    qint64 m_revision = 0;
    bool m_pocketIsStandIn = false;
    BackgroundQueue m_queue; ///< last: its jobs report to the members above
};

} // namespace tallowfern
