#include "foundation/Files.h"

#include "foundation/LocalizedError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tallowfern {

namespace {

[[noreturn]] void throwErrno(const QString& path)
{
    const int code = errno;
    throw SystemError(QStringLiteral("%1: %2").arg(path, qt_error_string(code)));
}

class Descriptor {
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }
    int number() const { return m_number; }

private:
    int m_number;
};

bool writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

/// On one file system only; errno tells why not.
bool renamePrivateAndFlushed(const QByteArray& from, const QByteArray& to)
{
    const Descriptor file(::open(from.constData(), O_RDONLY | O_CLOEXEC));
    return file.number() >= 0 && ::fchmod(file.number(), 0600) == 0 && ::fsync(file.number()) == 0
        && ::rename(from.constData(), to.constData()) == 0;
}

/// By way of a copy beside the target; errno tells why not.
bool moveAcross(const QByteArray& from, const QByteArray& to)
{
    const QByteArray copy = to + ".part";
    std::error_code error;
    std::filesystem::copy_file(
        from.constData(), copy.constData(), std::filesystem::copy_options::overwrite_existing, error);
    if (!error && renamePrivateAndFlushed(copy, to)) {
        ::unlink(from.constData());
        return true;
    }
    const int code = error ? error.value() : errno;
    ::unlink(copy.constData());
    errno = code;
    return false;
}

void flushFolderOf(const QString& path)
{
    const Descriptor folder(
        ::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.number() >= 0)
        ::fsync(folder.number()); // some file systems cannot, and the rename has happened all the same
}

} // namespace

void makePrivateFolder(const QString& path)
{
    const QString clean = QDir::cleanPath(path);
    if (QFileInfo(clean).isDir())
        return;
    const QString parent = QFileInfo(clean).path();
    if (parent != clean)
        makePrivateFolder(parent);
    if (::mkdir(QFile::encodeName(clean).constData(), 0700) != 0 && !(errno == EEXIST && QFileInfo(clean).isDir()))
        throwErrno(clean);
}

std::optional<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (!file.exists())
        return std::nullopt;
    if (!file.open(QIODevice::ReadOnly))
        throw SystemError(QStringLiteral("%1: %2").arg(path, file.errorString()));
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw SystemError(QStringLiteral("%1: %2").arg(path, file.errorString()));
    return bytes;
}

void writeFileAtomically(const QString& path, std::initializer_list<QByteArrayView> parts)
{
    QByteArray temporary = QFile::encodeName(path) + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC)); // made with mode 0600
    if (file.number() < 0)
        throwErrno(path);
    bool good = true;
    for (const QByteArrayView part : parts)
        good = good && writeAll(file.number(), part);
    good = good && ::fsync(file.number()) == 0;
    good = good && ::rename(temporary.constData(), QFile::encodeName(path).constData()) == 0;
    if (!good) {
        const int code = errno;
        ::unlink(temporary.constData());
        errno = code;
        throwErrno(path);
    }
    flushFolderOf(path);
}

void removeAbandonedCopies(const QString& path)
{
    const QFileInfo file(path);
    const QStringList names = file.dir().entryList({file.fileName() + QStringLiteral(".??????")}, QDir::Files);
    for (const QString& name : names)
        file.dir().remove(name);
}

void moveFile(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    // The system alone knows: two mounts of one file system are two disks to it.
    const bool isMoved = renamePrivateAndFlushed(source, target) || (errno == EXDEV && moveAcross(source, target));
    if (!isMoved)
        throwErrno(to);
    flushFolderOf(to);
}

QString setAsideDamagedFile(const QString& path, const QDateTime& when)
{
    const QString base = path + QStringLiteral(".damaged-") + when.toUTC().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = base;
    for (int number = 2; QFileInfo::exists(target); ++number)
        target = base + QStringLiteral("-%1").arg(number);
    if (::rename(QFile::encodeName(path).constData(), QFile::encodeName(target).constData()) != 0)
        throwErrno(path);
    flushFolderOf(path);
    return target;
}

} // namespace tallowfern
