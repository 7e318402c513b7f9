#include "foundation/SystemClock.h"
#include "platform/PrivateSession.h"
#include "platform/linux/accessibility/AtspiAccessibility.h"
#include "support/Await.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kMousepad = u"mousepad"_s; // GTK 3
const QString kQtEditor = QStringLiteral(TEXT_EDITOR);
const QString kGnomeTextEditor = u"gnome-text-editor"_s; // GTK 4
const QString kChromium = u"chromium"_s;
const QString kFirefox = u"firefox-esr"_s;
const QString kText = u"hello a😀be\u0301漢 end, hello 👩\u200D👧😀"_s; // with a combining mark and a joined emoji

/// The heavy ones where they are asked for.
QStringList installedPrograms()
{
    QStringList programs{kMousepad, kQtEditor};
    if (!qEnvironmentVariableIsSet("TALLOWFERN_HEAVY_PROGRAMS"))
        return programs;
    for (const QString& program : {kGnomeTextEditor, kChromium, kFirefox}) {
        if (QStandardPaths::findExecutable(program).isEmpty())
            std::cout << qPrintable(program) << " is skipped: it is not installed\n";
        else
            programs.append(program);
    }
    return programs;
}

/// One session for all: a process keeps its first session bus.
class OtherApplications : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_session = std::make_unique<PrivateSession>();
        s_session->startDisplay();
        s_launcher = s_session->startAccessibilityBus();
    }
    static void TearDownTestSuite() { s_session.reset(); }

    void TearDown() override { close(); }

    QString write(const QString& name, const QString& text) const
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
        return file.fileName();
    }
    QStringList arguments(const QString& program) const
    {
        const QString page = u"<meta charset=utf-8><textarea autofocus style='width:95%'>"_s + kText;
        const QString profile = QDir::home().filePath(program);
        if (program == kChromium)
            return {u"--no-sandbox"_s, u"--disable-gpu"_s, u"--no-first-run"_s, u"--disable-background-networking"_s,
                u"--disable-component-update"_s, u"--password-store=basic"_s, u"--force-renderer-accessibility"_s,
                u"--user-data-dir="_s + profile, write(u"page.html"_s, page)};
        if (program == kFirefox) {
            QDir().mkpath(profile);
            return {u"--no-remote"_s, u"--profile"_s, profile, write(u"page.html"_s, page)};
        }
        const QStringList text{write(u"text.txt"_s, kText)};
        if (program == kMousepad)
            return QStringList{u"--disable-server"_s} + text;
        return program == kGnomeTextEditor ? QStringList{u"--standalone"_s} + text : text;
    }
    bool showsText()
    {
        const auto element = m_accessibility->focusedElement();
        if (!element)
            return false;
        m_element = *element;
        return value() == kText;
    }
    void open(const QString& program)
    {
        m_program = s_session->start(program, arguments(program));
        m_frontmost = m_program->processId();
        ASSERT_TRUE(waitFor([this] { return showsText(); }, 60000));
    }
    void close()
    {
        if (m_program)
            s_session->kill(std::exchange(m_program, nullptr));
    }
    void signal(int number) const { ::kill(static_cast<pid_t>(m_program->processId()), number); }
    static void press(const QStringList& keys) { s_session->succeeds(u"xdotool"_s, QStringList{u"key"_s} + keys); }

    std::optional<ElementSelection> selection()
    {
        return testing_support::await(m_accessibility->selection(m_element));
    }
    std::optional<QString> value() { return testing_support::await(m_accessibility->value(m_element)); }
    bool select(TextRange range, const QString& expected)
    {
        return testing_support::await(m_accessibility->select(m_element, range, expected));
    }
    bool waitForSelection(TextRange range)
    {
        const ElementSelection expected{range, kText.mid(range.location, range.length)};
        return waitFor([this, expected] { return selection() == expected; }, 10000);
    }

    static std::unique_ptr<PrivateSession> s_session;
    static QProcess* s_launcher;
    QTemporaryDir m_folder;
    SystemClock m_clock;
    qint64 m_frontmost = 0;
    std::unique_ptr<AtspiAccessibility> m_accessibility
        = std::make_unique<AtspiAccessibility>(m_clock, [this] { return m_frontmost; });
    QProcess* m_program = nullptr;
    AccessibleElement m_element; ///< the one with the text
};

std::unique_ptr<PrivateSession> OtherApplications::s_session;
QProcess* OtherApplications::s_launcher = nullptr;

} // namespace

TEST_F(OtherApplications, TellTheFocusAndTheSelectionInUtf16)
{
    for (const QString& program : installedPrograms()) {
        SCOPED_TRACE(program.toStdString());
        ASSERT_NO_FATAL_FAILURE(open(program));
        EXPECT_EQ(m_element.processIdentifier, m_program->processId());
        press({u"ctrl+Home"_s});
        EXPECT_TRUE(waitForSelection({0, 0}));
        press(QStringList(7, u"Right"_s) + QStringList(2, u"shift+Right"_s));
        EXPECT_TRUE(waitForSelection({7, 3})) << "the emoji is two units";
        press({u"ctrl+Home"_s, u"shift+End"_s});
        EXPECT_TRUE(waitForSelection({0, 32}));
        press({u"End"_s});
        EXPECT_TRUE(waitForSelection({32, 0})) << "the cursor behind it";
        press({u"shift+Home"_s});
        EXPECT_TRUE(program == kChromium || waitForSelection({0, 32})) << "backwards";

        m_frontmost = ::getpid();
        EXPECT_FALSE(m_accessibility->focusedElement()) << "another application is in front";
        m_frontmost = m_program->processId();
        EXPECT_TRUE(m_accessibility->focusedElement());
        close();
        EXPECT_TRUE(waitFor([this] { return !m_accessibility->focusedElement(); }));
    }
}

TEST_F(OtherApplications, HaveJustTheSelectedRangeReplacedByAKey)
{
    const QString parts[]
        = {u"👩\u200D👧"_s, u"a😀"_s, u"hello"_s, u"e\u0301"_s, u"😀"_s, u"end"_s, QString(), u"hello "_s};
    for (const QString& program : installedPrograms()) {
        SCOPED_TRACE(program.toStdString());
        ASSERT_NO_FATAL_FAILURE(open(program));
        QString text = kText;
        for (const QString& part : parts) {
            SCOPED_TRACE(part.toStdString());
            const TextRange range{text.lastIndexOf(part), part.size()};
            if (program == kChromium && part == u"a😀"_s) { // it tells no place right behind its first emoji
                EXPECT_FALSE(select(range, part));
                continue;
            }
            ASSERT_TRUE(select(range, part));
            EXPECT_EQ(selection(), (ElementSelection{range, part}));
            press({u"x"_s});
            text.replace(range.location, range.length, u"x"_s);
            ASSERT_TRUE(waitFor([&] { return value() == text; }, 10000)) << qPrintable(value().value_or(QString()));
        }
        close();
    }
}

TEST_F(OtherApplications, KeepTheirSelectionWhenTheRangeIsNotAsExpected)
{
    struct Case {
        TextRange range;
        QString expected;
    };
    const Case cases[] = {
        {{0, 5}, u"world"_s}, {{1, 5}, u"hello"_s}, {{0, 5}, u"hell"_s}, {{30, 9}, u"😀"_s}, // beyond the end
        {{40, 0}, u""_s}, {{-1, 5}, u"hello"_s}, {{5, -1}, u""_s}, {{8, 1}, kText.mid(8, 1)}, // half of a character
    };
    for (const QString& program : installedPrograms()) {
        SCOPED_TRACE(program.toStdString());
        ASSERT_NO_FATAL_FAILURE(open(program));
        ASSERT_TRUE(select({14, 3}, u"end"_s));
        for (const Case& each : cases) {
            EXPECT_FALSE(select(each.range, each.expected)) << each.range.location << ' ' << qPrintable(each.expected);
            EXPECT_EQ(selection(), (ElementSelection{{14, 3}, u"end"_s}));
        }
        close();
    }
}

TEST_F(OtherApplications, AreNotSelectedInWithoutTheFocus)
{
    ASSERT_NO_FATAL_FAILURE(open(kMousepad));
    press({u"ctrl+Home"_s, u"ctrl+f"_s});
    ASSERT_TRUE(waitFor([this] { return m_accessibility->focusedElement() != m_element; }));
    EXPECT_FALSE(select({0, 5}, u"hello"_s));
    EXPECT_TRUE(waitForSelection({0, 0}));
}

TEST_F(OtherApplications, AreFoundWhenTheyHadTheFocusBeforeWeListened)
{
    for (const QString& program : installedPrograms()) {
        SCOPED_TRACE(program.toStdString());
        ASSERT_NO_FATAL_FAILURE(open(program));
        press({u"ctrl+Home"_s});
        EXPECT_TRUE(waitForSelection({0, 0}));
        const auto known = m_accessibility->focusedElement();
        m_accessibility = std::make_unique<AtspiAccessibility>(m_clock, [this] { return m_frontmost; });
        EXPECT_TRUE(waitFor([this] { return m_accessibility->focusedElement().has_value(); }));
        EXPECT_EQ(m_accessibility->focusedElement(), known);
        EXPECT_TRUE(waitForSelection({0, 0}));
        close();
    }
}

TEST_F(OtherApplications, ThatHangCostNoMoreThanTheirTime)
{
    ASSERT_NO_FATAL_FAILURE(open(kQtEditor));
    ASSERT_TRUE(select({14, 3}, u"end"_s));
    signal(SIGSTOP);
    struct Case {
        const char* operation;
        std::function<bool()> isDone;
        qint64 milliseconds;
    };
    const Case cases[] = {
        {"selection", [this] { return selection().has_value(); }, 200},
        {"value", [this] { return value().has_value(); }, 200},
        {"select",
            [this] {
                return select({0, 5}, u"hello"_s);
            },
            800},
    };
    for (const Case& each : cases) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_FALSE(each.isDone()) << each.operation;
        EXPECT_GE(timer.elapsed(), each.milliseconds - 5) << each.operation;
        EXPECT_LT(timer.elapsed(), each.milliseconds + 700) << each.operation;
    }
    signal(SIGCONT);
    EXPECT_TRUE(waitFor([this] { return selection().has_value(); }));
    EXPECT_TRUE(waitForSelection({14, 3})) << "what was given up does not happen later";
    for (const AccessibleElement& gone :
        {AccessibleElement{m_element.service, u"/nothing"_s, 0}, AccessibleElement{u":9.9"_s, m_element.path, 0}}) {
        EXPECT_FALSE(testing_support::await(m_accessibility->selection(gone)));
        EXPECT_FALSE(testing_support::await(m_accessibility->value(gone)));
    }
}

TEST_F(OtherApplications, AreFoundAgainAfterTheBusWasRestarted)
{
    ASSERT_NO_FATAL_FAILURE(open(kMousepad));
    s_session->kill(s_launcher);
    ASSERT_TRUE(waitFor([this] { return !m_accessibility->focusedElement(); }));
    EXPECT_FALSE(selection());
    close();
    ASSERT_NO_FATAL_FAILURE(open(kMousepad)); // the bus comes back by itself when it is asked for
    press({u"ctrl+Home"_s});
    EXPECT_TRUE(waitForSelection({0, 0}));
}

} // namespace tallowfern
