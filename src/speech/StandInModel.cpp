#include "speech/StandInModel.h"

#include <QCryptographicHash>
#include <QFile>

#include <algorithm>

namespace tallowfern {

const QList<ModelFingerprint>& standInModels()
{
    // `sha256sum` of tallowfern-voice-small.en-q5_1.bin, of every version that was ever shipped.
    static const QList<ModelFingerprint> models{
        {15785674, "2a9a8abcd8b98b6fc7b7db0cd15109199d56fd18ea4702e8665eeed81b9102d7"},
    };
    return models;
}

std::optional<QByteArray> recognize(const QString& path, const QList<ModelFingerprint>& fingerprints)
{
    QFile file(path);
    const auto hasSize = [size = file.size()](const ModelFingerprint& known) { return known.size == size; };
    if (std::none_of(fingerprints.begin(), fingerprints.end(), hasSize) || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!hash.addData(&file))
        return std::nullopt;
    const QByteArray sha256 = hash.result().toHex();
    const auto hasDigest = [&](const ModelFingerprint& known) { return known.sha256 == sha256; };
    return std::any_of(fingerprints.begin(), fingerprints.end(), hasDigest) ? std::optional(sha256) : std::nullopt;
}

} // namespace tallowfern
