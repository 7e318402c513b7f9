#include "CommandDesk.h"
#include "agent/protocol/AgentRuntimeError.h"
#include "core/PromptProfiles.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Kind = AgentProtocolEventKind;

TEST(Command, WritesOverTheSelectionAndGivesWordOfIt)
{
    CommandDesk d;
    d.select(u"Dear Ann, hi there!"_s, {10, 2});
    d.say("Say it politely");
    EXPECT_EQ(d.phase(), AgentPhase::LoadingModel);
    EXPECT_EQ(d.shown().phaseDetail, u"Checking Apple Intelligence"_s);
    const AgentRuntimeRequest request = d.request();
    EXPECT_EQ(request.command, AgentProtocolCommand::Run);
    EXPECT_EQ(request.instruction, u"Say it politely"_s);
    ASSERT_EQ(request.attachments.size(), 1);
    EXPECT_EQ(request.attachments.first().text, u"hi"_s);
    EXPECT_FALSE(d.cancelIsHeld());

    d.tell(Kind::Phase, u"Thinking"_s, AgentPhase::Generating);
    EXPECT_EQ(d.shown().phaseDetail, u"Thinking"_s);
    EXPECT_DOUBLE_EQ(d.shown().progress, 0.38);
    d.tell(Kind::Delta, u"Good "_s);
    d.tell(Kind::Delta, u"morning"_s);
    EXPECT_EQ(d.shown().streamedText, u"Good morning"_s);
    d.command(); // dropped: the text is on its way
    d.toggle();
    EXPECT_EQ(d.phase(), AgentPhase::Generating);
    EXPECT_EQ(d.state(), CommandDesk::Case::Idle);
    d.tell(Kind::Completed, u"Good morning."_s);
    d.desk.clock.advance(0.3);

    EXPECT_EQ(d.phase(), AgentPhase::Completed);
    EXPECT_EQ(d.shown().resultText, u"Good morning."_s);
    EXPECT_EQ(d.shown().phaseDetail, u"Ready"_s);
    EXPECT_EQ(d.inEditor(), u"Good morning."_s);
    EXPECT_EQ(d.desk.clipboard.text(), u"Good morning."_s); // a copy is what the settings ask for
    ASSERT_EQ(d.notices.posted.size(), 1);
    EXPECT_EQ(d.notices.posted.first().body, u"Pasted into Editor and copied to the clipboard."_s);
    const AgentConversation conversation = d.conversations().value(0);
    EXPECT_EQ(conversation.id, d.shown().activeConversationID);
    EXPECT_EQ(conversation.title, u"Say it politely"_s);
    EXPECT_EQ(conversation.lastPastedText, u"Good morning."_s);
    EXPECT_EQ(conversation.messages.size(), 2);
    EXPECT_TRUE(d.recordings().isEmpty());
    EXPECT_TRUE(d.app->overlay.isPresented());
    d.desk.clock.advance(1.2);
    EXPECT_FALSE(d.app->overlay.isPresented());
}

TEST(Command, SaysWhatKeepsItFromStarting)
{
    struct Case {
        std::function<void(CommandDesk&)> arrange;
        QString message;
        QString destination;
        bool screenshot = false;
    };
    const auto forgetModel
        = [](CommandDesk& d) { d.configure([](AgentSettings& s) { s.selectedModelID = u"gone"_s; }); };
    const Case cases[] = {
        {[](CommandDesk& d) { d.microphone.setMicrophone(false); }, u"Microphone access is required."_s,
            u"permissions"_s},
        {[](CommandDesk& d) { d.desk.keys.canPostChords = false; },
            u"Accessibility access is required for selected-text context and automatic paste."_s, u"permissions"_s},
        {[](CommandDesk& d) {
             d.desk.keys.canPostChords = false;
             d.configure([](AgentSettings& s) { s.automaticPaste = false; });
         },
            u"Accessibility access is required to send selected text to Command."_s, u"permissions"_s},
        {forgetModel, u"Choose a writing model."_s, u"commandModels"_s},
        {[](CommandDesk&) {}, AgentRuntimeError(AgentRuntimeError::Cause::ScreenshotsUnsupported).description(),
            u"commandModels"_s, true},
        {[](CommandDesk& d) {
             d.configure([](AgentSettings& s) { s.writingProvider = AgentWritingProvider::Gemini; });
         },
            u"Add your Gemini API key before using this model."_s, u"apiKeys"_s},
        {[](CommandDesk& d) { d.configure([](AgentSettings& s) { s.selectedModelID = u"qwen3-4b-q4"_s; }); },
            u"Download Qwen Writer before using it."_s, u"commandModels"_s},
        {[](CommandDesk& d) { d.app->preferences.setSelectedModelID(u"none"_s); },
            AgentRuntimeError(AgentRuntimeError::Cause::SpeechModelUnavailable).description(), u"dictationModels"_s},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.message.toStdString());
        CommandDesk d;
        each.arrange(d);
        d.app->command.toggleAgentRecording(each.screenshot, std::nullopt);
        d.desk.clock.settle();
        EXPECT_EQ(d.phase(), AgentPhase::Error);
        EXPECT_EQ(d.shown().phaseDetail, each.message);
        EXPECT_EQ(d.destination(), each.destination);
        EXPECT_TRUE(d.app->overlay.isPresented());
        EXPECT_FALSE(d.cancelIsHeld());
        d.desk.clock.advance(3);
        EXPECT_FALSE(d.app->overlay.isPresented());
        EXPECT_EQ(d.phase(), AgentPhase::Error);
    }
}

TEST(Command, AndDictationExcludeEachOther)
{
    CommandDesk d;
    d.toggle();
    d.command();
    EXPECT_EQ(d.phase(), AgentPhase::Idle);
    d.cancel();
    d.desk.accessibility.applicationHangs = true; // looking at the target takes a while
    d.command();
    d.toggle();
    d.press(d.app->preferences.pushToTalkShortcut());
    d.command();
    d.desk.clock.advance(2);
    EXPECT_EQ(d.phase(), AgentPhase::Listening);
    EXPECT_EQ(d.state(), CommandDesk::Case::Idle);
    d.release(d.app->preferences.pushToTalkShortcut());
    EXPECT_EQ(d.phase(), AgentPhase::Listening);
    EXPECT_EQ(d.recordings().size(), 1);
    EXPECT_TRUE(d.cancelIsHeld());
    d.cancel();
    EXPECT_EQ(d.phase(), AgentPhase::Cancelled);
    EXPECT_TRUE(d.recordings().isEmpty());
    d.desk.clock.advance(0.5);
    EXPECT_FALSE(d.app->overlay.isPresented());
}

TEST(Command, TakesTheOverlayOverFromWhatDictationSaysLast)
{
    CommandDesk d;
    d.app->preferences.setSelectedModelID(u"none"_s);
    d.toggle();
    EXPECT_EQ(d.state(), CommandDesk::Case::Error);
    d.app->preferences.setSelectedModelID(u"pocket"_s);
    d.command();
    EXPECT_EQ(d.state(), CommandDesk::Case::Idle);
}

TEST(Command, DropsWhatComesForACancelledRun)
{
    CommandDesk d;
    d.say("Write a letter");
    d.tell(Kind::Phase, u"Writing"_s, AgentPhase::Generating);
    const AgentRuntimeRequest request = d.request();
    d.app->cancelRecording();
    EXPECT_EQ(d.phase(), AgentPhase::Cancelled);
    d.desk.clock.advance(10);
    EXPECT_EQ(d.phase(), AgentPhase::Cancelled);
    EXPECT_EQ(d.shown().progress, 0);
    EXPECT_TRUE(d.inEditor().isEmpty());
    EXPECT_EQ(d.conversations().value(0).messages.size(), 1);
    d.command();
    d.desk.clock.advance(1);
    EXPECT_EQ(d.phase(), AgentPhase::Listening);
}

TEST(Command, CannotCancelWhatIsBeingTranscribed)
{
    CommandDesk d;
    d.command();
    d.desk.clock.advance(1);
    d.command();
    EXPECT_EQ(d.phase(), AgentPhase::Transcribing);
    d.app->cancelRecording();
    EXPECT_EQ(d.phase(), AgentPhase::Transcribing);
    d.engineSays("Go on");
    d.desk.clock.settle();
    EXPECT_EQ(d.phase(), AgentPhase::LoadingModel);
}

TEST(Command, FailsWithASentenceAndAWay)
{
    CommandDesk d;
    d.say("  \n ");
    EXPECT_EQ(d.phase(), AgentPhase::Error);
    EXPECT_TRUE(d.recordings().isEmpty());
    EXPECT_TRUE(d.conversations().isEmpty());
    d.say("Write");
    d.tell(Kind::Error, u"The model is tired."_s);
    EXPECT_EQ(d.phase(), AgentPhase::Error);
    EXPECT_EQ(d.shown().phaseDetail, u"The model is tired."_s);
    EXPECT_EQ(d.destination(), u"commandModels"_s);
    EXPECT_EQ(d.shown().progress, 0);
    d.desk.clock.advance(3);
    EXPECT_FALSE(d.app->overlay.isPresented());
}

TEST(Command, ReplacesItsTextOnlyWhereItIsProvenToStand)
{
    struct Case {
        const char* name;
        std::function<void(CommandDesk&)> between;
        bool replaces;
    };
    const Case cases[] = {
        {"untouched", [](CommandDesk&) {}, true},
        {"written behind it", [](CommandDesk& d) { *d.desk.accessibility.text += u" Yours"_s; }, true},
        {"changed within", [](CommandDesk& d) { d.desk.accessibility.text->replace(6, 1, u'x'); }, false},
        {"written before it", [](CommandDesk& d) { d.desk.accessibility.text->prepend(u'x'); }, false},
        {"the application does not let it select", [](CommandDesk& d) { d.desk.accessibility.refusesSelection = true; },
            false},
        {"the window is closed", [](CommandDesk& d) { d.desk.windows.close(d.editor); }, false},
        {"switched off",
            [](CommandDesk& d) { d.configure([](AgentSettings& s) { s.safelyReplaceRefinements = false; }); }, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        CommandDesk d;
        d.select(u"Hi 😀 old"_s, {6, 3});
        d.say("Write");
        d.write(u"new 🎉 text"_s);
        d.editorPastes(u"new 🎉 text"_s);
        each.between(d);
        const QString before = *d.desk.accessibility.text;
        d.app->command.submitAgentFollowUp(u" Shorter. "_s, {});
        d.desk.clock.settle();
        EXPECT_EQ(d.request().command, AgentProtocolCommand::Continue);
        EXPECT_EQ(d.request().instruction, u"Shorter."_s);
        const auto pastes = d.desk.keys.pastes.size();
        d.write(u"short"_s);
        EXPECT_EQ(d.phase(), AgentPhase::Completed);
        EXPECT_EQ(d.desk.keys.pastes.size() - pastes, each.replaces ? 1 : 0);
        EXPECT_EQ(d.shown().resultNeedsPaste, !each.replaces);
        EXPECT_EQ(d.desk.clipboard.text(), u"short"_s);
        EXPECT_EQ(*d.desk.accessibility.text, before);
        EXPECT_EQ(d.conversations().value(0).lastPastedText, each.replaces ? std::optional(u"short"_s) : std::nullopt);
        if (!each.replaces)
            continue;
        EXPECT_EQ(d.desk.accessibility.selectedRange, (TextRange{6, 11}));
        d.editorPastes(u"short"_s);
        d.app->command.startAgentFollowUpRecording(); // the chain goes on
        d.desk.clock.advance(1);
        d.finishSaying("Longer");
        d.write(u"rather long"_s);
        EXPECT_EQ(d.desk.accessibility.selectedRange, (TextRange{6, 5}));
        EXPECT_EQ(d.conversations().size(), 1);
        EXPECT_EQ(d.conversations().value(0).messages.size(), 6);
    }
}

TEST(Command, GivesTheClipboardBackWhereNoCopyIsWanted)
{
    CommandDesk d;
    d.configure([](AgentSettings& s) { s.copyResult = false; });
    d.dictate("dictated just before"); // whose own restore is still to come
    d.say("Write");
    d.write(u"text"_s);
    EXPECT_EQ(d.notices.posted.last().body, u"Pasted into Editor."_s);
    EXPECT_TRUE(d.inEditor().endsWith(u"text"_s));
    d.desk.clock.advance(1);
    EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
}

TEST(Command, OffersTheTextByHandWhereItCannotBePasted)
{
    CommandDesk d;
    d.say("Write");
    d.desk.windows.close(d.editor);
    d.write(u"text"_s);
    EXPECT_EQ(d.phase(), AgentPhase::Completed);
    EXPECT_TRUE(d.shown().resultNeedsPaste);
    EXPECT_EQ(d.desk.clipboard.text(), u"text"_s);
    EXPECT_EQ(d.notices.posted.last().body, u"Copied to the clipboard — press ⌘V to paste."_s);
    d.app->command.copyAgentResult();
    EXPECT_FALSE(d.shown().resultNeedsPaste);

    d.configure([](AgentSettings& s) { s.automaticPaste = s.copyResult = s.notifyOnCompletion = false; });
    d.desk.clipboard.userCopies(u"mine"_s);
    d.say("Write");
    d.write(u"kept to itself"_s);
    EXPECT_FALSE(d.shown().resultNeedsPaste);
    EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
    EXPECT_EQ(d.notices.posted.size(), 1);
}

TEST(Command, TakesTheSelectionByTheClipboardWhereNothingIsTold)
{
    struct Case {
        const char* name;
        std::function<void(CommandDesk&)> arrange;
        std::optional<QString> expected;
    };
    const Case cases[] = {
        {"copied", [](CommandDesk& d) { d.desk.keys.selectedText = u" copied "_s; }, u" copied "_s},
        {"blanks", [](CommandDesk& d) { d.desk.keys.selectedText = u" \n"_s; }, std::nullopt},
        {"ignored", [](CommandDesk&) {}, std::nullopt},
        {"too late",
            [](CommandDesk& d) {
                d.desk.keys.selectedText = u"late"_s;
                d.desk.keys.targetCopiesAfter = 5;
            },
            std::nullopt},
        {"another copies meanwhile",
            [](CommandDesk& d) { d.desk.after(0.1, [&d] { d.desk.clipboard.userCopies(u"other"_s); }); }, std::nullopt},
        {"an old terminal",
            [](CommandDesk& d) {
                d.desk.keys.hasCopyChord = false;
                d.desk.clipboard.selected[d.editor.processIdentifier] = u"primary"_s;
            },
            u"primary"_s},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        CommandDesk d;
        d.desk.accessibility.focused.reset();
        each.arrange(d);
        d.command();
        d.desk.clock.advance(1);
        EXPECT_EQ(d.phase(), AgentPhase::Listening);
        EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
        d.finishSaying("Write");
        const auto attachments = d.request().attachments;
        EXPECT_EQ(attachments.isEmpty() ? std::nullopt : attachments.first().text, each.expected);
    }
}

TEST(Command, SendsAPictureOfTheWindowAndKeepsItWithTheConversation)
{
    CommandDesk d;
    d.useOpenAI();
    d.tap(d.app->preferences.agentScreenshotShortcut());
    d.desk.clock.advance(1);
    d.turnUntilListening();
    EXPECT_EQ(d.shown().phaseDetail, u"Window attached"_s);
    EXPECT_EQ(d.screens.captured, QList{d.editor});
    d.finishSaying("What is this?");
    const AgentContextAttachment picture = d.request().attachments.value(0);
    EXPECT_EQ(picture.displayName, u"Editor window"_s);
    EXPECT_TRUE(picture.filePath->startsWith(d.app->conversations.attachmentsFolder(*d.request().conversationID)));
    EXPECT_TRUE(QFile::exists(*picture.filePath));
    d.app->cancelRecording();

    d.tap(d.app->preferences.agentScreenshotShortcut());
    d.desk.clock.advance(1);
    d.turnUntilListening();
    const QString pending = d.folder.filePath(u"data/Tallowfern/Agent/Attachments/pending"_s);
    EXPECT_EQ(QDir(pending).entryList(QDir::Files).size(), 1);
    d.cancel();
    EXPECT_TRUE(QDir(pending).entryList(QDir::Files).isEmpty());

    d.screens.picture.reset();
    d.tap(d.app->preferences.agentScreenshotShortcut());
    d.desk.clock.advance(1);
    EXPECT_EQ(d.shown().phaseDetail, AgentRuntimeError(AgentRuntimeError::Cause::ScreenRecordingDenied).description());
    EXPECT_EQ(d.destination(), u"permissions"_s);
}

TEST(Command, SpeaksByAProfileAndItsFollowUpsToo)
{
    CommandDesk d;
    d.configure([](AgentSettings& s) {
        AgentPromptProfile profile;
        profile.id = QUuid::createUuid();
        profile.name = u"Pirate"_s;
        profile.prompt = u"Write like a pirate."_s;
        profile.shortcut = DefaultShortcuts::agent();
        profile.shortcut.keyCode = 18;
        s.promptProfiles = {profile};
    });
    d.app->command.toggleAgentRecording(1);
    EXPECT_EQ(d.phase(), AgentPhase::Idle);
    d.tap(d.app->preferences.agentSettings().promptProfiles.first().shortcut);
    d.desk.clock.advance(1);
    EXPECT_EQ(d.shown().phaseDetail, u"Pirate"_s);
    d.finishSaying("Write");
    EXPECT_TRUE(d.request().trustedInstructions->contains(u"Write like a pirate."_s));
    d.write(u"Arr"_s);
    d.app->command.submitAgentFollowUp(u"More"_s, {});
    d.desk.clock.settle();
    EXPECT_TRUE(d.request().trustedInstructions->contains(u"Write like a pirate."_s));
    d.app->command.submitAgentFollowUp(u"And more"_s, {}); // dropped: one at a time
    d.write(u"Arr arr"_s);
    d.configure([](AgentSettings& s) { s.promptProfiles.clear(); });
    d.app->command.submitAgentFollowUp(u"Plainly"_s, {});
    d.desk.clock.settle();
    EXPECT_FALSE(d.request().trustedInstructions->contains(u"pirate"_s));
    EXPECT_EQ(d.requests(), 3);
    EXPECT_EQ(d.conversations().value(0).messages.size(), 5);
}

TEST(PromptProfiles, AreFiveAtMostEachWithAShortcutOfItsOwn)
{
    CommandDesk d;
    Preferences& preferences = d.app->preferences;
    for (int i = 0; i < 6; ++i)
        addPromptProfile(preferences);
    QList<AgentPromptProfile> profiles = preferences.agentSettings().promptProfiles;
    ASSERT_EQ(profiles.size(), 5);
    EXPECT_EQ(profiles.last().name, u"Profile 5"_s);
    EXPECT_EQ(profiles.last().shortcut.keyCode, 23U);
    for (const AgentPromptProfile& each : profiles) {
        d.tap(each.shortcut);
        d.desk.clock.advance(1);
        EXPECT_EQ(d.shown().phaseDetail, each.name);
        d.cancel();
    }
    removePromptProfile(preferences, profiles[1].id);
    addPromptProfile(preferences);
    EXPECT_EQ(preferences.agentSettings().promptProfiles.last().shortcut, profiles[1].shortcut);
}

TEST(Command, WaitsForTheKeyAndCanBeCancelledMeanwhile)
{
    CommandDesk d;
    d.useOpenAI();
    d.secrets.seconds = 5;
    d.say("Write");
    EXPECT_EQ(d.requests(), 0);
    d.command(); // dropped: this one has begun
    d.app->cancelRecording();
    EXPECT_EQ(d.phase(), AgentPhase::Cancelled);
    d.desk.clock.advance(6);
    EXPECT_EQ(d.requests(), 0);

    d.secrets.items.clear();
    d.say("Write");
    d.desk.clock.advance(20);
    EXPECT_EQ(d.shown().phaseDetail, u"Add your OpenAI API key before using this model."_s);
    EXPECT_EQ(d.app->errors.errorResolution()->destination.provider, AgentWritingProvider::OpenAI);
}

TEST(AgentProgressEstimator, MovesOnAndNeverBeyondItsShare)
{
    for (const auto& [phase, start, most] :
        {std::tuple{AgentPhase::LoadingModel, 0.04, 0.32}, std::tuple{AgentPhase::Generating, 0.38, 0.98}}) {
        double progress = start;
        for (int i = 0; i < 1000; ++i) {
            const double next = AgentProgressEstimator::tick(progress, phase);
            EXPECT_TRUE(next > progress || next == most);
            progress = next;
        }
        EXPECT_EQ(progress, most);
    }
    EXPECT_EQ(AgentProgressEstimator::tick(0.5, AgentPhase::Transcribing), 0.5);
    EXPECT_DOUBLE_EQ(AgentProgressEstimator::receivedDelta(0.1, 1), 0.402);
    EXPECT_DOUBLE_EQ(AgentProgressEstimator::receivedDelta(0.5, 1000), 0.512);
    EXPECT_DOUBLE_EQ(AgentProgressEstimator::receivedDelta(0.979, 1000), 0.98);
}

TEST(AgentTextRangeVerifier, CountsInUtf16AndStaysWithinTheText)
{
    using AgentTextRangeVerifier::matches;
    const QString value = u"a😀bé 漢"_s;
    EXPECT_TRUE(matches(u"😀b"_s, value, {1, 3}));
    EXPECT_TRUE(matches(u"漢"_s, value, {value.size() - 1, 1}));
    EXPECT_FALSE(matches(u"😀b"_s, value, {1, 2}));
    EXPECT_FALSE(matches(u"a"_s, value, {-1, 1}));
    EXPECT_FALSE(matches(u"漢x"_s, value, {value.size() - 1, 2}));
    EXPECT_FALSE(matches(u"a"_s, value, {std::numeric_limits<qint64>::max(), 1}));
}

} // namespace
} // namespace tallowfern
