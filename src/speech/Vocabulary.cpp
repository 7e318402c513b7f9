#include "speech/Vocabulary.h"

#include <QCollator>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace tallowfern {

namespace {

/// In characters as a person counts them.
qsizetype lengthInCharacters(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype length = 0;
    while (finder.toNextBoundary() != -1)
        ++length;
    return length;
}

QStringList longestFirst(const QStringList& terms)
{
    QList<std::pair<qsizetype, QString>> measured;
    for (const QString& term : terms)
        measured.append({lengthInCharacters(term), term});
    std::stable_sort(measured.begin(), measured.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    QStringList sorted;
    for (const auto& [length, term] : std::as_const(measured))
        sorted.append(term);
    return sorted;
}

QString respelled(const QString& text, const QString& term)
{
    if (!text.contains(term, Qt::CaseInsensitive))
        return text; // compiling an expression for each of a thousand terms would hold up a frame
    const QRegularExpression expression(
        QStringLiteral("(?<![\\p{L}\\p{N}])") + QRegularExpression::escape(term) + QStringLiteral("(?![\\p{L}\\p{N}])"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    if (!expression.isValid())
        return text;
    // By position: QString::replace would take a backslash in the term for a reference.
    QString result;
    qsizetype copied = 0;
    for (const auto& match : expression.globalMatch(text)) {
        result += QStringView(text).sliced(copied, match.capturedStart() - copied);
        result += term;
        copied = match.capturedEnd();
    }
    result += QStringView(text).sliced(copied);
    return result;
}

} // namespace

std::optional<QStringList> addingTerm(const QStringList& list, const QString& term)
{
    const QString trimmed = term.trimmed();
    if (trimmed.isEmpty() || list.contains(trimmed, Qt::CaseInsensitive))
        return std::nullopt;
    QStringList terms = list;
    terms.append(trimmed);
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(terms.begin(), terms.end(), collator);
    return terms;
}

QStringList removingTerm(const QStringList& list, const QString& term)
{
    QStringList terms = list;
    terms.removeAll(term);
    return terms;
}

QString normalizeVocabulary(const QString& text, const QStringList& terms)
{
    QString result = text;
    for (const QString& term : longestFirst(terms))
        result = respelled(result, term);
    return result;
}

QString vocabularyPrompt(const QStringList& terms)
{
    // The kernel refuses an argument of 128 KiB, and with it the start.
    constexpr qsizetype kMostBytes = qsizetype{100} * 1024;
    const QString separator = QStringLiteral(", ");
    qsizetype bytes = 0;
    qsizetype first = terms.size();
    while (first > 0) {
        bytes += terms.at(first - 1).toUtf8().size() + separator.size();
        if (bytes - separator.size() > kMostBytes)
            break;
        --first;
    }
    return terms.sliced(first).join(separator);
}

} // namespace tallowfern
