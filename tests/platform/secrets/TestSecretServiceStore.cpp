#include "fakes/VirtualClock.h"
#include "foundation/SystemClock.h"
#include "platform/PrivateSession.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::await;
using testing_support::start;

namespace {

const SecretQuery kQuery{u"com.tallowfern.local.openai-api"_s, u"OPENAI_API_KEY"_s};
const QStringList kPassword{u"m"_s, u"o"_s, u"s"_s, u"s"_s, u"Return"_s};
const Secret kKey("sk-first-89012345678901");

/// One session for all: a process keeps its first session bus.
class Keyring : public testing::Test {
public:
    ~Keyring() override
    {
        s_session->kill(m_daemon);
        QDir(QDir::homePath() + u"/.local/share/keyrings"_s).removeRecursively();
    }

protected:
    static void SetUpTestSuite()
    {
        s_session = std::make_unique<PrivateSession>();
        s_session->startDisplay(); // where the user is asked for the password
        write(QDir::homePath() + u"/password"_s, "moss");
        // The bus would start a keyring by itself, which knows no password.
        write(qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/dbus-1/services/org.freedesktop.secrets.service"_s,
            "[D-BUS Service]\nName=org.freedesktop.secrets\nExec=/bin/false\n");
        callBus({u"ReloadConfig"_s});
    }
    static void TearDownTestSuite() { s_session.reset(); }

    Keyring() { startKeyring(); }

    void startKeyring()
    {
        m_daemon = s_session->start(
            u"sh"_s, {u"-c"_s, u"exec gnome-keyring-daemon --unlock --components=secrets --foreground < ~/password"_s});
        EXPECT_TRUE(waitFor([] {
            return callBus({u"NameHasOwner"_s, u"string:org.freedesktop.secrets"_s}).contains(u"boolean true"_s);
        }));
    }
    static void write(const QString& path, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    static QString callBus(QStringList call)
    {
        call.front().prepend(u"org.freedesktop.DBus."_s);
        return s_session->output(u"dbus-send"_s,
            QStringList{
                u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s}
                + call);
    }
    static void lock()
    {
        EXPECT_TRUE(s_session->succeeds(u"dbus-send"_s,
            {u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.secrets"_s, u"/org/freedesktop/secrets"_s,
                u"org.freedesktop.Secret.Service.Lock"_s,
                u"array:objpath:/org/freedesktop/secrets/collection/login"_s}));
    }
    /// At the question for the password, once it is there.
    static void type(const QStringList& keys)
    {
        EXPECT_TRUE(waitFor([] { return questionIsOpen(); }));
        s_session->succeeds(u"xdotool"_s, QStringList{u"key"_s} + keys);
    }
    static bool questionIsOpen()
    {
        return s_session->succeeds(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"gcr-prompter"_s});
    }

    qint32 update(const Secret& key, SecretPrompt prompt = SecretPrompt::Allowed)
    {
        return await(m_store.update(kQuery, key, prompt)).code;
    }
    qint32 add(const Secret& key, SecretPrompt prompt = SecretPrompt::Allowed)
    {
        return await(m_store.add(kQuery, key, prompt)).code;
    }
    SecretReading copy(SecretPrompt prompt = SecretPrompt::Allowed)
    {
        return await(m_store.copyMatching(kQuery, prompt));
    }

    static std::unique_ptr<PrivateSession> s_session;
    QProcess* m_daemon = nullptr;
    SystemClock m_clock;
    SecretServiceStore m_store{m_clock};
};

std::unique_ptr<PrivateSession> Keyring::s_session;

} // namespace

TEST(WithoutSessionBus, SaysWhatIsMissing)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    SystemClock clock;
    SecretServiceStore store(clock);
    const SecretReading reading = await(store.copyMatching(kQuery, SecretPrompt::Allowed));
    EXPECT_EQ(reading.status.code, SecretStatus::kNotAvailable);
    EXPECT_EQ(reading.status.text, u"There is no keyring service. Install one, such as GNOME Keyring."_s);
}

TEST_F(Keyring, KeepsReplacesAndDeletes)
{
    EXPECT_EQ(update(kKey), SecretStatus::kItemNotFound);
    EXPECT_EQ(copy().status.code, SecretStatus::kItemNotFound);
    EXPECT_EQ(await(m_store.remove(kQuery)).code, SecretStatus::kItemNotFound);
    EXPECT_EQ(add(kKey, SecretPrompt::Never), SecretStatus::kSuccess);
    EXPECT_EQ(copy(SecretPrompt::Never).secret, kKey);
    EXPECT_EQ(await(m_store.copyMatching({kQuery.service, u"GEMINI_API_KEY"_s}, SecretPrompt::Never)).status.code,
        SecretStatus::kItemNotFound);

    const Secret second("sk-second-9012345678901");
    EXPECT_EQ(update(second), SecretStatus::kSuccess);
    SecretServiceStore another(m_clock);
    EXPECT_EQ(await(another.copyMatching(kQuery, SecretPrompt::Never)).secret, second);
    EXPECT_EQ(await(m_store.remove(kQuery)).code, SecretStatus::kSuccess);
    EXPECT_EQ(copy().status.code, SecretStatus::kItemNotFound);
}

TEST_F(Keyring, KeepsNoKeyInReadableFiles)
{
    EXPECT_EQ(add(kKey), SecretStatus::kSuccess);
    EXPECT_FALSE(s_session->succeeds(u"grep"_s, {u"-rqa"_s, QString::fromUtf8(kKey.reveal()), QDir::homePath()}));
}

TEST_F(Keyring, AsksNothingWhereItMustNot)
{
    EXPECT_EQ(add(kKey), SecretStatus::kSuccess);
    lock();
    EXPECT_EQ(copy(SecretPrompt::Never).status.code, SecretStatus::kInteractionNotAllowed);
    EXPECT_EQ(update(kKey, SecretPrompt::Never), SecretStatus::kInteractionNotAllowed);
    EXPECT_EQ(add(kKey, SecretPrompt::Never), SecretStatus::kInteractionNotAllowed);
    EXPECT_FALSE(questionIsOpen());
}

TEST_F(Keyring, AsksForThePasswordWhenItIsLocked)
{
    EXPECT_EQ(add(kKey), SecretStatus::kSuccess);
    lock();
    const auto refused = start(m_store.copyMatching(kQuery, SecretPrompt::Allowed));
    type({u"Escape"_s});
    EXPECT_TRUE(waitFor([refused] { return refused.isDone(); }));
    const SecretStatus refusal = refused.value().status;
    EXPECT_EQ(refusal.code, SecretStatus::kUserCanceled);
    EXPECT_EQ(refusal.text, u"The keyring is locked, and it was not unlocked."_s);

    const auto notAdded = start(m_store.add({u"other"_s, u"OTHER"_s}, kKey, SecretPrompt::Allowed));
    type({u"Escape"_s});
    EXPECT_TRUE(waitFor([notAdded] { return notAdded.isDone(); }));
    EXPECT_EQ(notAdded.value().code, SecretStatus::kUserCanceled);

    const auto given = start(m_store.copyMatching(kQuery, SecretPrompt::Allowed));
    type(kPassword);
    EXPECT_TRUE(waitFor([given] { return given.isDone(); }));
    EXPECT_EQ(given.value().secret, kKey);
}

TEST_F(Keyring, DoesNothingAnyMoreAfterTheDeadline)
{
    VirtualClock clock;
    SecretServiceStore store(clock);
    const SecretQuery other{u"other"_s, u"OTHER"_s};
    EXPECT_EQ(add(kKey), SecretStatus::kSuccess);
    lock();
    const auto updating = start(store.update(kQuery, Secret("late"), SecretPrompt::Allowed));
    const auto adding = start(store.add(other, Secret("late"), SecretPrompt::Allowed));
    EXPECT_TRUE(waitFor([] { return questionIsOpen(); }));
    clock.advance(24.9);
    EXPECT_FALSE(updating.isDone() || adding.isDone());
    clock.advance(0.2);
    ASSERT_TRUE(updating.isDone() && adding.isDone());
    EXPECT_EQ(updating.value().code, SecretStatus::kNotAvailable);
    EXPECT_EQ(adding.value().code, SecretStatus::kNotAvailable);

    const auto reading = start(m_store.copyMatching(kQuery, SecretPrompt::Allowed));
    type(kPassword);
    EXPECT_TRUE(waitFor([reading] { return reading.isDone(); }));
    EXPECT_EQ(reading.value().secret, kKey);
    EXPECT_EQ(await(m_store.copyMatching(other, SecretPrompt::Allowed)).status.code, SecretStatus::kItemNotFound);
}

TEST_F(Keyring, EndsWhatIsOpenWhenTheStoreIsDestroyed)
{
    VirtualClock clock;
    auto store = std::make_unique<SecretServiceStore>(clock);
    const auto reading = start(store->copyMatching(kQuery, SecretPrompt::Never));
    store.reset();
    clock.settle();
    ASSERT_TRUE(reading.isDone());
    EXPECT_EQ(reading.value().status.code, SecretStatus::kNotAvailable);
}

TEST_F(Keyring, OutlivesTheKeyring)
{
    EXPECT_EQ(add(kKey), SecretStatus::kSuccess);
    s_session->kill(m_daemon);
    EXPECT_EQ(copy().status.text, u"There is no keyring service. Install one, such as GNOME Keyring."_s);
    startKeyring();
    EXPECT_EQ(copy(SecretPrompt::Never).secret, kKey);
    EXPECT_EQ(update(kKey), SecretStatus::kSuccess);
}

} // namespace tallowfern
