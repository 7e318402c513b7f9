// Kills a process that keeps a history, at random moments, and looks at what is left: the file must decode, and hold
// what was finished, then perhaps some of what was under way, in its order, and nothing else.

#include "fakes/VirtualClock.h"
#include "foundation/Files.h"
#include "history/HistoryStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <thread>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

constexpr int kItemsAtStart = 2000; // makes the file long enough for a kill in the middle of it

QUuid identifierOf(int number)
{
    return QUuid(static_cast<uint>(number), 0, 0, 0, 0, 0, 0, 0, 0, 0, 1);
}

HistoryItem itemOf(int number, const Clock& clock)
{
    return {identifierOf(number), clock.wallNow(), u"some words that were said, number %1"_s.arg(number), 4,
        u"pocket"_s, {}};
}

/// The numbers in the history, newest first. Throws when the file was found damaged.
QList<int> numbersIn(const QString& folder)
{
    VirtualClock clock;
    const AppPaths paths(folder);
    const HistoryStore store(paths, clock);
    if (!QDir(paths.root()).entryList({u"history.json?*"_s}, QDir::Files).isEmpty())
        throw std::runtime_error("the file was damaged, or a copy of it was left");
    QList<int> numbers;
    for (const HistoryItem& item : store.items())
        numbers.append(static_cast<int>(item.id.data1));
    return numbers;
}

QList<int> writeFirstItems(const QString& folder)
{
    const VirtualClock clock;
    QList<int> numbers;
    QList<HistoryItem> items;
    for (int number = kItemsAtStart; number > 0; --number) {
        numbers.append(number);
        items.append(itemOf(number, clock));
    }
    const AppPaths paths(folder);
    paths.prepare();
    writeFileAtomically(paths.history(), {json::encodeForStorage(items)});
    return numbers;
}

/// A change is the number of an item that comes, or, negative, of one that goes.
void change(HistoryStore& store, int number, const Clock& clock)
{
    if (number > 0)
        store.add(itemOf(number, clock));
    else
        store.deleteItem(itemOf(-number, clock));
}

/// The process that is killed: says what it is about to do, does it, and says so when it is on the disk.
[[noreturn]] void write(const QString& folder, unsigned seed)
{
    std::mt19937 random(seed);
    VirtualClock clock;
    const AppPaths paths(folder);
    QList<int> known = numbersIn(folder);
    int next = *std::max_element(known.begin(), known.end()) + 1;
    while (true) {
        QList<int> changes;
        for (unsigned i = 1 + random() % 4; i > 0; --i) {
            const bool goes = random() % 4 == 0;
            changes.append(
                goes ? -known.takeAt(static_cast<int>(random() % static_cast<unsigned>(known.size()))) : next++);
        }
        QByteArray plan = "plan";
        for (const int number : changes)
            plan += ' ' + QByteArray::number(number);
        std::printf("%s\n", plan.constData());
        std::fflush(stdout);
        {
            HistoryStore store(paths, clock);
            for (const int number : changes)
                change(store, number, clock);
        }
        for (const int number : changes) {
            if (number > 0)
                known.prepend(number);
        }
        std::printf("done\n");
        std::fflush(stdout);
    }
}

QList<int> after(QList<int> numbers, int change)
{
    if (change > 0)
        numbers.prepend(change);
    else
        numbers.removeAll(-change);
    return numbers;
}

/// What the file may hold, given what was in it and what the writer said until it died.
bool explains(QList<int> numbers, const QByteArray& said, const QList<int>& found)
{
    QList<int> underWay;
    QList<QByteArray> lines = said.split('\n');
    lines.removeLast(); // empty, or cut off by the kill
    for (const QByteArray& line : lines) {
        if (line == "done") {
            for (const int number : underWay)
                numbers = after(numbers, number);
            underWay.clear();
        } else {
            for (const QByteArray& word : line.split(' ').sliced(1))
                underWay.append(word.toInt());
        }
    }
    for (const int number : underWay) {
        if (numbers == found)
            return true;
        numbers = after(numbers, number);
    }
    return numbers == found;
}

QByteArray runAndKillWriter(const QString& folder, unsigned seed, int milliseconds)
{
    QProcess writer;
    writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    writer.start(QCoreApplication::applicationFilePath(), {u"--write"_s, folder, QString::number(seed)});
    writer.waitForReadyRead(-1); // the first plan
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    writer.kill();
    writer.waitForFinished(-1);
    return writer.readAllStandardOutput();
}

int runRounds(int count, unsigned seed)
{
    std::printf("%d rounds, seed %u\n", count, seed);
    std::mt19937 random(seed);
    const QTemporaryDir folder;
    QList<int> numbers = writeFirstItems(folder.path());
    int finished = 0;
    for (int round = 0; round < count; ++round) {
        const QByteArray said
            = runAndKillWriter(folder.path(), seed + static_cast<unsigned>(round), static_cast<int>(random() % 120));
        finished += static_cast<int>(said.count("done"));
        const QList<int> found = numbersIn(folder.path());
        if (!explains(numbers, said, found)) {
            std::printf(
                "round %d: the file does not hold what was written; the writer said:\n%s", round, said.constData());
            return 1;
        }
        numbers = found;
    }
    std::printf(
        "all whole; %d batches were finished, %lld items are kept\n", finished, static_cast<long long>(numbers.size()));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    try {
        if (arguments.value(1) == u"--write"_s)
            write(arguments.value(2), arguments.value(3).toUInt());
        const QString seed = arguments.value(2);
        return runRounds(arguments.value(1, u"100"_s).toInt(), seed.isEmpty() ? std::random_device{}() : seed.toUInt());
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
