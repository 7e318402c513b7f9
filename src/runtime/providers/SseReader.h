#pragma once

#include <QByteArray>
#include <QByteArrayList>

namespace tallowfern {

/// Cuts a stream of server-sent events into the data of each, however the bytes come. Comments and all other fields are
/// passed over.
class SseReader {
public:
    QByteArrayList append(const QByteArray& bytes);

private:
    QByteArray m_rest; ///< of the line that is still on its way
    QByteArrayList m_data; ///< lines of the event that is still on its way
};

} // namespace tallowfern
