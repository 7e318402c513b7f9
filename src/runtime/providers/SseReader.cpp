#include "runtime/providers/SseReader.h"

namespace tallowfern {

QByteArrayList SseReader::append(const QByteArray& bytes)
{
    QByteArrayList events;
    m_rest += bytes;
    qsizetype begin = 0;
    for (auto end = m_rest.indexOf('\n'); end >= 0; end = m_rest.indexOf('\n', begin)) {
        QByteArray line = m_rest.sliced(begin, end - begin);
        begin = end + 1;
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.startsWith("data:")) {
            const qsizetype blank = line.startsWith("data: ") ? 1 : 0;
            m_data.append(line.sliced(5 + blank));
        } else if (line.isEmpty() && !m_data.isEmpty()) {
            events.append(m_data.join('\n'));
            m_data.clear();
        }
    }
    m_rest.remove(0, begin);
    return events;
}

} // namespace tallowfern
