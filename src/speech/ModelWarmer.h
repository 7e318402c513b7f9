#pragma once

#include "foundation/BackgroundQueue.h"

#include <QDateTime>
#include <QHash>
#include <QString>

#include <atomic>

namespace tallowfern {

/// Reads model files through in the background, so that the engine finds them in memory: a load from a cold disk takes
/// several times as long as reading the file once in order. Main thread.
class ModelWarmer {
public:
    ModelWarmer() = default;
    /// Does not wait for files that are still to be read.
    ~ModelWarmer();

    /// Returns at once. A file is read once, and again when it has changed.
    void warm(const QString& path);

private:
    struct Version {
        qint64 size = 0;
        QDateTime modified;

        bool operator==(const Version&) const = default;
    };

    QHash<QString, Version> m_warmed;
    std::atomic<bool> m_ending = false;
    BackgroundQueue m_queue; ///< last: its jobs look at m_ending
};

} // namespace tallowfern
