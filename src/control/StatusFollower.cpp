#include "StatusFollower.h"

#include "StatusText.h"
#include "control/ControlProtocol.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cstdio>

namespace tallowfern::control {

using namespace Qt::StringLiterals;

StatusFollower::StatusFollower(QDBusConnection& bus, Form form)
    : m_form(form)
    , m_watcher(QString::fromLatin1(kService), bus, QDBusServiceWatcher::WatchForUnregistration)
{
    bus.connect(QString::fromLatin1(kService), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
        u"StatusChanged"_s, this, SLOT(print(QString)));
    connect(&m_watcher, &QDBusServiceWatcher::serviceUnregistered, qApp, &QCoreApplication::quit);
}

void StatusFollower::print(const QString& report) const
{
    const QByteArray bytes = report.toUtf8();
    const QByteArray text
        = m_form == Form::Json ? bytes + '\n' : statusText(QJsonDocument::fromJson(bytes).object()).toUtf8();
    std::fputs(text.constData(), stdout);
    std::fflush(stdout);
}

} // namespace tallowfern::control
