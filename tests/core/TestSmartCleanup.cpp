#include "DictationDesk.h"
#include "agent/protocol/AgentLines.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Case = CaptureStatus::Case;
using Kind = AgentProtocolEventKind;

/// The desk with the agent runtime and the bridge installed, and the clean-up switched on.
class SmartDesk : public DictationDesk {
public:
    SmartDesk()
    {
        for (const QString& name : {u"tallowfern-agent"_s, u"TallowfernAppleBridge"_s}) {
            QFile file(folder.filePath(u"lib/"_s + name));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        }
        app.reset();
        start();
        runtime = engine.requests.size() - 1;
        app->preferences.setSmartDictationEnabled(true);
    }
    /// The take is over, and the engine has understood `words`.
    void hear(const QByteArray& words)
    {
        toggle();
        desk.clock.advance(2);
        toggle();
        desk.clock.advance(0.5);
        engineSays(words);
        desk.clock.settle();
    }
    AgentRuntimeRequest request() { return decodedRequest(engine.input(runtime).split('\n').first()); }
    void tell(Kind kind, const QString& text)
    {
        AgentRuntimeEvent event;
        event.requestID = request().requestID;
        event.kind = kind;
        event.text = text;
        engine.writes(runtime, encodedLine(event));
    }

    std::size_t runtime = 0; ///< the number of its child
};

TEST(SmartCleanup, DeliversAndKeepsOnlyTheCleanedWords)
{
    SmartDesk d;
    EXPECT_EQ(d.engine.requests.at(d.runtime).program, d.folder.filePath(u"lib/tallowfern-agent"_s)); // from the start
    d.hear("um we need like six... no sorry seven laptops");
    EXPECT_EQ(d.state(), Case::Processing);
    const AgentRuntimeRequest request = d.request();
    EXPECT_EQ(request.model->id, u"apple-system"_s);
    EXPECT_EQ(request.ephemeralSession, true);
    EXPECT_NE(request.conversationID, request.requestID);
    EXPECT_EQ(request.appleBridgePath, d.folder.filePath(u"lib/TallowfernAppleBridge"_s));
    EXPECT_EQ(request.attachments.value(0).text, u"um we need like six... no sorry seven laptops"_s);
    EXPECT_EQ(request.instruction, u"Clean up the dictation transcript provided as reference material."_s);
    EXPECT_TRUE(request.trustedInstructions->endsWith(u"becomes \"Can you send it on Friday?\""_s));
    EXPECT_FALSE(request.personalContext || request.cloudAPIKey || request.modelPath || request.llamaServerPath);
    d.toggle(); // dropped while the model works
    d.tell(Kind::Completed, u" We need seven laptops.\n"_s);
    d.desk.clock.advance(0.3);
    EXPECT_EQ(d.state(), Case::Success);
    EXPECT_EQ(d.inEditor(), u"We need seven laptops."_s);
    EXPECT_EQ(d.app->history.items().first().text, u"We need seven laptops."_s);
    EXPECT_EQ(d.app->dictation.lastTranscript(), u"We need seven laptops."_s);
}

TEST(SmartCleanup, GivesTheWordsAsTheyWereSaidWhateverGoesWrong)
{
    const std::function<void(SmartDesk&)> mishaps[] = {
        [](SmartDesk& d) { d.tell(Kind::Error, u"Download Gemma 4 E2B."_s); },
        [](SmartDesk& d) { d.tell(Kind::Completed, u" \n\t"_s); },
        [](SmartDesk& d) { d.engine.exits(d.runtime, 1); },
        [](SmartDesk& d) { d.engine.writes(d.runtime, "garbage\n"); },
        [](SmartDesk& d) { d.desk.clock.advance(30); },
    };
    for (const auto& happens : mishaps) {
        SmartDesk d;
        d.hear("um words");
        happens(d);
        d.desk.clock.advance(0.3);
        EXPECT_EQ(d.inEditor(), u"um words"_s);
        EXPECT_EQ(d.state(), Case::Success);
        EXPECT_EQ(d.destination(), QString());
    }
}

TEST(SmartCleanup, AsksNobodyWhenItIsOffOrNotInstalled)
{
    SmartDesk off;
    off.app->preferences.setSmartDictationEnabled(false);
    off.hear("um words");
    off.desk.clock.advance(0.3);
    EXPECT_EQ(off.engine.input(off.runtime), QByteArray());
    EXPECT_EQ(off.inEditor(), u"um words"_s);

    DictationDesk bare;
    bare.app->preferences.setSmartDictationEnabled(true);
    bare.dictate("um words");
    EXPECT_EQ(bare.inEditor(), u"um words"_s);
}

} // namespace
} // namespace tallowfern
