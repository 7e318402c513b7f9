#include "runtime/server/FreeMemory.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QByteArray kTenThousandKilobytes = "MemTotal: 20000 kB\nMemFree: 1 kB\nMemAvailable:   10000 kB\n";

std::optional<qint64> freeWith(const QMap<QString, QByteArray>& files)
{
    const QTemporaryDir root;
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QString path = root.filePath(file.key());
        QDir().mkpath(QFileInfo(path).path());
        QFile written(path);
        EXPECT_TRUE(written.open(QIODevice::WriteOnly));
        written.write(file.value());
    }
    return freeMemory(root.path());
}

} // namespace

TEST(FreeMemory, IsTheLeastThatAnyLevelAllows)
{
    struct Case {
        const char* what;
        QMap<QString, QByteArray> files;
        std::optional<qint64> bytes;
    };
    const QString top = u"sys/fs/cgroup/"_s;
    const Case cases[] = {
        {"nothing is known", {}, {}},
        {"no groups", {{u"proc/meminfo"_s, kTenThousandKilobytes}}, 10'240'000},
        {"own group without a limit, its parent with one",
            {{u"proc/meminfo"_s, kTenThousandKilobytes}, {u"proc/self/cgroup"_s, "1:name=x:/y\n0::/a/b\n"},
                {top + u"a/b/memory.max"_s, "max\n"}, {top + u"a/b/memory.current"_s, "100\n"},
                {top + u"a/memory.max"_s, "5000000\n"}, {top + u"a/memory.current"_s, "4000000\n"},
                {top + u"a/memory.stat"_s, "anon 1\nactive_file 7\ninactive_file 500000\n"}},
            1'500'000},
        {"the machine has less than the group allows",
            {{u"proc/meminfo"_s, kTenThousandKilobytes}, {u"proc/self/cgroup"_s, "0::/a\n"},
                {top + u"a/memory.max"_s, "50000000\n"}, {top + u"a/memory.current"_s, "1\n"}},
            10'240'000},
        {"a container that sees its own limits at the top",
            {{u"proc/meminfo"_s, kTenThousandKilobytes}, {u"proc/self/cgroup"_s, "0::/not/here\n"},
                {top + u"memory.max"_s, "3000\n"}, {top + u"memory.current"_s, "1000\n"}},
            2000},
        {"over its limit",
            {{u"proc/self/cgroup"_s, "0::/\n"}, {top + u"memory.max"_s, "3000\n"},
                {top + u"memory.current"_s, "4000\n"}},
            0},
    };
    for (const Case& each : cases)
        EXPECT_EQ(freeWith(each.files), each.bytes) << each.what;
}

} // namespace tallowfern
