#include "speech/EngineOutput.h"

#include <QStringList>
#include <QStringView>

#include <cmath>

namespace tallowfern {

namespace {

const QLatin1StringView kProgressWord{"progress"};

bool endsLine(QChar character)
{
    switch (character.unicode()) {
    case u'\n':
    case u'\v':
    case u'\f':
    case u'\r':
    case u'\u0085':
    case u'\u2028':
    case u'\u2029':
        return true;
    default:
        return false;
    }
}

bool isBlankOrTab(QChar character)
{
    return character == u' ' || character == u'\t';
}

QStringView withoutBlanks(QStringView text)
{
    while (!text.isEmpty() && isBlankOrTab(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlankOrTab(text.back()))
        text.chop(1);
    return text;
}

/// The number between the last "=" and the last "%".
std::optional<double> percentIn(QStringView line)
{
    const qsizetype equals = line.lastIndexOf(u'=');
    const qsizetype percent = line.lastIndexOf(u'%');
    if (equals < 0 || percent < equals)
        return std::nullopt;
    bool isNumber = false;
    const double value = withoutBlanks(line.sliced(equals + 1, percent - equals - 1)).toDouble(&isNumber);
    return isNumber && !std::isnan(value) ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<QString> strictUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

void ProgressScanner::append(const QByteArray& bytes)
{
    const QString text = m_decoder.decode(bytes);
    qsizetype begin = 0;
    for (qsizetype position = 0; position < text.size(); ++position) {
        if (!endsLine(text.at(position)))
            continue;
        m_line += QStringView(text).sliced(begin, position - begin);
        if (m_lineSaysProgress || m_line.contains(kProgressWord)) {
            if (const auto value = percentIn(m_line))
                m_finished = value;
        }
        m_line.clear();
        m_lineSaysProgress = false;
        begin = position + 1;
    }
    m_line += QStringView(text).sliced(begin);
    shortenLine();
}

void ProgressScanner::shortenLine()
{
    constexpr qsizetype kLongLine = 4096;
    constexpr qsizetype kKept = 512; // more than the longest number between the two signs
    if (m_line.size() <= kLongLine)
        return;
    m_lineSaysProgress = m_lineSaysProgress || m_line.contains(kProgressWord);
    m_line = m_line.last(kKept);
}

std::optional<double> ProgressScanner::percent() const
{
    if (m_decoder.hasError())
        return std::nullopt;
    if (m_lineSaysProgress || m_line.contains(kProgressWord)) {
        if (const auto value = percentIn(m_line))
            return value;
    }
    return m_finished;
}

void ErrorTail::append(const QByteArray& bytes)
{
    constexpr qsizetype kKept = 65536;
    m_bytes += bytes;
    if (m_bytes.size() <= 2 * kKept)
        return;
    qsizetype begin = m_bytes.size() - kKept;
    const auto continuesCharacter
        = [&](qsizetype at) { return (static_cast<unsigned char>(m_bytes.at(at)) & 0xC0) == 0x80; };
    while (begin < m_bytes.size() && continuesCharacter(begin))
        ++begin; // the cut itself must not make the text unreadable
    m_bytes = m_bytes.sliced(begin);
}

QString ErrorTail::message() const
{
    const auto text = strictUtf8(m_bytes);
    if (!text)
        return {};
    const QStringList lines = text->split(u'\n', Qt::SkipEmptyParts);
    return lines.last(std::min<qsizetype>(lines.size(), 2)).join(u' ');
}

} // namespace tallowfern
