// How long it takes to read the selection of the program in front, on a private virtual desktop:
//     capture_selection ROUNDS PROGRAM [ARGUMENT…]
// starts the program, selects everything in the field with the focus, and prints in milliseconds the median, the 95th
// percentile and, when the program has been stopped so that it does not answer, the most.

#include "foundation/SystemClock.h"
#include "platform/linux/accessibility/AtspiAccessibility.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <vector>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

constexpr int kPauseMilliseconds = 20; // so that each question meets a program at rest
constexpr int kStoppedRounds = 5;
constexpr int kPatienceMilliseconds = 60000;

std::vector<double> millisecondsOf(int rounds, Accessibility& accessibility)
{
    std::vector<double> figures;
    for (int round = 0; round < rounds; ++round) {
        QThread::msleep(kPauseMilliseconds);
        QCoreApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        const auto element = accessibility.focusedElement();
        if (element)
            QCoro::waitFor(accessibility.selection(*element));
        figures.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(figures.begin(), figures.end());
    return figures;
}

bool selectsEverything(Accessibility& accessibility)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < kPatienceMilliseconds) {
        QThread::msleep(kPauseMilliseconds);
        QCoreApplication::processEvents();
        const auto element = accessibility.focusedElement();
        if (!element)
            continue;
        QProcess::execute(u"xdotool"_s, {u"key"_s, u"ctrl+a"_s});
        const auto selection = QCoro::waitFor(accessibility.selection(*element));
        if (selection && selection->range.length > 0)
            return true;
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;
    SystemClock clock;
    QProcess program;
    AtspiAccessibility accessibility(clock, [&program] { return program.processId(); });
    program.setStandardErrorFile(QProcess::nullDevice());
    program.setStandardOutputFile(QProcess::nullDevice());
    program.start(arguments[2], arguments.mid(3));
    if (!program.waitForStarted() || !selectsEverything(accessibility)) {
        std::fprintf(stderr, "no field of %s can be read\n", qPrintable(arguments[2]));
        program.kill();
        program.waitForFinished();
        return 1;
    }
    const auto awake = millisecondsOf(arguments[1].toInt(), accessibility);
    ::kill(static_cast<pid_t>(program.processId()), SIGSTOP);
    const auto stopped = millisecondsOf(kStoppedRounds, accessibility);
    std::printf("%.2f %.2f %.2f\n", awake[awake.size() / 2], awake[awake.size() * 95 / 100], stopped.back());
    program.kill();
    program.waitForFinished();
}
