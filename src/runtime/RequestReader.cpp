#include "runtime/RequestReader.h"

#include "foundation/Words.h"

#include <QJsonDocument>

namespace tallowfern {

namespace {

/// The sender of a request that has an identifier is answered, whatever else is wrong with it.
RequestReader::Item rejected(const QByteArray& line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    const QUuid id(object.value(QStringLiteral("requestID")).toString());
    const bool isKnown = !id.isNull();
    return RequestReader::Rejected{
        isKnown ? std::optional(id) : std::nullopt, words("Command does not understand this request.")};
}

} // namespace

std::optional<RequestReader::Item> RequestReader::take()
{
    while (const auto line = m_lines.takeLine()) {
        if (std::exchange(m_skipping, false) || line->isEmpty())
            continue;
        if (line->size() > kLongestLine)
            return Rejected{std::nullopt, words("The request is too long.")};
        try {
            return decodedRequest(*line);
        } catch (const json::DecodingError&) {
            return rejected(*line);
        }
    }
    if (m_lines.size() <= kLongestLine && !m_skipping)
        return std::nullopt;
    m_lines.clear();
    if (std::exchange(m_skipping, true))
        return std::nullopt;
    return Rejected{std::nullopt, words("The request is too long.")};
}

} // namespace tallowfern
