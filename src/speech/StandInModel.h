#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace tallowfern {

/// What tells one model file from another.
struct ModelFingerprint {
    qint64 size = 0; ///< bytes
    QByteArray sha256; ///< in lower-case hexadecimal digits
};

/// The small models of ours, for tests and demonstration, that stand in for the first model of the catalogue until the
/// real one is there. They do not understand people.
const QList<ModelFingerprint>& standInModels();

/// Whether the file is one of these. Reads it whole if its size fits; any thread.
bool isOneOf(const QString& path, const QList<ModelFingerprint>& fingerprints);

} // namespace tallowfern
