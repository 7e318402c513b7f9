#include "Doctor.h"

#include "control/ControlProtocol.h"
#include "core/SelectedModel.h"
#include "foundation/LocalizedError.h"
#include "foundation/Words.h"
#include "platform/linux/x11/X11Connection.h"
#include "speech/ResourceLocator.h"
#include "speech/StandInModel.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStorageInfo>
#include <QTemporaryDir>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr int kPatience = 1000; // milliseconds for each answer of another program
constexpr double kSoundServerSeconds = 0.5; // until it has told of its sources
constexpr double kListeningSeconds = 1;

QVariant ask(const QString& service, const QString& path, const QString& interface, const QString& method)
{
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    const auto answer = QDBusConnection::sessionBus().call(message, QDBus::Block, kPatience);
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0) : QVariant();
}

QStringList namesOnBus(const QString& method)
{
    const QString bus = u"org.freedesktop.DBus"_s;
    return ask(bus, u"/org/freedesktop/DBus"_s, bus, method).toStringList();
}

std::optional<QString> engineProblem(const ResourceLocator& resources, const QString& name)
{
    const auto path = resources.file(name);
    if (!path)
        return words("is not there");
    QProcess engine;
    engine.start(*path, QStringList()); // says what is missing in its arguments, and ends
    if (!engine.waitForFinished(kPatience)) {
        const QString reason = engine.errorString();
        engine.kill();
        engine.waitForFinished(kPatience);
        return reason;
    }
    if (engine.exitStatus() == QProcess::CrashExit)
        return words("crashes");
    return std::nullopt;
}

void lookAtFiles(Findings& found, LinuxDesktop* desktop, const QString& libexecFolder)
{
    const ResourceLocator resources(libexecFolder);
    for (const QString& name : {u"whisper-cli"_s, u"parakeet-cli"_s})
        found.engines.append({name, engineProblem(resources, name)});
    const AppPaths paths = AppPaths::forUser();
    found.modelsFolder = paths.models();
    found.freeBytes
        = QStorageInfo(QFileInfo::exists(paths.models()) ? paths.models() : QDir::homePath()).bytesAvailable();
    const auto& catalog = SpeechModel::catalog();
    const QString selected = desktop
        ? desktop->services().preferences.get<QString>(u"selectedModelID"_s).value_or(catalog.first().id)
        : catalog.first().id;
    for (const SpeechModel& model : catalog) {
        const bool isBundled = model.id == catalog.first().id && resources.file(model.fileName);
        const QString path = paths.models() + u'/' + model.fileName;
        if (!QFileInfo::exists(path) && !isBundled) // the bundled one is put in place by the first start
            continue;
        found.installedModels.append(model.name);
        if (model.id != selected)
            continue;
        found.selectedModel = model.name;
        const QString file = QFileInfo::exists(path) ? path : *resources.file(model.fileName);
        found.isStandIn = recognize(file, standInModels()).has_value();
    }
}

void lookAtBus(Findings& found)
{
    const QStringList there = namesOnBus(u"ListNames"_s);
    const QStringList all = there + namesOnBus(u"ListActivatableNames"_s);
    found.hasAccessibilityBus = all.contains(u"org.a11y.Bus"_s);
    found.hasTray = there.contains(u"org.kde.StatusNotifierWatcher"_s);
    found.hasNotifications = all.contains(u"org.freedesktop.Notifications"_s);
    found.hasSecretService = all.contains(u"org.freedesktop.secrets"_s);
    const QString report = ask(QString::fromLatin1(control::kService), QString::fromLatin1(control::kPath),
        QString::fromLatin1(control::kInterface), u"Status"_s)
                               .toString();
    found.isRunning = !report.isEmpty();
    for (const auto& value : QJsonDocument::fromJson(report.toUtf8())[u"hotKeys"_s].toArray()) {
        const QJsonObject key = value.toObject();
        found.hotKeys.append({key[u"name"_s].toString(), key[u"keys"_s].toString(), key[u"active"_s].toBool()});
    }
}

/// Held for a moment, where no running Tallowfern tells.
void tryHotKeys(Findings& found, PlatformServices services)
{
    const auto attempt = [&](const char* key, const KeyboardShortcutSetting& fallback) {
        const auto shortcut = KeyboardShortcutSetting::load(services.preferences, QString::fromLatin1(key), fallback);
        const auto held = services.hotKeyCenter.grab(1, shortcut.chord());
        found.hotKeys.append({QString::fromLatin1(key), shortcut.displayName(), held != nullptr});
    };
    attempt("toggleShortcut", DefaultShortcuts::toggle());
    attempt("pushToTalkShortcut", DefaultShortcuts::pushToTalk());
}

void lookAtWindows(Findings& found)
{
    const auto connection = X11Connection::open();
    if (!connection)
        return;
    xcb_connection_t* xcb = connection->xcb();
    const auto property = [&](xcb_window_t window, const QString& name) {
        const auto cookie
            = xcb_get_property(xcb, false, window, connection->atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 256);
        return x11PropertyBytes(connection->take(xcb_get_property_reply(xcb, cookie, nullptr)).get());
    };
    const QByteArray manager = property(connection->root(), u"_NET_SUPPORTING_WM_CHECK"_s);
    if (manager.size() >= qsizetype(sizeof(xcb_window_t)))
        found.windowManager = QString::fromUtf8(
            property(*reinterpret_cast<const xcb_window_t*>(manager.constData()), u"_NET_WM_NAME"_s));
    const auto cookie = xcb_get_selection_owner(xcb, connection->atom(u"_NET_SYSTEM_TRAY_S0"_s));
    const auto tray = connection->take(xcb_get_selection_owner_reply(xcb, cookie, nullptr));
    found.hasTray = found.hasTray || (tray && tray->owner != XCB_WINDOW_NONE);
}

QCoro::Task<double> microphoneLevel(AudioCapture* capture, Clock* clock)
{
    const QTemporaryDir folder;
    double level = 0;
    try {
        const auto take = capture->create(folder.filePath(u"level.wav"_s), {});
        if (take->record()) {
            co_await clock->sleep(kListeningSeconds, std::stop_token());
            level = take->averagePower();
        }
    } catch (const LocalizedError&) {
        level = 0; // a temporary folder that cannot be written is no fault of the microphone
    }
    co_return level;
}

} // namespace

QCoro::Task<Findings> examine(LinuxDesktop* desktop, Clock* clock, QString libexecFolder)
{
    Findings found;
    found.sessionType = qEnvironmentVariable("XDG_SESSION_TYPE");
    found.hasDisplay = desktop != nullptr;
    lookAtFiles(found, desktop, libexecFolder);
    if (!desktop)
        co_return found;
    lookAtBus(found);
    lookAtWindows(found);
    const PlatformServices services = desktop->services();
    if (!found.isRunning)
        tryHotKeys(found, services);
    found.canPostKeys = services.keyPoster.canPost();
    found.isTranslucent = desktop->interfaceServices().floatingPanels.isTranslucent();
    co_await clock->sleep(kSoundServerSeconds, std::stop_token());
    found.hasMicrophone = services.audioCapture.hasMicrophone();
    if (found.hasMicrophone)
        found.microphoneLevel = co_await microphoneLevel(&services.audioCapture, clock);
    co_return found;
}

} // namespace tallowfern
