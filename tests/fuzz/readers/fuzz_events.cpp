#include "agent/protocol/AgentLines.h"

using namespace tallowfern;

/// The first byte says how large the pieces are in which the rest arrives.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype piece = data[0] + 1;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size) - 1);
    LineBuffer buffer;
    qsizetype taken = 0;
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        buffer.append(bytes.mid(at, piece));
        while (const auto line = buffer.takeLine()) {
            taken += line->size() + 1;
            try {
                const AgentRuntimeEvent event = decodedEvent(*line);
                if (decodedEvent(encodedLine(event)) != event)
                    std::abort();
            } catch (const json::DecodingError&) {
                continue; // refused
            }
        }
    }
    if (taken + buffer.size() != bytes.size())
        std::abort();
    return 0;
}
