#pragma once

#include "foundation/Completion.h"
#include "foundation/LocalizedError.h"
#include "platform/HttpDownloader.h"

#include <QFile>
#include <QList>

namespace tallowfern {

/// Transfers that the test brings on and ends.
class FakeDownloader final : public HttpDownloader {
public:
    struct Transfer {
        QUrl url;
        Progress progress;
        Completion<std::optional<QString>> path; ///< nothing is a failure
    };
    QList<Transfer> transfers;

    QCoro::Task<QString> download(QUrl url, Progress progress) override
    {
        Transfer transfer{url, std::move(progress), {}};
        transfers.append(transfer);
        const auto path = co_await transfer.path;
        if (!path)
            throw SystemError(QStringLiteral("The line is dead."));
        co_return *path;
    }

    void succeed(qsizetype number, const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
        file.close();
        transfers[number].path.complete(path);
    }
    void fail(qsizetype number) { transfers[number].path.complete(std::nullopt); }
};

} // namespace tallowfern
