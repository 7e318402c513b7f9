#include "foundation/LocalizedError.h"
#include "platform/linux/network/CurlDownloader.h"
#include "platform/network/HttpServer.h"
#include "support/FullDisk.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QByteArray head(const char* status, const QByteArray& headers)
{
    return "HTTP/1.1 " + QByteArray(status) + "\r\nConnection: close\r\n" + headers + "\r\n";
}

class Download : public testing::Test {
protected:
    struct Outcome {
        QString path;
        QString failure;
        bool ended = false;
    };

    static QCoro::Task<> follow(
        CurlDownloader* from, QUrl url, HttpDownloader::Progress progress, std::shared_ptr<Outcome> outcome)
    {
        try {
            outcome->path = co_await from->download(url, std::move(progress));
        } catch (const LocalizedError& error) {
            outcome->failure = error.description();
        }
        outcome->ended = true;
    }
    std::shared_ptr<Outcome> start(const QUrl& url)
    {
        auto outcome = std::make_shared<Outcome>();
        follow(
            m_downloader.get(), url, [this](double fraction) { m_fractions.append(fraction); }, outcome);
        return outcome;
    }
    Outcome fetch(const QUrl& url)
    {
        const auto outcome = start(url);
        while (!outcome->ended)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return *outcome;
    }
    static QByteArray bytes(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }
    QStringList files() const { return QDir(m_folder.path()).entryList(QDir::Files); }

    QTemporaryDir m_folder;
    HttpServer m_server;
    QList<double> m_fractions;
    std::unique_ptr<CurlDownloader> m_downloader = std::make_unique<CurlDownloader>(
        m_folder.path(), CurlDownloader::Patience{std::chrono::seconds(2), std::chrono::seconds(1)});
};

} // namespace

TEST_F(Download, TakesWhateverBodyTheServerSends)
{
    const QByteArray big(3 << 20, 'x');
    m_server.answer("/known", {head("200 OK", "Content-Length: 3145728\r\n") + big});
    m_server.answer(
        "/unknown", {head("200 OK", "Transfer-Encoding: chunked\r\n") + "5\r\nhello\r\n6\r\n there\r\n0\r\n\r\n"});
    m_server.answer("/moved", {head("302 Found", "Location: /unknown\r\nContent-Length: 4\r\n") + "here"});
    m_server.answer("/missing", {head("404 Not Found", "Content-Length: 9\r\n") + "not here!"});
    const auto known = fetch(m_server.url("/known"));
    EXPECT_EQ(bytes(known.path), big) << known.failure.toStdString();
    EXPECT_FALSE(m_fractions.isEmpty());
    EXPECT_TRUE(
        QFileInfo(known.path).fileName().contains(QRegularExpression(u"^tallowfern-[0-9A-F-]{36}\\.download$"_s)));
    EXPECT_EQ(QFileInfo(known.path).permissions() & QFile::Permissions(0x077), QFile::Permissions());
    m_fractions.clear();
    EXPECT_EQ(bytes(fetch(m_server.url("/unknown")).path), "hello there");
    EXPECT_EQ(bytes(fetch(m_server.url("/moved")).path), "hello there");
    EXPECT_TRUE(m_fractions.isEmpty());
    EXPECT_EQ(bytes(fetch(m_server.url("/missing")).path), "not here!");
}

TEST_F(Download, AFailureIsASentenceAndLeavesNoFile)
{
    m_server.answer("/empty", {head("200 OK", "Content-Length: 0\r\n")});
    m_server.answer("/cut", {head("200 OK", "Content-Length: 100\r\n") + "half"});
    m_server.answer("/away", {head("302 Found", "Location: file:///etc/passwd\r\nContent-Length: 0\r\n")});
    m_server.answer("/circle", {head("302 Found", "Location: /circle\r\nContent-Length: 0\r\n")});
    for (const auto* path : {"/empty", "/cut", "/away", "/circle", "/nothing"}) {
        const auto outcome = fetch(m_server.url(path));
        EXPECT_TRUE(outcome.failure.startsWith(u"The download failed: "_s)) << path << outcome.failure.toStdString();
        EXPECT_TRUE(files().isEmpty()) << path;
    }
    EXPECT_FALSE(fetch(QUrl(u"http://127.0.0.1:1/"_s)).failure.isEmpty()) << "nobody listens";
    EXPECT_FALSE(fetch(QUrl(u"file:///etc/passwd"_s)).failure.isEmpty());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(Download, AServerThatStallsIsLeft)
{
    HttpServer other;
    m_server.answer("/stalled", {head("200 OK", "Content-Length: 100\r\n") + "half", true});
    other.answer("/silent", {"", true});
    const auto stalled = start(m_server.url("/stalled"));
    const auto silent = start(other.url("/silent"));
    while (!stalled->ended || !silent->ended)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_FALSE(stalled->failure.isEmpty());
    EXPECT_FALSE(silent->failure.isEmpty());
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(Download, AFullDiskIsToldAsOne)
{
    m_server.answer("/big", {head("200 OK", "Content-Length: 3145728\r\n") + QByteArray(3 << 20, 'x')});
    const testing_support::FullDisk disk(1 << 20);
    const auto outcome = fetch(m_server.url("/big"));
    EXPECT_TRUE(outcome.failure.startsWith(u"The download could not be saved: "_s)) << outcome.failure.toStdString();
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(Download, IsBrokenOffAtTheEndAndSweptAfterACrash)
{
    m_server.answer("/stalled", {head("200 OK", "Content-Length: 100\r\n") + "half", true});
    const auto outcome = start(m_server.url("/stalled"));
    while (files().isEmpty())
        std::this_thread::yield();
    m_downloader.reset();
    EXPECT_TRUE(outcome->ended);
    EXPECT_FALSE(outcome->failure.isEmpty());
    EXPECT_TRUE(files().isEmpty());

    const auto now = QDateTime::currentDateTime();
    for (const auto& [name, seconds] : {std::pair("CRASHED", -7200), std::pair("ANOTHERS", -60)}) {
        QFile file(m_folder.filePath(u"tallowfern-%1.download"_s.arg(QLatin1StringView(name))));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.setFileTime(now.addSecs(seconds), QFileDevice::FileModificationTime);
    }
    const CurlDownloader next(m_folder.path());
    EXPECT_EQ(files(), QStringList(u"tallowfern-ANOTHERS.download"_s)) << "a running download is left alone";
}

TEST_F(Download, AFileThatNobodyHasTakenIsRemovedAtTheEnd)
{
    m_server.answer("/file", {head("200 OK", "Content-Length: 4\r\n") + "word"});
    const auto outcome = start(m_server.url("/file"));
    while (files().isEmpty() || QFileInfo(m_folder.filePath(files().first())).size() < 4)
        std::this_thread::yield(); // no turn of the event loop, so the end is not told
    m_downloader.reset();
    EXPECT_FALSE(outcome->failure.isEmpty());
    EXPECT_TRUE(files().isEmpty());
}

} // namespace tallowfern
