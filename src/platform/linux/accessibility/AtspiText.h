#pragma once

#include "platform/Accessibility.h"
#include "platform/linux/accessibility/TextUnits.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>

namespace tallowfern {

/// The text of one element on the accessibility bus. Questions go out at once and take as long as the application takes
/// to answer, so whoever waits for an answer has a deadline. Copies ask the same element.
class AtspiText {
public:
    AtspiText(const QDBusConnection& bus, const AccessibleElement& element);

    QDBusPendingCall ask(const QString& method, const QVariantList& arguments = {}) const;
    QDBusPendingCall askCursor() const;
    QDBusPendingCall askCount() const; ///< of characters
    QDBusPendingCall askToolkit() const; ///< its name
    /// What stands before `last`, or everything for -1; with the toolkit's padding.
    QDBusPendingCall askTextBefore(qint64 last) const;

private:
    QDBusPendingCall send(const QString& interface, const QString& method, const QVariantList& arguments) const;

    QDBusConnection m_bus;
    AccessibleElement m_element;
};

/// Places in a text, counted as its toolkit counts.
struct CountedRange {
    qint64 first = 0;
    qint64 last = 0; ///< behind the range

    bool isEmpty() const { return first == last; }
    bool operator==(const CountedRange&) const = default;
};

/// What is selected, or the cursor. Nothing when the element has no text, or several ranges are selected.
QCoro::Task<std::optional<CountedRange>> readCountedSelection(AtspiText text);
/// The same in UTF-16 units, with the text. Nothing also when the answers do not fit together.
QCoro::Task<std::optional<ElementSelection>> readSelection(AtspiText text);
/// Everything without padding; nothing when the element has no text.
QCoro::Task<std::optional<QString>> readValue(AtspiText text);

/// The string that was answered, without padding.
std::optional<QString> textIn(const QDBusMessage& answer);
/// What the element counts in, from its count and its whole text.
std::optional<TextUnit> unitIn(const QDBusMessage& countAnswer, const QDBusMessage& textAnswer);

} // namespace tallowfern
