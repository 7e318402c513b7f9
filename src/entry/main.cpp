#include "Ask.h"
#include "ControlService.h"
#include "Doctor.h"
#include "EndSignals.h"
#include "LinuxDesktop.h"

#include "core/AppState.h"
#include "foundation/LocalizedError.h"
#include "foundation/SystemClock.h"
#include "interface/MainWindow.h"
#include "interface/OverlayPanelController.h"
#include "interface/StatusItem.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QThread>
#include <QTranslator>

#include <cstdio>
#include <unistd.h>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

constexpr int kHandedOver = 0;
constexpr int kFailed = 1;

int fail(const QString& sentence)
{
    std::fprintf(stderr, "tallowfern: %s\n", qUtf8Printable(sentence));
    return kFailed;
}

/// The one thing that is said at start: the keys that the user will press in vain.
void reportDeadHotKeys(const HotKeyManager& hotKeys)
{
    for (const HotKeyState& state : hotKeys.states()) {
        if (!state.active)
            std::fprintf(stderr, "tallowfern: another program holds %s; choose another shortcut.\n",
                qUtf8Printable(state.shortcut.displayName()));
    }
}

QString libexecFolder()
{
    return QCoreApplication::applicationDirPath(); // lib/tallowfern, in build tree and installation alike
}

/// What the clipboard holds of ours would end with us, so it goes to the desktop's clipboard manager.
QCoro::Task<> endInOrder(AppState& state, LinuxDesktop& desktop)
{
    state.prepareToQuit();
    co_await desktop.handOverClipboard();
    QCoreApplication::quit();
}

/// Prints what works on this desktop, with a desktop or without.
QCoro::Task<> tellDiagnosis(LinuxDesktop* desktop, Clock* clock, bool asJson)
{
    const Findings found = co_await examine(desktop, clock, libexecFolder());
    const auto diagnoses = diagnose(found);
    const QString text = asJson ? QString::fromUtf8(QJsonDocument(diagnosisJson(diagnoses)).toJson())
                                : diagnosisText(diagnoses, ::isatty(STDOUT_FILENO) == 1);
    std::fputs(qUtf8Printable(text), stdout);
    QCoreApplication::exit(canDictate(diagnoses) ? 0 : kFailed);
}

int runDoctor(bool hasDesktop)
{
    SystemClock clock;
    const bool asJson = QCoreApplication::arguments().contains(u"--json"_s);
    const QString configuration = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    std::unique_ptr<LinuxDesktop> desktop;
    if (hasDesktop) {
        auto made = LinuxDesktop::create(clock, configuration + u"/tallowfern"_s, libexecFolder() + u"/Resources"_s);
        if (auto* there = std::get_if<std::unique_ptr<LinuxDesktop>>(&made))
            desktop = std::move(*there);
    }
    QMetaObject::invokeMethod(
        qApp, [&] { tellDiagnosis(desktop.get(), &clock, asJson); }, Qt::QueuedConnection);
    return QCoreApplication::exec();
}

/// The platform's own words. `catalogue` lives as long as the application.
void loadWords(QTranslator& catalogue)
{
    if (catalogue.load(u":/translations/tallowfern_linux_en.qm"_s))
        QCoreApplication::installTranslator(&catalogue);
}

int run()
{
    const ControlService::Claim claim = ControlService::claimName();
    if (claim == ControlService::Claim::Another) {
        ControlService::handOver();
        return kHandedOver;
    }

    SystemClock clock;
    const QString configuration = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    auto desktop = LinuxDesktop::create(clock, configuration + u"/tallowfern"_s, libexecFolder() + u"/Resources"_s);
    if (const QString* problem = std::get_if<QString>(&desktop))
        return fail(*problem);
    const auto& services = std::get<std::unique_ptr<LinuxDesktop>>(desktop);

    AppState state(
        services->services(), AppPaths::forUser(), ResourceLocator(libexecFolder()), QThread::idealThreadCount());
    const auto quit = [&state, &services] { endInOrder(state, *services); };
    const ControlService control(state, quit);
    const OverlayPanelController overlay(state, services->interfaceServices());
    std::unique_ptr<MainWindow> window; // made when it is first asked for
    QObject::connect(&state.navigation, &Navigation::mainWindowRequested, qApp, [&state, &window] {
        if (!window)
            window = std::make_unique<MainWindow>(state);
        window->bringForward();
    });
    const StatusItem statusItem(state.dictation, state.navigation, quit);
    const EndSignals endSignals(quit);
    QObject::connect(&services->x11(), &X11Desktop::lost, qApp, &QCoreApplication::quit);
    reportDeadHotKeys(state.hotKeys);
    return QCoreApplication::exec();
}

/// Needs no desktop.
int runAsk(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTranslator catalogue;
    loadWords(catalogue);
    const auto asked = control::askArguments(QCoreApplication::arguments().sliced(2));
    if (const QString* problem = std::get_if<QString>(&asked))
        return fail(*problem);
    return ask(std::get<control::AskArguments>(asked), libexecFolder());
}

int start(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "ask") == 0)
        return runAsk(argc, argv);
    const bool isDoctor = argc > 1 && qstrcmp(argv[1], "doctor") == 0;
    const QString problem = LinuxDesktop::prepareProcess();
    if (isDoctor && (!problem.isEmpty() || !X11Connection::isReachable())) {
        const QCoreApplication application(argc, argv);
        return runDoctor(false);
    }
    if (!problem.isEmpty())
        return fail(problem);
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"tallowfern"_s);
    QApplication::setApplicationDisplayName(u"Tallowfern"_s);
    QApplication::setDesktopFileName(u"com.tallowfern.Tallowfern"_s);
    QApplication::setWindowIcon(QIcon(u":/icons/tallowfern.svg"_s));
    QApplication::setQuitOnLastWindowClosed(false);
    QTranslator catalogue;
    loadWords(catalogue);
    return isDoctor ? runDoctor(true) : run();
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return start(argc, argv);
    } catch (const LocalizedError& error) {
        return fail(error.description());
    } catch (const std::exception& error) {
        return fail(QString::fromLocal8Bit(error.what()));
    }
}
