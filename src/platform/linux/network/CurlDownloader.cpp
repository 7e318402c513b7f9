#include "platform/linux/network/CurlDownloader.h"

#include "foundation/Files.h"
#include "foundation/LocalizedError.h"
#include "foundation/Words.h"
#include "platform/linux/network/CurlTransfer.h"

#include <QDir>
#include <QUuid>

#include <curl/curl.h>

#include <thread>

namespace tallowfern {

using namespace Qt::StringLiterals;

/// A transfer with its thread, and who waits for it.
class CurlDownloader::Transfer {
public:
    using Failure = std::optional<QString>;

    Transfer(QObject* mainThread, CurlTransfer::Order order, Progress progress)
        : m_progress(std::move(progress))
        , m_work(std::move(order), [this, mainThread](double share) { tell(mainThread, share); })
    {
    }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer() { end(); }

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
    void end()
    {
        m_work.cancel();
        if (m_thread.joinable())
            m_thread.join();
    }

    Completion<Failure> ended;

private:
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

    Progress m_progress;
    CurlTransfer m_work;
    std::thread m_thread;
};

CurlDownloader::CurlDownloader(QString folder, Patience patience)
    : m_folder(std::move(folder))
    , m_patience(patience)
{
    curl_global_init(CURL_GLOBAL_DEFAULT);
    QDir left(m_folder);
    for (const QString& name : left.entryList({u"tallowfern-*.download"_s}, QDir::Files))
        left.remove(name);
}

CurlDownloader::~CurlDownloader()
{
    for (const auto& transfer : std::exchange(m_transfers, {})) {
        transfer->end();
        transfer->ended.complete(words("The download was broken off."));
    }
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
