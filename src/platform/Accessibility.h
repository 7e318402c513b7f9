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

/// What other applications tell of their interfaces. Main thread.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    /// The element with the focus, known from events, so that asking never waits. It counts only if its process owns
    /// the active window; nothing for applications that tell nothing.
    virtual std::optional<AccessibleElement> focusedElement() const = 0;
    /// The element's selection; an empty range is the cursor. Nothing if the element has no text or does not answer
    /// within 200 ms.
    virtual QCoro::Task<std::optional<TextRange>> selectedTextRange(AccessibleElement element) = 0;
};

} // namespace tallowfern
