// Fetches one file as the application does, and prints the seconds that it took and the most memory that it had, in MB:
//     download_fetch URL FOLDER

#include "foundation/LocalizedError.h"
#include "platform/linux/network/CurlDownloader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <sys/resource.h>

namespace {

QCoro::Task<> fetch(tallowfern::HttpDownloader* downloader, QUrl url)
{
    QElapsedTimer timer;
    timer.start();
    try {
        const QString path = co_await downloader->download(url, [](double) {});
        const auto seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("%.3f %.1f\n", seconds, static_cast<double>(usage.ru_maxrss) / 1024);
        QFile::remove(path);
    } catch (const tallowfern::LocalizedError& error) {
        std::printf("%s\n", qUtf8Printable(error.description()));
    }
    QCoreApplication::quit();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    tallowfern::CurlDownloader downloader(QString::fromLocal8Bit(argv[2]));
    fetch(&downloader, QUrl(QString::fromLocal8Bit(argv[1])));
    return QCoreApplication::exec();
}
