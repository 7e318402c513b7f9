#include "runtime/EventWriter.h"

#include "agent/protocol/AgentLines.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace tallowfern {

void EventWriter::write(const AgentRuntimeEvent& event)
{
    QByteArray line = encodedLine(event);
    while (!line.isEmpty()) {
        const ssize_t count = ::write(m_descriptor, line.constData(), std::size_t(line.size()));
        if (count >= 0)
            line.remove(0, count);
        else if (errno != EINTR)
            ::_exit(EXIT_FAILURE);
    }
}

} // namespace tallowfern
