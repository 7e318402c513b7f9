#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace tallowfern {

/// What tells one model file from another.
struct ModelFingerprint {
    qint64 size = 0; ///< bytes
    QByteArray sha256; ///< in lower-case hexadecimal digits
};

/// The small models of ours, for tests and demonstration, that stand in for the first model of the catalogue until the
/// real one is there. They do not understand people.
const QList<ModelFingerprint>& standInModels();

/// The SHA-256 of the file if it is one of these. Reads it whole if its size fits; any thread.
std::optional<QByteArray> recognize(const QString& path, const QList<ModelFingerprint>& fingerprints);

} // namespace tallowfern
