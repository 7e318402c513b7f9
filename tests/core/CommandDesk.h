#pragma once

#include "DictationDesk.h"
#include "agent/protocol/AgentLines.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace tallowfern {

/// The desk with the agent runtime installed, and an editor that tells of its text.
class CommandDesk : public DictationDesk {
public:
    using Kind = AgentProtocolEventKind;

    CommandDesk()
    {
        for (const char* name : {"tallowfern-agent", "TallowfernAppleBridge"}) {
            QFile file(folder.filePath(QStringLiteral("lib/") + QLatin1StringView(name)));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        }
        app.reset();
        start();
        runtime = engine.requests.size() - 1;
        desk.accessibility.focused = element();
    }
    AccessibleElement element() const
    {
        return {QStringLiteral(":1.7"), QStringLiteral("/text"), editor.processIdentifier};
    }

    /// The editor holds `text`, of which `range` is selected.
    void select(const QString& text, TextRange range)
    {
        desk.accessibility.text = text;
        desk.accessibility.selectedRange = range;
    }
    /// As the editor does when the chord arrives: what is selected is replaced.
    void editorPastes(const QString& text)
    {
        TextRange& range = *desk.accessibility.selectedRange;
        desk.accessibility.text->replace(range.location, range.length, text);
        range = {range.location + text.size(), 0};
    }
    void configure(const std::function<void(AgentSettings&)>& change)
    {
        AgentSettings settings = app->preferences.agentSettings();
        change(settings);
        app->preferences.setAgentSettings(settings);
    }
    void useOpenAI()
    {
        const auto saved = testing_support::start(
            app->cloudKeys.saveAPIKey(Secret("sk-12345678901234567890"), AgentWritingProvider::OpenAI));
        desk.clock.settle();
        EXPECT_TRUE(saved.isDone());
        configure([](AgentSettings& settings) { settings.writingProvider = AgentWritingProvider::OpenAI; });
    }

    void command() { tap(app->preferences.agentShortcut()); }
    /// From the first press to the words of the engine.
    void say(const QByteArray& words)
    {
        command();
        desk.clock.advance(1);
        ASSERT_EQ(phase(), AgentPhase::Listening);
        finishSaying(words);
    }
    void finishSaying(const QByteArray& words)
    {
        command();
        desk.clock.advance(0.5);
        engineSays(words);
        desk.clock.settle();
    }
    /// Pictures are written by another thread.
    void turnUntilListening()
    {
        while (app->command.isBusy() && phase() != AgentPhase::Listening)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    /// The newest request to the runtime.
    AgentRuntimeRequest request() const { return decodedRequest(engine.input(runtime).trimmed().split('\n').last()); }
    qsizetype requests() const { return engine.input(runtime).count('\n'); }
    void tell(Kind kind, const QString& text, std::optional<AgentPhase> tellsPhase = {})
    {
        AgentRuntimeEvent event;
        event.requestID = request().requestID;
        event.kind = kind;
        event.text = text;
        event.phase = tellsPhase;
        engine.writes(runtime, encodedLine(event));
    }
    /// The model writes, and the text is delivered.
    void write(const QString& text)
    {
        tell(Kind::Phase, QStringLiteral("Writing"), AgentPhase::Generating);
        tell(Kind::Completed, text);
        desk.clock.advance(0.3);
    }

    AgentPhase phase() const { return app->commandStatus.agentPhase(); }
    const CommandStatus::Values& shown() const { return app->commandStatus.values(); }
    QList<AgentConversation> conversations() const { return app->conversations.conversations(); }

    std::size_t runtime = 0; ///< the number of its child
};

} // namespace tallowfern
