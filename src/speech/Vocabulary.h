#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace tallowfern {

/// The list with the trimmed term in its place by the locale's order, without regard to case; nothing when the term is
/// empty or already there in any capitalisation.
std::optional<QStringList> addingTerm(const QStringList& list, const QString& term);

/// The list without the entries that are exactly `term`.
QStringList removingTerm(const QStringList& list, const QString& term);

/// The text with every whole word or phrase that is one of the terms, but for capitalisation, spelled as the list does.
QString normalizeVocabulary(const QString& text, const QStringList& terms);

/// What an engine is given to expect. A list too long for a command line loses terms from its front; empty for none.
QString vocabularyPrompt(const QStringList& terms);

} // namespace tallowfern
