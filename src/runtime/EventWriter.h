#pragma once

#include "agent/protocol/AgentRuntimeEvent.h"

namespace tallowfern {

/// Writes events to a descriptor, a line each. The application reads all the time; once it reads no more, there is
/// nobody left to work for, and the process ends.
class EventWriter {
public:
    explicit EventWriter(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    void write(const AgentRuntimeEvent& event);

private:
    int m_descriptor;
};

} // namespace tallowfern
