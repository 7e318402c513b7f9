#include "platform/linux/preferences/FilePreferenceStore.h"

#include "fakes/VirtualClock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

class FilePreferences : public testing::Test {
protected:
    QString path() const { return m_home.filePath(u"tallowfern/preferences.json"_s); }

    void put(const QString& file, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }
    QByteArray bytes(const QString& file) const
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("(none)");
    }
    QStringList files() const { return QDir(m_home.filePath(u"tallowfern"_s)).entryList(QDir::Files); }

    QTemporaryDir m_home;
    VirtualClock m_clock;
};

} // namespace

TEST_F(FilePreferences, EveryTypeComesBackAfterARestart)
{
    const QMap<QString, PreferenceValue> values{
        {u"bool"_s, true},
        {u"whole"_s, qint64(9007199254740993)},
        {u"real"_s, 0.25},
        {u"text"_s, u"a \"quoted\" 😀"_s},
        {u"bytes"_s, QByteArray("\0\xff{}", 4)},
        {u"no bytes"_s, QByteArray("")},
        {u"list"_s, QStringList{u"b"_s, u"a"_s}},
        {u"empty list"_s, QStringList()},
    };
    {
        FilePreferenceStore store(path(), m_clock);
        for (auto entry = values.begin(); entry != values.end(); ++entry)
            store.set(entry.key(), entry.value());
        store.set(u"gone"_s, true);
        store.remove(u"gone"_s);
    }
    const FilePreferenceStore store(path(), m_clock);
    for (auto entry = values.begin(); entry != values.end(); ++entry)
        EXPECT_TRUE(store.value(entry.key()) == entry.value()) << entry.key().toStdString();
    EXPECT_FALSE(store.value(u"gone"_s));
    EXPECT_EQ(store.get<double>(u"real"_s), 0.25);
    EXPECT_FALSE(store.get<bool>(u"text"_s));
    EXPECT_EQ(QFileInfo(path()).permissions() & QFile::Permissions(0x077), QFile::Permissions());
}

TEST_F(FilePreferences, KeepsWhatItDoesNotUnderstand)
{
    put(path(),
        R"({"future": {"data": 1, "more": [1, null]}, "null": null, "mixed": ["a", 1], "broken": {"data": "!"}})");
    const auto before = QJsonDocument::fromJson(bytes(path())).object();
    {
        FilePreferenceStore store(path(), m_clock);
        for (const QString& key : before.keys())
            EXPECT_FALSE(store.value(key)) << key.toStdString();
        store.set(u"ours"_s, u"x"_s);
    }
    auto after = QJsonDocument::fromJson(bytes(path())).object();
    EXPECT_EQ(after.take(u"ours"_s), QJsonValue(u"x"_s));
    EXPECT_EQ(after, before);
}

TEST_F(FilePreferences, ADamagedFileIsSetAsideByTheFirstWrite)
{
    for (const QByteArray& damaged : {QByteArray("{\"a\": tr"), QByteArray("[1]"), QByteArray()}) {
        put(path(), damaged);
        {
            FilePreferenceStore store(path(), m_clock);
            EXPECT_FALSE(store.value(u"a"_s));
            EXPECT_EQ(files(), QStringList{u"preferences.json"_s});
            store.set(u"a"_s, true);
            store.set(u"b"_s, true);
        }
        QStringList names = files();
        EXPECT_EQ(names.size(), 2);
        names.removeOne(u"preferences.json"_s);
        EXPECT_TRUE(names.value(0).startsWith(u"preferences.json.damaged-"_s));
        EXPECT_EQ(bytes(m_home.filePath(u"tallowfern/"_s + names.value(0))), damaged);
        EXPECT_EQ(FilePreferenceStore(path(), m_clock).get<bool>(u"b"_s), true);
        QDir(m_home.filePath(u"tallowfern"_s)).removeRecursively();
    }
}

TEST_F(FilePreferences, AFileThatCannotBeReadIsNeverWritten)
{
    QDir().mkpath(path()); // a folder in its place cannot be read by anybody, root included
    {
        FilePreferenceStore store(path(), m_clock);
        store.set(u"a"_s, true);
        EXPECT_EQ(store.get<bool>(u"a"_s), true);
    }
    EXPECT_TRUE(QFileInfo(path()).isDir());
    EXPECT_EQ(QDir(QFileInfo(path()).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

TEST_F(FilePreferences, AReadOnlyFolderCostsOnlyThePersistence)
{
    FilePreferenceStore store(u"/proc/tallowfern/preferences.json"_s, m_clock);
    store.set(u"a"_s, qint64(1));
    store.set(u"a"_s, qint64(2));
    EXPECT_EQ(store.get<qint64>(u"a"_s), 2);
    store.remove(u"a"_s);
    EXPECT_FALSE(store.value(u"a"_s));
}

TEST_F(FilePreferences, ALinkedFileStaysALink)
{
    const QString real = m_home.filePath(u"dotfiles/mine.json"_s);
    put(real, "{}");
    QDir().mkpath(QFileInfo(path()).path());
    ASSERT_TRUE(QFile::link(real, path()));
    FilePreferenceStore(path(), m_clock).set(u"a"_s, true);
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
    EXPECT_TRUE(bytes(real).contains("true"));
}

TEST_F(FilePreferences, ReadsTheStoreOfAnotherApplication)
{
    put(m_home.filePath(u"com.example.earlier/preferences.json"_s), R"({"a": true, "b": {"data": "aGk="}, "c": null})");
    put(m_home.filePath(u"com.example.torn/preferences.json"_s), "{");
    const FilePreferenceStore store(path(), m_clock);
    const QMap<QString, PreferenceValue> expected{{u"a"_s, true}, {u"b"_s, QByteArray("hi")}};
    EXPECT_TRUE(store.persistentDomain(u"com.example.earlier"_s) == expected);
    for (const QString& name : {u"com.example.torn"_s, u"com.example.none"_s, u".."_s, u"a/b"_s, QString()})
        EXPECT_FALSE(store.persistentDomain(name)) << name.toStdString();
}

} // namespace tallowfern
