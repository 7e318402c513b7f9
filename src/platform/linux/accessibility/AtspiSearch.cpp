#include "platform/linux/accessibility/AtspiSearch.h"

#include <QCoroDBusPendingCall>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr int kAnswerMilliseconds = 1000;
constexpr qsizetype kMostElements = 1000;
constexpr quint32 kFocusedBit = 1u << 12;
constexpr quint32 kShowingBit = 1u << 25;
constexpr quint32 kVisibleBit = 1u << 30; // also of what lies in a hidden page
const QString kAccessible = u"org.a11y.atspi.Accessible"_s;
const QString kRootPath = u"/org/a11y/atspi/accessible/root"_s;

struct Place {
    QString service;
    QString path;
};

QDBusPendingCall ask(const QDBusConnection& bus, const Place& place, const QString& method)
{
    const QDBusMessage question = QDBusMessage::createMethodCall(place.service, place.path, kAccessible, method);
    return bus.asyncCall(question, kAnswerMilliseconds);
}

QDBusPendingCall askProcess(const QDBusConnection& bus, const QString& service)
{
    QDBusMessage question = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
        u"org.freedesktop.DBus"_s, u"GetConnectionUnixProcessID"_s);
    question << service;
    return bus.asyncCall(question, kAnswerMilliseconds);
}

QList<Place> placesIn(const QDBusMessage& answer)
{
    QList<Place> places;
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"a(so)"_s)
        return places;
    const auto list = answer.arguments().value(0).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        Place place;
        QDBusObjectPath path;
        list.beginStructure();
        list >> place.service >> path;
        list.endStructure();
        place.path = path.path();
        places.append(place);
    }
    list.endArray();
    return places;
}

quint32 stateIn(const QDBusMessage& answer)
{
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"au"_s)
        return 0;
    return qdbus_cast<QList<uint>>(answer.arguments().value(0)).value(0);
}

QCoro::Task<std::optional<Place>> findInApplication(QDBusConnection bus, QString service, quint32 entered)
{
    std::optional<Place> deepest;
    QList<Place> open{{service, kRootPath}};
    for (qsizetype next = 0; next < open.size() && next < kMostElements; ++next) {
        const Place place = open[next]; // level by level, so the last one found is the deepest
        const QDBusPendingCall state = ask(bus, place, u"GetState"_s);
        const QDBusPendingCall interfaces = ask(bus, place, u"GetInterfaces"_s);
        const QDBusPendingCall children = ask(bus, place, u"GetChildren"_s);
        const QDBusMessage stateAnswer = co_await state;
        const QDBusMessage interfacesAnswer = co_await interfaces;
        const QDBusMessage childrenAnswer = co_await children;
        const quint32 bits = stateIn(stateAnswer);
        const QStringList offered = interfacesAnswer.arguments().value(0).toStringList();
        if ((bits & kFocusedBit) && offered.contains(u"org.a11y.atspi.Text"_s))
            deepest = place;
        if ((bits & entered) || next == 0)
            open += placesIn(childrenAnswer);
    }
    co_return deepest;
}

} // namespace

QCoro::Task<std::optional<AccessibleElement>> findFocusedText(QDBusConnection bus, qint64 processIdentifier)
{
    const Place registry{u"org.a11y.atspi.Registry"_s, kRootPath};
    const QDBusPendingCall applications = ask(bus, registry, u"GetChildren"_s);
    const QDBusMessage applicationsAnswer = co_await applications;
    const QList<Place> places = placesIn(applicationsAnswer);
    for (const Place& application : places) {
        const QDBusPendingCall process = askProcess(bus, application.service);
        const QDBusMessage processAnswer = co_await process;
        if (processAnswer.arguments().value(0).toLongLong() != processIdentifier)
            continue;
        for (const quint32 entered : {kShowingBit, kVisibleBit}) { // in GTK 4 only windows are showing
            const auto found = co_await findInApplication(bus, application.service, entered);
            if (found)
                co_return AccessibleElement{found->service, found->path, processIdentifier};
        }
    }
    co_return std::nullopt;
}

} // namespace tallowfern
