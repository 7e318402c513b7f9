#include "runtime/server/Descriptor.h"

#include "foundation/LocalizedError.h"

#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace tallowfern {

Descriptor::~Descriptor()
{
    if (isOpen())
        ::close(m_number);
}

Descriptor fileInMemory(const Secret& secret)
{
    Descriptor file(::memfd_create("key", MFD_CLOEXEC));
    const QByteArray& bytes = secret.reveal();
    if (!file.isOpen() || ::write(file.number(), bytes.constData(), std::size_t(bytes.size())) != bytes.size())
        throw SystemError(QString::fromLocal8Bit(std::strerror(errno)));
    return file;
}

} // namespace tallowfern
