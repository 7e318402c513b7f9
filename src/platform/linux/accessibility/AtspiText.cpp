#include "platform/linux/accessibility/AtspiText.h"

#include <QCoroDBusPendingCall>
#include <QDBusVariant>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr int kAnswerMilliseconds = 1000; // the caller's deadline is shorter; this only ends what nobody waits for
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;
const QString kText = u"org.a11y.atspi.Text"_s;

/// What was answered, also where it is the value of a property.
QVariant valueIn(const QDBusMessage& answer, qsizetype place = 0)
{
    const QVariant value = answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(place) : QVariant();
    return value.metaType() == QMetaType::fromType<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
}

std::optional<qint64> numberIn(const QDBusMessage& answer, qsizetype place = 0)
{
    bool isNumber = false;
    const qint64 number = valueIn(answer, place).toLongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<CountedRange> rangeIn(const QDBusMessage& answer)
{
    const auto first = numberIn(answer, 0);
    const auto last = numberIn(answer, 1);
    if (!first || !last || std::min(*first, *last) < 0)
        return std::nullopt;
    return CountedRange{std::min(*first, *last), std::max(*first, *last)};
}

/// Chromium converts the ends of a selection from UTF-16 units to code points twice, or to 0 when the first result
/// falls within a character; its cursor, at one of the ends, is right. Nothing unless the cursor tells which it was.
std::optional<CountedRange> countedOnce(CountedRange told, qint64 cursor, const QString& before)
{
    const auto first = utf16Offset(told.first, TextUnit::CodePoint, before);
    const auto last = utf16Offset(told.last, TextUnit::CodePoint, before);
    if (!first || !last || told.isEmpty())
        return std::nullopt;
    const CountedRange undone{*first, *last};
    const bool fitsAsTold = cursor == told.first || cursor == told.last;
    const bool fitsUndone = cursor == undone.first || cursor == undone.last;
    if (fitsAsTold == fitsUndone && undone != told)
        return std::nullopt;
    return fitsUndone ? undone : told;
}

/// `before` is what stands before the end of the range, so its length tells in which unit that end is counted.
std::optional<ElementSelection> selectionIn(CountedRange counted, const QString& before)
{
    const auto unit = textUnit(counted.last, before);
    if (!unit)
        return std::nullopt;
    const QString text = withoutPadding(before);
    const auto start = utf16Offset(counted.first, *unit, text);
    if (!start || utf16Offset(counted.last, *unit, text) != text.size())
        return std::nullopt;
    return ElementSelection{{*start, text.size() - *start}, text.mid(*start)};
}

} // namespace

AtspiText::AtspiText(const QDBusConnection& bus, const AccessibleElement& element)
    : m_bus(bus)
    , m_element(element)
{
}

QDBusPendingCall AtspiText::send(const QString& interface, const QString& method, const QVariantList& arguments) const
{
    QDBusMessage question = QDBusMessage::createMethodCall(m_element.service, m_element.path, interface, method);
    question.setArguments(arguments);
    return m_bus.asyncCall(question, kAnswerMilliseconds);
}

QDBusPendingCall AtspiText::ask(const QString& method, const QVariantList& arguments) const
{
    return send(kText, method, arguments);
}

QDBusPendingCall AtspiText::askCursor() const
{
    return send(kProperties, u"Get"_s, {kText, u"CaretOffset"_s});
}

QDBusPendingCall AtspiText::askCount() const
{
    return send(kProperties, u"Get"_s, {kText, u"CharacterCount"_s});
}

QDBusPendingCall AtspiText::askToolkit() const
{
    AtspiText application(*this);
    application.m_element.path = u"/org/a11y/atspi/accessible/root"_s;
    return application.send(kProperties, u"Get"_s, {u"org.a11y.atspi.Application"_s, u"ToolkitName"_s});
}

QDBusPendingCall AtspiText::askTextBefore(qint64 last) const
{
    return ask(u"GetText"_s, {0, static_cast<int>(last)});
}

std::optional<QString> textIn(const QDBusMessage& answer)
{
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"s"_s)
        return std::nullopt;
    return withoutPadding(answer.arguments().value(0).toString());
}

std::optional<TextUnit> unitIn(const QDBusMessage& countAnswer, const QDBusMessage& textAnswer)
{
    const auto count = numberIn(countAnswer);
    return count ? textUnit(*count, valueIn(textAnswer).toString()) : std::nullopt;
}

QCoro::Task<std::optional<CountedRange>> readCountedSelection(AtspiText text)
{
    const QDBusPendingCall selections = text.ask(u"GetNSelections"_s);
    const QDBusPendingCall selection = text.ask(u"GetSelection"_s, {0});
    const QDBusPendingCall cursor = text.askCursor();
    const QDBusPendingCall toolkit = text.askToolkit();
    const QDBusMessage selectionsAnswer = co_await selections;
    const QDBusMessage selectionAnswer = co_await selection;
    const QDBusMessage cursorAnswer = co_await cursor;
    const QDBusMessage toolkitAnswer = co_await toolkit;
    const auto number = numberIn(selectionsAnswer);
    const auto place = numberIn(cursorAnswer);
    if (!number || !place || *number > 1 || *place < 0)
        co_return std::nullopt;
    if (*number == 0) // where the first one is answered with anything
        co_return CountedRange{*place, *place};
    const auto told = rangeIn(selectionAnswer);
    if (!told || valueIn(toolkitAnswer).toString() != u"Chromium"_s)
        co_return told;
    const QDBusPendingCall before = text.askTextBefore(told->last);
    const QDBusMessage beforeAnswer = co_await before;
    const auto string = textIn(beforeAnswer);
    co_return string ? countedOnce(*told, *place, *string) : std::nullopt;
}

QCoro::Task<std::optional<ElementSelection>> readSelection(AtspiText text)
{
    const auto counted = co_await readCountedSelection(text);
    if (!counted)
        co_return std::nullopt;
    const QDBusPendingCall before = text.askTextBefore(counted->last);
    const QDBusMessage answer = co_await before;
    if (answer.type() != QDBusMessage::ReplyMessage)
        co_return std::nullopt;
    co_return selectionIn(*counted, answer.arguments().value(0).toString());
}

QCoro::Task<std::optional<QString>> readValue(AtspiText text)
{
    const QDBusPendingCall everything = text.askTextBefore(-1);
    const QDBusMessage answer = co_await everything;
    co_return textIn(answer);
}

} // namespace tallowfern
