#include "platform/linux/accessibility/AtspiSelect.h"

#include "platform/linux/accessibility/TextUnits.h"

#include <QCoroDBusPendingCall>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kAgainSeconds = 0.01; // between two looks at a selection that takes effect later
constexpr double kWaySeconds = 0.2; // for a step that some toolkits never take

QVariantList places(CountedRange range)
{
    return {static_cast<int>(range.first), static_cast<int>(range.last)};
}

QCoro::Task<bool> becomes(AtspiText text, CountedRange range, double seconds, Clock& clock, std::stop_token stop)
{
    const double until = clock.now() + seconds;
    for (;;) {
        const auto selection = co_await readCountedSelection(text);
        if (stop.stop_requested())
            co_return false;
        if (selection == range)
            co_return true;
        if (clock.now() >= until)
            co_return false;
        co_await clock.sleep(kAgainSeconds, stop);
        if (stop.stop_requested())
            co_return false;
    }
}

QCoro::Task<bool> moveSelection(AtspiText text, CountedRange range, Clock& clock, std::stop_token stop)
{
    const auto old = co_await readCountedSelection(text);
    if (old == range || stop.stop_requested())
        co_return old == range;
    // Nobody waits for the answers: GTK 4 selects and never answers.
    const CountedRange cursor{range.first, range.first};
    if (range.isEmpty())
        text.ask(u"SetCaretOffset"_s, {static_cast<int>(range.first)});
    else if (old && old->isEmpty())
        text.ask(u"AddSelection"_s, places(range));
    else
        text.ask(u"SetSelection"_s, QVariantList{0} + places(range));
    const bool moved = co_await becomes(text, range, kWaySeconds, clock, stop);
    if (moved || range.isEmpty() || stop.stop_requested())
        co_return moved;
    // GTK 4 drops an old selection instead of moving it. This way comes second, since browsers move their cursor late,
    // when it undoes the selection.
    text.ask(u"SetCaretOffset"_s, {static_cast<int>(range.first)});
    co_await becomes(text, cursor, kWaySeconds, clock, stop);
    if (stop.stop_requested())
        co_return false;
    text.ask(u"AddSelection"_s, places(range));
    const bool added = co_await becomes(text, range, kWaySeconds, clock, stop);
    co_return added;
}

std::optional<CountedRange> counted(TextRange range, TextUnit unit, const QString& value)
{
    const auto first = countedOffset(range.location, unit, value);
    const auto last = countedOffset(range.location + range.length, unit, value);
    return first && last ? std::optional(CountedRange{*first, *last}) : std::nullopt;
}

} // namespace

QCoro::Task<bool> selectRange(AtspiText text, TextRange range, QString expected, Clock& clock, std::stop_token stop)
{
    const QDBusPendingCall count = text.askCount();
    const QDBusPendingCall everything = text.askTextBefore(-1);
    const QDBusMessage countAnswer = co_await count;
    const QDBusMessage everythingAnswer = co_await everything;
    const auto value = textIn(everythingAnswer);
    const auto unit = unitIn(countAnswer, everythingAnswer);
    if (!value || !unit || range.length < 0 || value->mid(range.location, range.length) != expected)
        co_return false;
    const auto wanted = counted(range, *unit, *value);
    if (!wanted || stop.stop_requested())
        co_return false;
    const bool moved = co_await moveSelection(text, *wanted, clock, stop);
    if (!moved || stop.stop_requested())
        co_return false;
    // Both once more at the same moment: what is pasted now replaces what stands there now.
    const QDBusPendingCall before = text.askTextBefore(wanted->last);
    const auto selection = co_await readCountedSelection(text);
    const QDBusMessage answer = co_await before;
    if (selection != wanted)
        co_return false;
    co_return textIn(answer) == value->left(range.location + range.length);
}

} // namespace tallowfern
