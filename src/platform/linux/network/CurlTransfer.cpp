#include "platform/linux/network/CurlTransfer.h"

#include "foundation/Words.h"

#include <curl/curl.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace tallowfern {

namespace {

constexpr long kBufferBytes = 512L * 1024; // the library's greatest; smaller ones cost a tenth of the speed
constexpr long kMostRedirects = 10;
constexpr double kSecondsBetweenReports = 0.1;

double steadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

QString systemSentence(int error)
{
    return words("The download could not be saved: %1.").arg(QString::fromLocal8Bit(std::strerror(error)));
}

/// `detail` is the library's own word, for what a person needs no better one for.
QString transferSentence(CURLcode code, const char* detail)
{
    switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
        return words("The download failed: the server does not answer.");
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
        return words("The download failed: the connection was cut off.");
    default:
        return words("The download failed: %1.")
            .arg(QString::fromLocal8Bit(*detail != '\0' ? detail : curl_easy_strerror(code)));
    }
}

/// Without signals the library leaves this one to us: a server that hangs up must not end the application.
void blockBrokenPipes()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace

CurlTransfer::CurlTransfer(Order order, std::function<void(double)> progress)
    : m_order(std::move(order))
    , m_progress(std::move(progress))
{
}

std::optional<QString> CurlTransfer::run()
{
    blockBrokenPipes();
    const QByteArray path = m_order.path.toLocal8Bit();
    m_file = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (m_file < 0)
        return systemSentence(errno);
    auto failure = transfer();
    if (::close(m_file) != 0 && !failure)
        failure = systemSentence(errno);
    if (!failure && m_arrived == 0)
        failure = words("The download failed: the server sent nothing.");
    if (failure)
        ::unlink(path.constData());
    return failure;
}

std::optional<QString> CurlTransfer::transfer()
{
    const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl)
        return systemSentence(ENOMEM);
    m_curl = curl.get();
    std::array<char, CURL_ERROR_SIZE> reason{};
    const auto set = [&curl](CURLoption option, auto value) { curl_easy_setopt(curl.get(), option, value); };
    set(CURLOPT_URL, m_order.url.constData());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, kMostRedirects);
    set(CURLOPT_CONNECTTIMEOUT, m_order.connectSeconds);
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME, m_order.stallSeconds);
    set(CURLOPT_BUFFERSIZE, kBufferBytes);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L); // a dead name server does not hold up the end
    set(CURLOPT_USERAGENT, "Tallowfern");
    set(CURLOPT_ERRORBUFFER, reason.data());
    set(CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &CurlTransfer::onProgress);
    set(CURLOPT_XFERINFODATA, this);
    const CURLcode code = curl_easy_perform(curl.get());
    if (code == CURLE_OK)
        return std::nullopt;
    if (m_writeError != 0)
        return systemSentence(m_writeError);
    return transferSentence(code, reason.data());
}

std::size_t CurlTransfer::onBody(const char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto* transfer = static_cast<CurlTransfer*>(self);
    const std::size_t total = size * count;
    for (std::size_t done = 0; done < total;) {
        const ssize_t written = ::write(transfer->m_file, bytes + done, total - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0) {
            transfer->m_writeError = errno;
            return 0; // ends the transfer
        }
        done += static_cast<std::size_t>(written);
    }
    transfer->m_arrived += static_cast<std::int64_t>(total);
    return total;
}

int CurlTransfer::onProgress(
    void* self, std::int64_t total, std::int64_t arrived, std::int64_t /*toSend*/, std::int64_t /*sent*/)
{
    auto* transfer = static_cast<CurlTransfer*>(self);
    const double now = steadySeconds();
    long status = 0;
    curl_easy_getinfo(transfer->m_curl, CURLINFO_RESPONSE_CODE, &status);
    const bool isRedirected = status >= 300 && status < 400; // what comes now is not the file
    if (total > 0 && !isRedirected && now - transfer->m_toldAt >= kSecondsBetweenReports) {
        transfer->m_toldAt = now;
        transfer->m_progress(static_cast<double>(arrived) / static_cast<double>(total));
    }
    return transfer->m_isCancelled ? 1 : 0;
}

} // namespace tallowfern
