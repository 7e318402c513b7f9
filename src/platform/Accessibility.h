#pragma once

#include <QCoroTask>
#include <QString>

#include <optional>

namespace tallowfern {

/// An element of another application's interface.
struct AccessibleElement {
    QString service; ///< the application's address on the accessibility bus
    QString path; ///< the element within it
    qint64 processIdentifier = 0;

    bool operator==(const AccessibleElement&) const = default;
};

/// In UTF-16 units of the element's text.
struct TextRange {
    qint64 location = 0;
    qint64 length = 0;

    bool operator==(const TextRange&) const = default;
};

/// What is selected in an element; an empty range is the cursor.
struct ElementSelection {
    TextRange range;
    QString text; ///< what stands in the range

    bool operator==(const ElementSelection&) const = default;
};

/// What other applications tell of their interfaces. Main thread.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    /// The element with the focus, known from events, so that asking never waits. It counts only if its process owns
    /// the active window; nothing for applications that tell nothing.
    virtual std::optional<AccessibleElement> focusedElement() const = 0;
    /// Like focusedElement(), but looks for it where the application has not told of it; takes 200 ms at most.
    virtual QCoro::Task<std::optional<AccessibleElement>> findFocusedElement() = 0;
    /// Nothing if the element has no text or does not answer within 200 ms.
    virtual QCoro::Task<std::optional<ElementSelection>> selection(AccessibleElement element) = 0;
    /// The whole text of the element. Nothing if it has none or does not answer within 200 ms.
    virtual QCoro::Task<std::optional<QString>> value(AccessibleElement element) = 0;
    /// Selects the range. True only if the application then tells, within 800 ms, that just this range is selected,
    /// that `expected` stands in it, and that the element has the focus: what is pasted then replaces exactly that.
    virtual QCoro::Task<bool> select(AccessibleElement element, TextRange range, QString expected) = 0;
};

} // namespace tallowfern
