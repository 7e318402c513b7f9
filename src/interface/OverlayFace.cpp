#include "interface/OverlayFace.h"

#include "foundation/Words.h"

#include <algorithm>
#include <cmath>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

using Trailing = OverlayFace::Trailing;

constexpr double kEndWithoutMeasure = 0.984; ///< from here on the engine has nothing to count

QString percent(double share)
{
    return QString::number(std::lround(share * 100)) + u'%';
}

void showProgress(OverlayFace& face, const OverlaySource& source)
{
    if (source.transcriptionProgress >= kEndWithoutMeasure) {
        face.trailing = Trailing::Spinner;
        return;
    }
    const bool estimated = source.selectedModel && source.selectedModel->engine == SpeechEngine::Parakeet;
    face.trailing = Trailing::Label;
    face.label = (estimated ? u"~"_s : QString()) + percent(source.transcriptionProgress);
}

void showSymbol(OverlayFace& face, const QString& symbol)
{
    face.trailing = Trailing::Symbol;
    face.symbol = symbol;
}

WaveForm waveFor(CaptureStatus::Case state)
{
    switch (state) {
    case CaptureStatus::Case::Recording:
        return WaveForm::Live;
    case CaptureStatus::Case::Processing:
        return WaveForm::Travelling;
    case CaptureStatus::Case::Success:
        return WaveForm::Peak;
    case CaptureStatus::Case::Error:
    case CaptureStatus::Case::Idle:
        break;
    }
    return WaveForm::Still;
}

OverlayFace classicFace(const OverlaySource& source)
{
    OverlayFace face{.body = OverlayBody::Classic, .wave = waveFor(source.status.state)};
    switch (source.status.state) {
    case CaptureStatus::Case::Success:
        face.title = words("Pasted");
        face.line = source.automaticPaste ? words("Copied and inserted") : words("Copied to clipboard");
        showSymbol(face, u"checkmark"_s);
        break;
    case CaptureStatus::Case::Error:
        face.title = words("Needs attention");
        face.line = words("Click to see why and fix it");
        showSymbol(face, u"arrow.up.right"_s);
        break;
    case CaptureStatus::Case::Idle:
        face.title = words("Ready");
        face.line = words("Your voice stays on this Mac");
        face.chip = source.cancelKeys;
        break;
    case CaptureStatus::Case::Recording:
        face.title = words("Listening");
        face.line = source.targetApplicationName.isEmpty() ? words("%1 to cancel").arg(source.cancelKeys)
                                                           : words("Into %1").arg(source.targetApplicationName);
        face.trailing = Trailing::Duration;
        face.chip = source.cancelKeys;
        break;
    case CaptureStatus::Case::Processing:
        face.title = words("Transcribing");
        face.line = source.selectedModel ? source.selectedModel->name + u" · "_s + source.selectedModel->organization
                                         : words("On-device model");
        showProgress(face, source);
        break;
    }
    return face;
}

OverlayFace miniFace(const OverlaySource& source)
{
    OverlayFace face{.body = OverlayBody::Mini, .wave = waveFor(source.status.state)};
    switch (source.status.state) {
    case CaptureStatus::Case::Success:
        showSymbol(face, u"checkmark"_s);
        break;
    case CaptureStatus::Case::Error:
        showSymbol(face, u"arrow.up.right"_s);
        break;
    case CaptureStatus::Case::Idle:
        showSymbol(face, u"waveform"_s);
        break;
    case CaptureStatus::Case::Recording:
        face.trailing = Trailing::Duration;
        break;
    case CaptureStatus::Case::Processing:
        showProgress(face, source);
        break;
    }
    return face;
}

OverlayFace listeningFace(const OverlaySource& source)
{
    return {.body = OverlayBody::Listening,
        .wave = WaveForm::Live,
        .title = words("Command listening"),
        .line = source.agentPhaseDetail,
        .trailing = Trailing::Duration,
        .chip = source.cancelKeys};
}

void showLabel(OverlayFace& face, const QString& label)
{
    face.trailing = Trailing::Label;
    face.label = label;
}

OverlayFace compactFace(const OverlaySource& source)
{
    OverlayFace face{.body = OverlayBody::Compact, .line = source.agentPhaseDetail, .icon = u"wand.and.stars"_s};
    switch (source.agentPhase) {
    case AgentPhase::Idle:
    case AgentPhase::Listening:
        break; // have forms of their own
    case AgentPhase::Transcribing:
        face.title = words("Transcribing");
        face.line = words("Speech to text");
        showLabel(face, percent(source.transcriptionProgress));
        break;
    case AgentPhase::LoadingModel:
        face.title = words("Loading model");
        showLabel(face, u'~' + percent(source.agentProgress));
        break;
    case AgentPhase::Generating:
        face.title = words("Writing");
        face.line = source.selectedAgentModel.isEmpty() ? words("Local model") : source.selectedAgentModel;
        showLabel(face, u'~' + percent(source.agentProgress));
        break;
    case AgentPhase::Completed:
        face.title = words("Done");
        face.icon = u"checkmark"_s;
        face.badge = OverlayFace::Badge::Good;
        showLabel(face, u"100%"_s);
        break;
    case AgentPhase::Cancelled:
        face.title = words("Cancelled");
        face.icon = u"xmark"_s;
        face.badge = OverlayFace::Badge::Muted;
        break;
    case AgentPhase::Error:
        face.title = words("Needs attention");
        face.line = words("Click to see why and fix it");
        face.icon = u"exclamationmark"_s;
        face.badge = OverlayFace::Badge::Bad;
        showSymbol(face, u"arrow.up.right"_s);
        break;
    }
    return face;
}

} // namespace

bool OverlaySource::overlayShowsAgent() const
{
    return agentPhase != AgentPhase::Idle && status.state == CaptureStatus::Case::Idle;
}

bool OverlayFace::isMoving() const
{
    const bool waves = body != OverlayBody::Compact && (wave == WaveForm::Live || wave == WaveForm::Travelling);
    return waves || trailing == Trailing::Spinner;
}

OverlayFace overlayFace(const OverlaySource& source)
{
    if (source.overlayShowsAgent())
        return source.agentPhase == AgentPhase::Listening ? listeningFace(source) : compactFace(source);
    return source.overlaySize == OverlaySize::Mini ? miniFace(source) : classicFace(source);
}

QString overlayDuration(double seconds)
{
    const auto whole = static_cast<int>(std::max(seconds, 0.0));
    return QString::asprintf("%02d:%02d", whole / 60, whole % 60);
}

} // namespace tallowfern
