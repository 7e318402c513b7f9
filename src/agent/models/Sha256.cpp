#include "agent/models/Sha256.h"

#include "foundation/LocalizedError.h"

#include <QByteArray>
#include <QFile>

#include <memory>
#include <openssl/evp.h>

namespace tallowfern {

namespace {

constexpr qint64 kChunkBytes = 1048576;
constexpr qsizetype kDigestBytes = 32;

struct FreeContext {
    void operator()(EVP_MD_CTX* context) const { ::EVP_MD_CTX_free(context); }
};

[[noreturn]] void fail(const QFile& file)
{
    throw SystemError(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
}

} // namespace

std::optional<QString> sha256OfFile(const QString& path, std::stop_token stop)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        fail(file);
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(::EVP_MD_CTX_new());
    bool good = context && ::EVP_DigestInit_ex(context.get(), ::EVP_sha256(), nullptr) == 1;
    QByteArray chunk(kChunkBytes, Qt::Uninitialized);
    while (!stop.stop_requested()) {
        const qint64 size = file.read(chunk.data(), kChunkBytes);
        if (size < 0)
            fail(file);
        if (size > 0) {
            good = good && ::EVP_DigestUpdate(context.get(), chunk.constData(), static_cast<size_t>(size)) == 1;
            continue;
        }
        QByteArray digest(kDigestBytes, '\0');
        good = good
            && ::EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char*>(digest.data()), nullptr) == 1;
        if (!good)
            throw SystemError(QStringLiteral("OpenSSL has no SHA-256."));
        return QString::fromLatin1(digest.toHex());
    }
    return std::nullopt;
}

} // namespace tallowfern
