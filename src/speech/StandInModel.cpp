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

bool isOneOf(const QString& path, const QList<ModelFingerprint>& fingerprints)
{
    QFile file(path);
    const auto hasSize = [size = file.size()](const ModelFingerprint& known) { return known.size == size; };
    if (std::none_of(fingerprints.begin(), fingerprints.end(), hasSize) || !file.open(QIODevice::ReadOnly))
        return false;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!hash.addData(&file))
        return false;
    const QByteArray sha256 = hash.result().toHex();
    return std::any_of(fingerprints.begin(), fingerprints.end(),
        [&](const ModelFingerprint& known) { return known.sha256 == sha256; });
}

} // namespace tallowfern
