#pragma once

#include <QCoroTask>
#include <QString>
#include <QUrl>

#include <functional>

namespace tallowfern {

/// Fetches whole files over HTTP. Main thread; neither network nor disk ever holds it up.
class HttpDownloader {
public:
    /// The fraction that has arrived, on the main thread. Never called where the server does not tell the length.
    using Progress = std::function<void(double fraction)>;

    virtual ~HttpDownloader() = default;

    /// The path of a new file, the caller's to move or delete, with the body of the server's answer, whatever its
    /// status: an error page is a body too. Throws a LocalizedError when the transfer fails, and leaves no file.
    virtual QCoro::Task<QString> download(QUrl url, Progress progress) = 0;
};

} // namespace tallowfern
