#include "runtime/RequestReader.h"

using namespace tallowfern;

/// The first byte says how large the pieces are in which the rest arrives.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype piece = data[0] + 1;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size) - 1);
    RequestReader reader;
    qsizetype items = 0;
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        reader.append(bytes.mid(at, piece));
        while (const auto item = reader.take()) {
            ++items;
            const auto* request = std::get_if<AgentRuntimeRequest>(&*item);
            if (request && decodedRequest(encodedLine(*request)) != *request)
                std::abort();
        }
    }
    if (items > bytes.count('\n'))
        std::abort();
    return 0;
}
