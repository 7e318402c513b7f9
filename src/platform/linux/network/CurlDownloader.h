#pragma once

#include <QObject>

#include "foundation/Completion.h"
#include "platform/HttpDownloader.h"

#include <chrono>
#include <memory>
#include <vector>

namespace tallowfern {

/// Each download has a thread of its own, on which network and disk may be as slow as they like. The destructor breaks
/// off what still runs and removes its file; that may take a second.
class CurlDownloader final : public QObject, public HttpDownloader {
    Q_OBJECT
public:
    /// How long a server may take to answer, or to send nothing.
    struct Patience {
        std::chrono::seconds connecting{60};
        std::chrono::seconds stalled{60};
    };

    /// Files lie in `folder` until their receiver moves them. What an earlier run left there is removed when it is an
    /// hour old, so that a second process does no harm to a running download.
    CurlDownloader(QString folder, Patience patience);
    explicit CurlDownloader(const QString& folder)
        : CurlDownloader(folder, Patience())
    {
    }
    ~CurlDownloader() override;

    QCoro::Task<QString> download(QUrl url, Progress progress) override;

private:
    class Transfer;

    QString m_folder;
    Patience m_patience;
    std::vector<std::shared_ptr<Transfer>> m_transfers;
};

} // namespace tallowfern
