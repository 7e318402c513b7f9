#include "platform/linux/network/CurlDownloader.h"

#include "foundation/Files.h"
#include "foundation/LocalizedError.h"
#include "foundation/Words.h"
#include "platform/linux/network/CurlTransfer.h"

#include <QDateTime>
#include <QDir>
#include <QUuid>

#include <curl/curl.h>

#include <thread>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// What nobody has written to for so long is left of a process that was killed: a running download would have stalled.
constexpr qint64 kSecondsToLeftover = 3600;

void removeLeftovers(const QString& folder)
{
    const QDateTime limit = QDateTime::currentDateTime().addSecs(-kSecondsToLeftover);
    for (const QFileInfo& file : QDir(folder).entryInfoList({u"tallowfern-*.download"_s}, QDir::Files)) {
        if (file.lastModified() < limit)
            QFile::remove(file.filePath());
    }
}

} // namespace

/// A transfer with its thread, and who waits for it.
class CurlDownloader::Transfer {
public:
    using Failure = std::optional<QString>;

    Transfer(QObject* mainThread, CurlTransfer::Order order, Progress progress)
        : m_path(order.path)
        , m_progress(std::move(progress))
        , m_work(std::move(order), [this, mainThread](double share) { tell(mainThread, share); })
    {
    }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer() { join(); }

    void start(QObject* mainThread, std::function<void()> onEnd)
    {
        m_thread = std::thread([this, mainThread, onEnd = std::move(onEnd)] {
            auto failure = m_work.run();
            QMetaObject::invokeMethod(
                mainThread,
                [failure, completion = ended, onEnd]() mutable {
                    onEnd();
                    completion.complete(failure);
                },
                Qt::QueuedConnection);
        });
    }
    void cancel() { m_work.cancel(); }
    /// Nobody waits any more, nor for a file that is whole by now.
    void abandon()
    {
        join();
        QFile::remove(m_path);
        ended.complete(words("The download was broken off."));
    }

    Completion<Failure> ended;

private:
    void join()
    {
        if (m_thread.joinable())
            m_thread.join();
    }
    void tell(QObject* mainThread, double share)
    {
        QMetaObject::invokeMethod(
            mainThread,
            [share, progress = m_progress, completion = ended] {
                if (progress && !completion.isComplete())
                    progress(share);
            },
            Qt::QueuedConnection);
    }

    QString m_path;
    Progress m_progress;
    CurlTransfer m_work;
    std::thread m_thread;
};

CurlDownloader::CurlDownloader(QString folder, Patience patience)
    : m_folder(std::move(folder))
    , m_patience(patience)
{
    curl_global_init(CURL_GLOBAL_DEFAULT);
    removeLeftovers(m_folder);
}

CurlDownloader::~CurlDownloader()
{
    const auto transfers = std::exchange(m_transfers, {});
    for (const auto& transfer : transfers)
        transfer->cancel();
    for (const auto& transfer : transfers)
        transfer->abandon();
}

QCoro::Task<QString> CurlDownloader::download(QUrl url, Progress progress)
{
    makePrivateFolder(m_folder);
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    const QString path = u"%1/tallowfern-%2.download"_s.arg(m_folder, name);
    const auto transfer = std::make_shared<Transfer>(this,
        CurlTransfer::Order{url.toEncoded(), path, m_patience.connecting.count(), m_patience.stalled.count()},
        std::move(progress));
    m_transfers.push_back(transfer);
    transfer->start(this, [this, ended = transfer.get()] {
        std::erase_if(m_transfers, [ended](const auto& one) { return one.get() == ended; });
    });
    const auto failure = co_await transfer->ended;
    if (failure)
        throw SystemError(*failure);
    co_return path;
}

} // namespace tallowfern
