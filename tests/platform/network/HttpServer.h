#pragma once

#include <QByteArray>
#include <QUrl>

#include <map>
#include <thread>

namespace tallowfern {

/// A server on the loopback, one connection after the other, that sends what the test laid ready, byte for byte.
class HttpServer {
public:
    HttpServer();
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    struct Answer {
        QByteArray bytes; ///< head and body
        bool staysOpen = false; ///< sends nothing more and does not hang up
    };
    /// Before the first request only.
    void answer(const QByteArray& path, Answer answer) { m_answers[path] = std::move(answer); }
    QUrl url(const QByteArray& path) const;

private:
    void serve();
    void handle(int connection);

    int m_socket;
    int m_port = 0;
    std::map<QByteArray, Answer> m_answers;
    std::thread m_thread;
};

} // namespace tallowfern
