// What the history costs: add() on the main thread, and reading it at the start. Budgets: adding to 100,000 items takes
// under 5 ms; reading 10,000 is a part of the 400 ms from the start to working hot keys.

#include "foundation/Files.h"
#include "foundation/SystemClock.h"
#include "history/HistoryStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

constexpr int kAdds = 30;

HistoryItem itemAt(const QDateTime& when, int number)
{
    return {QUuid::createUuid(), when,
        u"Could you send me the figures of last week, and say that we meet at %1?"_s.arg(number), 4.2, u"pocket"_s,
        std::nullopt};
}

/// Processor time of this thread, which a busy machine does not blur.
double milliseconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

void measure(int count)
{
    const QTemporaryDir folder;
    const AppPaths paths(folder.path());
    SystemClock clock;
    paths.prepare();
    {
        QList<HistoryItem> items;
        for (int number = 0; number < count; ++number)
            items.append(itemAt(clock.wallNow(), number));
        writeFileAtomically(paths.history(), {json::encodeForStorage(items)});
    }
    double start = milliseconds();
    std::optional<HistoryStore> store(std::in_place, paths, clock);
    const double load = milliseconds() - start;

    std::vector<double> adds;
    for (int number = 0; number < kAdds; ++number) {
        const HistoryItem item = itemAt(clock.wallNow(), number);
        start = milliseconds();
        store->add(item);
        adds.push_back(milliseconds() - start);
    }
    const double first = adds.front();
    std::sort(adds.begin(), adds.end());
    QElapsedTimer timer;
    timer.start();
    store.reset();
    std::printf("%7d items: add %.3f ms (median), %.3f (first), %.3f (most); read at start %.0f ms; "
                "written in the background in %.0f ms each\n",
        count, adds[adds.size() / 2], first, adds.back(), load, static_cast<double>(timer.elapsed()) / kAdds);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    for (const int count : {10, 1'000, 10'000, 100'000})
        measure(count);
}
