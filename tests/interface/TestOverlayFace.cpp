#include "interface/OverlayFace.h"
#include "interface/OverlayWaveform.h"

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

using Case = CaptureStatus::Case;
using Trailing = OverlayFace::Trailing;

OverlaySource sourceOf(Case state)
{
    return {.status = {state, {}}, .cancelKeys = u"⎋"_s};
}

/// Trailing element, title, line and label or symbol in one line.
std::string read(const OverlayFace& face)
{
    const char* trailing[] = {"", "label ", "duration", "symbol ", "spinner"};
    const QString end = QLatin1String(trailing[static_cast<int>(face.trailing)])
        + (face.trailing == Trailing::Symbol ? face.symbol : face.label);
    const QString chip = face.chip.isEmpty() ? QString() : u" [%1]"_s.arg(face.chip);
    return u"%1 | %2 | %3%4"_s.arg(face.title, face.line, end, chip).toStdString();
}

SpeechModel modelWith(SpeechEngine engine)
{
    SpeechModel model;
    model.name = u"Studio"_s;
    model.organization = u"Maker"_s;
    model.engine = engine;
    return model;
}

TEST(OverlayFace, SaysWhatADictationDoes)
{
    auto source = sourceOf(Case::Idle);
    EXPECT_EQ(read(overlayFace(source)), "Ready | Your voice stays on this Mac |  [⎋]");
    source = sourceOf(Case::Recording);
    EXPECT_EQ(read(overlayFace(source)), "Listening | ⎋ to cancel | duration [⎋]");
    source.targetApplicationName = u"Notes"_s;
    EXPECT_EQ(read(overlayFace(source)), "Listening | Into Notes | duration [⎋]");
    source = sourceOf(Case::Success);
    EXPECT_EQ(read(overlayFace(source)), "Pasted | Copied to clipboard | symbol checkmark");
    source.automaticPaste = true;
    EXPECT_EQ(read(overlayFace(source)), "Pasted | Copied and inserted | symbol checkmark");
    EXPECT_EQ(read(overlayFace(sourceOf(Case::Error))),
        "Needs attention | Click to see why and fix it | symbol arrow.up.right");
    source.overlaySize = OverlaySize::Mini;
    EXPECT_EQ(read(overlayFace(source)), " |  | symbol checkmark");
}

TEST(OverlayFace, ShowsHowFarTheEngineIs)
{
    auto source = sourceOf(Case::Processing);
    source.transcriptionProgress = 0.416;
    EXPECT_EQ(read(overlayFace(source)), "Transcribing | On-device model | label 42%");
    source.selectedModel = modelWith(SpeechEngine::Parakeet);
    EXPECT_EQ(read(overlayFace(source)), "Transcribing | Studio · Maker | label ~42%") << "an estimate";
    source.selectedModel = modelWith(SpeechEngine::Whisper);
    EXPECT_EQ(overlayFace(source).label, u"42%"_s);
    source.transcriptionProgress = 0.984;
    EXPECT_EQ(overlayFace(source).trailing, Trailing::Spinner) << "nothing to measure at the end";
}

TEST(OverlayFace, ADictationTakesItFromCommand)
{
    auto source = sourceOf(Case::Idle);
    source.agentPhase = AgentPhase::Generating;
    source.agentPhaseDetail = u"detail"_s;
    source.agentProgress = 0.5;
    EXPECT_EQ(read(overlayFace(source)), "Writing | Local model | label ~50%");
    EXPECT_EQ(overlayFace(source).body, OverlayBody::Compact);
    source.agentPhase = AgentPhase::Cancelled;
    EXPECT_EQ(read(overlayFace(source)), "Cancelled | detail | ");
    source.agentPhase = AgentPhase::Listening;
    source.overlaySize = OverlaySize::Mini;
    EXPECT_EQ(read(overlayFace(source)), "Command listening | detail | duration [⎋]");
    EXPECT_EQ(overlayFace(source).body, OverlayBody::Listening);
    source.status.state = Case::Recording;
    EXPECT_EQ(overlayFace(source).body, OverlayBody::Mini);
}

TEST(OverlayFace, TellsTheTime)
{
    EXPECT_EQ(overlayDuration(-1), u"00:00"_s);
    EXPECT_EQ(overlayDuration(59.99), u"00:59"_s);
    EXPECT_EQ(overlayDuration(6001), u"100:01"_s);
}

TEST(OverlayWaveform, ReadsTheNewestLevels)
{
    const WaveformShape shape{4, 11.5, 4};
    const auto bars
        = [&shape](const QList<double>& samples) { return waveformBars(WaveForm::Live, shape, samples, 0); };
    EXPECT_EQ(bars({1, 0.5, 0, 0.1, 0.2, 1}), QList<double>({1.5, 2.5, 3.5, 11.5})) << "the newest four";
    EXPECT_EQ(bars({1, 0.5}), QList<double>({11.5, 6.5, 6.5, 6.5})) << "the last one goes on";
    EXPECT_EQ(bars({}), QList<double>(4, 1.5 + 10 * 0.015));
}

TEST(OverlayWaveform, IsAPeakAWaveOrAPattern)
{
    const auto shape = waveformShape(OverlayBody::Classic);
    const auto peak = waveformBars(WaveForm::Peak, shape, {}, 0);
    EXPECT_EQ(peak[9], 35);
    EXPECT_EQ(peak.first(), peak.last());
    EXPECT_NEAR(peak.first(), 35 * (1 - 9.0 / 19), 1e-9);
    const auto still = waveformBars(WaveForm::Still, shape, {1, 1}, 0);
    EXPECT_EQ(still.first(4), QList<double>({7, 2.5, 2.5, 7}));
    for (const double seconds : {0.0, 0.7, 123456789.0}) {
        for (const double bar : waveformBars(WaveForm::Travelling, shape, {}, seconds)) {
            EXPECT_GE(bar, 1.5);
            EXPECT_LE(bar, 1.5 + 35 * 0.82);
        }
    }
}

} // namespace

} // namespace tallowfern
