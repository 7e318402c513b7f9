#include "StatusText.h"

#include <QJsonArray>
#include <QJsonValue>

namespace tallowfern::control {

using namespace Qt::StringLiterals;

QString statusText(const QJsonObject& report)
{
    const QJsonObject status = report[u"status"_s].toObject();
    const QString payload = status[u"payload"_s].toString();
    QString text = u"Dictation: "_s + status[u"case"_s].toString()
        + (payload.isEmpty() ? u"\n"_s : u" ("_s + payload + u")\n"_s);
    const QString detail = report[u"agentPhaseDetail"_s].toString();
    text += u"Command: "_s + report[u"agentPhase"_s].toString()
        + (detail.isEmpty() ? u"\n"_s : u" ("_s + detail + u")\n"_s);
    const QJsonObject error = report[u"errorResolution"_s].toObject();
    if (!error.isEmpty())
        text += u"Last error: %1 (see %2)\n"_s.arg(error[u"message"_s].toString(), error[u"destination"_s].toString());
    if (const QString notice = report[u"notice"_s].toString(); !notice.isEmpty())
        text += u"Note: %1\n"_s.arg(notice);
    text += u"Speech model: %1%2\n"_s.arg(report[u"selectedModelID"_s].toString(),
        report[u"canDictate"_s].toBool() ? QString() : u" (its file is not there)"_s);
    if (report[u"selectedModelIsStandIn"_s].toBool())
        text += u"This is the stand-in model for tests and demonstrations. It does not understand people.\n"_s;
    for (const auto& value : report[u"hotKeys"_s].toArray()) {
        const QJsonObject key = value.toObject();
        text += u"Hot key %1: %2%3\n"_s.arg(key[u"name"_s].toString(), key[u"keys"_s].toString(),
            key[u"active"_s].toBool() ? QString() : u" (held by another program)"_s);
    }
    text += u"Microphone: %1\n"_s.arg(report[u"microphoneGranted"_s].toBool() ? u"there"_s : u"none"_s);
    text += u"Pasting: %1\n"_s.arg(report[u"accessibilityGranted"_s].toBool() ? u"possible"_s : u"not possible"_s);
    return text;
}

} // namespace tallowfern::control
