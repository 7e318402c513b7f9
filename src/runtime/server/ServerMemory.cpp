#include "runtime/server/ServerMemory.h"

#include "foundation/LocalizedError.h"
#include "foundation/Words.h"
#include "runtime/server/ServerLog.h"

#include <QFileInfo>

#include <array>
#include <cmath>

namespace tallowfern {

namespace {

struct Choice {
    qint64 contextTokens;
    qint64 bytesBesideFiles;
};
/// What a server takes beside its files, with the memory of a text that long; the best first.
constexpr std::array kChoices{Choice{8192, 1'500'000'000}, Choice{4096, 900'000'000}};

qint64 sizeOf(const QString& path, const QString& modelName)
{
    const QFileInfo file(path);
    if (!file.isFile())
        throw SystemError(stoppedSentence(modelName, ServerEnd::ModelMissing));
    return file.size();
}

/// Tenths of a gigabyte, rounded so that what is needed never reads like what is free.
QString gigabytes(qint64 bytes, double (*rounded)(double))
{
    return QString::number(rounded(double(bytes) / 1e8) / 10, 'f', 1);
}

} // namespace

qint64 contextThatFits(const ModelFiles& files, std::optional<qint64> freeBytes)
{
    qint64 fileBytes = sizeOf(files.modelPath, files.name);
    if (files.projectorPath)
        fileBytes += sizeOf(*files.projectorPath, files.name);
    for (const Choice& choice : kChoices) {
        if (!freeBytes || fileBytes + choice.bytesBesideFiles <= *freeBytes)
            return choice.contextTokens;
    }
    throw SystemError(
        words("%1 needs about %2 GB of free memory, and %3 GB are free. Close some applications or choose "
              "a smaller model.")
            .arg(files.name, gigabytes(fileBytes + kChoices.back().bytesBesideFiles, std::ceil),
                gigabytes(*freeBytes, std::floor)));
}

} // namespace tallowfern
