#include "runtime/SessionStore.h"

#include "foundation/Files.h"
#include "foundation/Words.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <sqlite3.h>

namespace tallowfern {

namespace {

constexpr int kSchemaVersion = 1;
constexpr int kBusyMilliseconds = 2000; // a predecessor that is dying may still write

constexpr const char* kSchema = R"(
BEGIN IMMEDIATE;
CREATE TABLE IF NOT EXISTS message (
  id           INTEGER PRIMARY KEY,
  conversation TEXT NOT NULL,
  role         TEXT NOT NULL CHECK (role IN ('user', 'assistant')),
  text         TEXT NOT NULL,
  attachments  TEXT NOT NULL DEFAULT '[]',
  createdAt    TEXT NOT NULL) STRICT;
CREATE INDEX IF NOT EXISTS message_conversation ON message (conversation, id);
PRAGMA user_version = 1;
COMMIT;)";

class DatabaseError final : public LocalizedError {
public:
    DatabaseError(int code, QString sentence)
        : m_code(code & 0xff) // the rest says more than we ask
        , m_sentence(std::move(sentence))
    {
    }
    bool isDamage() const { return m_code == SQLITE_NOTADB || m_code == SQLITE_CORRUPT; }
    QString description() const override { return m_sentence; }

private:
    int m_code;
    QString m_sentence;
};

void check(sqlite3* database, int code)
{
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE)
        throw DatabaseError(code, QString::fromUtf8(database ? sqlite3_errmsg(database) : sqlite3_errstr(code)));
}

void execute(sqlite3* database, const char* statements)
{
    check(database, sqlite3_exec(database, statements, nullptr, nullptr, nullptr));
}

class Statement {
public:
    Statement(sqlite3* database, const char* sql)
        : m_database(database)
    {
        check(database, sqlite3_prepare_v2(database, sql, -1, &m_statement, nullptr));
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(m_statement); }

    void bind(int place, const QByteArray& utf8)
    {
        check(m_database,
            sqlite3_bind_text64(
                m_statement, place, utf8.constData(), sqlite3_uint64(utf8.size()), SQLITE_TRANSIENT, SQLITE_UTF8));
    }
    bool step()
    {
        const int code = sqlite3_step(m_statement);
        check(m_database, code);
        return code == SQLITE_ROW;
    }
    QByteArray text(int column) const
    {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return {bytes, sqlite3_column_bytes(m_statement, column)};
    }
    int number(int column) const { return sqlite3_column_int(m_statement, column); }

private:
    sqlite3* m_database;
    sqlite3_stmt* m_statement = nullptr;
};

QByteArray key(const QUuid& conversation)
{
    return conversation.toByteArray(QUuid::WithoutBraces).toUpper();
}

/// The log and the index of a database belong to it under its own name only.
void setAside(const QString& path)
{
    const QString damaged = setAsideDamagedFile(path, QDateTime::currentDateTimeUtc());
    for (const QString& companion : {QStringLiteral("-wal"), QStringLiteral("-shm")})
        QFile::rename(path + companion, damaged + companion);
}

} // namespace

SessionStore::SessionStore(Complain complain)
    : m_complain(std::move(complain))
{
}

SessionStore::~SessionStore() = default;

void SessionStore::Close::operator()(sqlite3* database) const
{
    sqlite3_close_v2(database);
}

QList<SessionMessage> SessionStore::messages(const QString& path, const QUuid& conversation)
{
    QList<SessionMessage> found;
    use(path, [&](sqlite3* database) {
        found.clear();
        Statement select(database, "SELECT role, text, attachments FROM message WHERE conversation = ? ORDER BY id");
        select.bind(1, key(conversation));
        while (select.step()) {
            SessionMessage message;
            message.role = enumFromString<AgentMessageRole>(QString::fromUtf8(select.text(0))).value_or(message.role);
            message.text = QString::fromUtf8(select.text(1));
            try {
                message.attachments = json::decode<QList<AgentContextAttachment>>(select.text(2));
            } catch (const json::DecodingError&) {
                // The words count more than what came with them.
            }
            found.append(message);
        }
    });
    return found;
}

void SessionStore::append(
    const QString& path, const QUuid& conversation, const SessionMessage& message, const QDateTime& now)
{
    use(path, [&](sqlite3* database) {
        Statement insert(
            database, "INSERT INTO message (conversation, role, text, attachments, createdAt) VALUES (?, ?, ?, ?, ?)");
        insert.bind(1, key(conversation));
        insert.bind(2, enumToString(message.role).toUtf8());
        insert.bind(3, message.text.toUtf8());
        insert.bind(4, QJsonDocument(json::write(message.attachments).toArray()).toJson(QJsonDocument::Compact));
        insert.bind(5, json::write(now).toString().toUtf8());
        insert.step();
    });
}

void SessionStore::use(const QString& path, const std::function<void(sqlite3*)>& work)
{
    if (path != m_path)
        m_database.reset();
    m_path = path;
    for (bool isSecond = false;; isSecond = true) {
        try {
            if (!m_database)
                m_database = open(path);
            return work(m_database.get());
        } catch (const DatabaseError& error) {
            m_database.reset();
            if (!error.isDamage() || isSecond)
                return m_complain(words("This conversation is not kept: %1.").arg(error.description()));
        }
        try {
            setAside(path);
        } catch (const LocalizedError& error) {
            return m_complain(words("This conversation is not kept: %1.").arg(error.description()));
        }
    }
}

SessionStore::Database SessionStore::open(const QString& path)
{
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(
        QFile::encodeName(path).constData(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    Database database(opened);
    check(opened, code);
    sqlite3_extended_result_codes(opened, 0);
    sqlite3_busy_timeout(opened, kBusyMilliseconds);
    int version = 0;
    {
        Statement read(opened, "PRAGMA user_version");
        version = read.step() ? read.number(0) : 0;
    }
    if (version > kSchemaVersion)
        throw DatabaseError(SQLITE_SCHEMA, words("a newer version of Tallowfern wrote its file"));
    // NORMAL loses nothing when a process is killed, and at worst the last turn when the power fails.
    execute(opened, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA cache_size = -256;");
    if (version < kSchemaVersion)
        execute(opened, kSchema);
    return database;
}

} // namespace tallowfern
