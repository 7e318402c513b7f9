#include "foundation/SystemClock.h"
#include "platform/PrivateSession.h"
#include "platform/linux/accessibility/AtspiAccessibility.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

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

    OtherApplications()
    {
        QFile file(textPath());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("hello a😀bé漢 end");
    }
    ~OtherApplications() override
    {
        if (m_editor)
            s_session->kill(m_editor);
    }

    QString textPath() const { return m_folder.filePath(u"text.txt"_s); }

    void open(const QString& editor)
    {
        QStringList arguments{textPath()};
        if (editor == u"mousepad"_s)
            arguments.prepend(u"--disable-server"_s);
        m_editor = s_session->start(editor, arguments);
        m_frontmost = m_editor->processId();
        ASSERT_TRUE(waitFor([this] { return m_accessibility->focusedElement().has_value(); }));
    }
    static void press(const QStringList& keys) { s_session->succeeds(u"xdotool"_s, QStringList{u"key"_s} + keys); }

    std::optional<TextRange> range()
    {
        const auto element = m_accessibility->focusedElement();
        if (!element)
            return std::nullopt;
        return testing_support::await(m_accessibility->selectedTextRange(*element));
    }
    bool waitForRange(TextRange expected)
    {
        return waitFor([this, expected] { return range() == expected; }, 10000);
    }

    static std::unique_ptr<PrivateSession> s_session;
    static QProcess* s_launcher;
    QTemporaryDir m_folder;
    SystemClock m_clock;
    qint64 m_frontmost = 0;
    std::unique_ptr<AtspiAccessibility> m_accessibility
        = std::make_unique<AtspiAccessibility>(m_clock, [this] { return m_frontmost; });
    QProcess* m_editor = nullptr;
};

std::unique_ptr<PrivateSession> OtherApplications::s_session;
QProcess* OtherApplications::s_launcher = nullptr;

} // namespace

TEST_F(OtherApplications, TellTheFocusAndTheSelectionInUtf16)
{
    for (const QString& editor : {u"mousepad"_s, QStringLiteral(TEXT_EDITOR)}) {
        SCOPED_TRACE(editor.toStdString());
        ASSERT_NO_FATAL_FAILURE(open(editor));
        EXPECT_EQ(m_accessibility->focusedElement()->processIdentifier, m_editor->processId());
        press({u"ctrl+Home"_s});
        EXPECT_TRUE(waitForRange({0, 0}));
        press(QStringList(7, u"Right"_s) + QStringList(2, u"shift+Right"_s));
        EXPECT_TRUE(waitForRange({7, 3})) << "the emoji is two units";
        press({u"ctrl+Home"_s, u"shift+End"_s});
        EXPECT_TRUE(waitForRange({0, 16}));
        press({u"End"_s});
        EXPECT_TRUE(waitForRange({16, 0})) << "the cursor behind it";

        m_frontmost = ::getpid();
        EXPECT_FALSE(m_accessibility->focusedElement()) << "another application is in front";
        m_frontmost = m_editor->processId();
        EXPECT_TRUE(m_accessibility->focusedElement());
        s_session->kill(std::exchange(m_editor, nullptr));
        EXPECT_TRUE(waitFor([this] { return !m_accessibility->focusedElement(); }));
    }
}

TEST_F(OtherApplications, AreFoundWhenTheyHadTheFocusBeforeWeListened)
{
    for (const QString& editor : {u"mousepad"_s, QStringLiteral(TEXT_EDITOR)}) {
        ASSERT_NO_FATAL_FAILURE(open(editor));
        press({u"ctrl+Home"_s});
        EXPECT_TRUE(waitForRange({0, 0}));
        const auto known = m_accessibility->focusedElement();
        m_accessibility = std::make_unique<AtspiAccessibility>(m_clock, [this] { return m_frontmost; });
        EXPECT_TRUE(waitFor([this] { return m_accessibility->focusedElement().has_value(); }));
        EXPECT_EQ(m_accessibility->focusedElement(), known);
        EXPECT_TRUE(waitForRange({0, 0}));
        s_session->kill(std::exchange(m_editor, nullptr));
    }
}

TEST_F(OtherApplications, ThatHangCostAFifthOfASecond)
{
    ASSERT_NO_FATAL_FAILURE(open(QStringLiteral(TEXT_EDITOR)));
    const auto element = *m_accessibility->focusedElement();
    ::kill(static_cast<pid_t>(m_editor->processId()), SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(range());
    EXPECT_GE(timer.elapsed(), 195);
    EXPECT_LT(timer.elapsed(), 1000);
    ::kill(static_cast<pid_t>(m_editor->processId()), SIGCONT);
    EXPECT_TRUE(waitFor([this] { return range().has_value(); }));
    EXPECT_FALSE(testing_support::await(m_accessibility->selectedTextRange({element.service, u"/nothing"_s, 0})));
    EXPECT_FALSE(testing_support::await(m_accessibility->selectedTextRange({u":9.9"_s, element.path, 0})));
}

TEST_F(OtherApplications, AreFoundAgainAfterTheBusWasRestarted)
{
    ASSERT_NO_FATAL_FAILURE(open(u"mousepad"_s));
    s_session->kill(s_launcher);
    ASSERT_TRUE(waitFor([this] { return !m_accessibility->focusedElement(); }));
    EXPECT_FALSE(range());
    s_session->kill(std::exchange(m_editor, nullptr));
    ASSERT_NO_FATAL_FAILURE(open(u"mousepad"_s)); // the bus comes back by itself when it is asked for
    press({u"ctrl+Home"_s});
    EXPECT_TRUE(waitForRange({0, 0}));
}

} // namespace tallowfern
