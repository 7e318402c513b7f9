#include "platform/network/HttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tallowfern {

HttpServer::HttpServer()
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(m_socket, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(m_socket, 8) != 0)
        qFatal("no server on the loopback");
    ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

HttpServer::~HttpServer()
{
    ::shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    ::close(m_socket);
}

QUrl HttpServer::url(const QByteArray& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(QString::fromLatin1(path)));
}

void HttpServer::serve()
{
    for (int connection = 0; (connection = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        handle(connection);
        ::close(connection);
    }
}

void HttpServer::handle(int connection)
{
    QByteArray request;
    char buffer[4096];
    while (!request.contains("\r\n\r\n")) {
        const ssize_t count = ::recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0)
            return;
        request.append(buffer, count);
    }
    const auto found = m_answers.find(request.split(' ').value(1));
    if (found == m_answers.end())
        return;
    const QByteArray& bytes = found->second.bytes;
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t count
            = ::send(connection, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += count;
    }
    if (found->second.staysOpen)
        ::recv(connection, buffer, sizeof buffer, 0); // until the client hangs up
}

} // namespace tallowfern
