#include "platform/linux/sound/WavFile.h"

#include "foundation/LocalizedError.h"

#include <QFile>
#include <QtEndian>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tallowfern {

namespace {

constexpr quint32 kHeaderBytes = 44;
constexpr off_t kFileSizeOffset = 4;
constexpr off_t kDataSizeOffset = 40;

template <class T>
void add(QByteArray& bytes, T number)
{
    char raw[sizeof(T)];
    qToLittleEndian(number, raw);
    bytes.append(raw, sizeof raw);
}

QByteArray emptyHeader(const AudioSettings& settings)
{
    const auto channels = static_cast<quint16>(settings.channels);
    const auto bits = static_cast<quint16>(settings.bitDepth);
    const auto rate = static_cast<quint32>(settings.sampleRate);
    const auto block = static_cast<quint16>(channels * bits / 8);
    QByteArray header("RIFF");
    add<quint32>(header, kHeaderBytes - 8);
    header += "WAVEfmt ";
    add<quint32>(header, 16);
    add<quint16>(header, 1); // linear PCM
    add(header, channels);
    add(header, rate);
    add<quint32>(header, rate * block);
    add(header, block);
    add(header, bits);
    header += "data";
    add<quint32>(header, 0);
    return header;
}

} // namespace

WavFile::WavFile(const QString& path, const AudioSettings& settings)
    : m_descriptor(::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600))
    , m_blockBytes(static_cast<quint32>(settings.channels * settings.bitDepth / 8))
{
    const QByteArray header = emptyHeader(settings);
    errno = m_descriptor < 0 ? errno : ENOSPC; // a short write sets none
    if (m_descriptor >= 0 && ::write(m_descriptor, header.constData(), kHeaderBytes) == ssize_t(kHeaderBytes))
        return;
    const QString reason = qt_error_string(errno);
    if (m_descriptor >= 0) {
        close();
        QFile::remove(path);
    }
    throw SystemError(QStringLiteral("%1: %2").arg(path, reason));
}

WavFile::~WavFile()
{
    close();
}

void WavFile::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

std::optional<QString> WavFile::append(QByteArrayView samples)
{
    std::optional<QString> failure;
    quint32 written = 0;
    while (!failure && written < samples.size()) {
        const auto count
            = ::write(m_descriptor, samples.data() + written, static_cast<size_t>(samples.size()) - written);
        if (count >= 0)
            written += static_cast<quint32>(count);
        else if (errno != EINTR)
            failure = qt_error_string(errno);
    }
    m_dataBytes
        += written - written % m_blockBytes; // half a sample at the very end is outside of what the header tells
    writeSizes();
    return failure;
}

void WavFile::writeSizes() const
{
    char size[4];
    qToLittleEndian<quint32>(kHeaderBytes - 8 + m_dataBytes, size);
    bool good = ::pwrite(m_descriptor, size, sizeof size, kFileSizeOffset) == sizeof size;
    qToLittleEndian<quint32>(m_dataBytes, size);
    good = ::pwrite(m_descriptor, size, sizeof size, kDataSizeOffset) == sizeof size && good;
    Q_UNUSED(good); // these four bytes have their place on the disk already
}

} // namespace tallowfern
