#include "platform/linux/accessibility/AtspiText.h"

#include "platform/linux/accessibility/TextUnits.h"

#include <QCoroDBusPendingCall>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusVariant>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr int kAnswerMilliseconds = 1000; // the caller's deadline is shorter; this only ends what nobody waits for

QDBusPendingCall ask(const QDBusConnection& bus, const AccessibleElement& element, const QString& interface,
    const QString& method, const QVariantList& arguments)
{
    QDBusMessage question = QDBusMessage::createMethodCall(element.service, element.path, interface, method);
    question.setArguments(arguments);
    return bus.asyncCall(question, kAnswerMilliseconds);
}

QDBusPendingCall askText(
    const QDBusConnection& bus, const AccessibleElement& element, const QString& method, const QVariantList& arguments)
{
    return ask(bus, element, u"org.a11y.atspi.Text"_s, method, arguments);
}

QDBusPendingCall askProperty(const QDBusConnection& bus, const AccessibleElement& element, const QString& name)
{
    return ask(bus, element, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {u"org.a11y.atspi.Text"_s, name});
}

std::optional<qint64> numberIn(const QDBusMessage& answer, qsizetype place = 0)
{
    QVariant value = answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(place) : QVariant();
    if (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    bool isNumber = false;
    const qint64 number = value.toLongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<TextRange> rangeInUtf16(qint64 first, qint64 last, qint64 characterCount, const QString& text)
{
    const auto unit = textUnit(characterCount, text);
    if (!unit)
        return std::nullopt;
    const QString value = withoutPadding(text);
    const auto start = utf16Offset(std::min(first, last), *unit, value);
    const auto end = utf16Offset(std::max(first, last), *unit, value);
    if (!start || !end)
        return std::nullopt;
    return TextRange{*start, *end - *start};
}

} // namespace

QCoro::Task<std::optional<TextRange>> readSelectedRange(QDBusConnection bus, AccessibleElement element)
{
    // All questions at once; the answers come in their order.
    const QDBusPendingCall selections = askText(bus, element, u"GetNSelections"_s, {});
    const QDBusPendingCall selection = askText(bus, element, u"GetSelection"_s, {0});
    const QDBusPendingCall caret = askProperty(bus, element, u"CaretOffset"_s);
    const QDBusPendingCall count = askProperty(bus, element, u"CharacterCount"_s);
    const QDBusMessage selectionsAnswer = co_await selections;
    const QDBusMessage selectionAnswer = co_await selection;
    const QDBusMessage caretAnswer = co_await caret;
    const QDBusMessage countAnswer = co_await count;
    const auto characterCount = numberIn(countAnswer);
    if (!characterCount)
        co_return std::nullopt;
    // Without a selection the first one is answered with anything.
    const bool isSelected = numberIn(selectionsAnswer).value_or(0) > 0;
    const auto first = isSelected ? numberIn(selectionAnswer, 0) : numberIn(caretAnswer);
    const auto last = isSelected ? numberIn(selectionAnswer, 1) : numberIn(caretAnswer);
    if (!first || !last)
        co_return std::nullopt;
    const QDBusPendingCall text = askText(bus, element, u"GetText"_s, {0, static_cast<int>(*characterCount)});
    const QDBusMessage textAnswer = co_await text;
    if (textAnswer.type() != QDBusMessage::ReplyMessage)
        co_return std::nullopt;
    co_return rangeInUtf16(*first, *last, *characterCount, textAnswer.arguments().value(0).toString());
}

} // namespace tallowfern
