#pragma once

#include "agent/protocol/AgentTypes.h"
#include "core/CaptureStatus.h"
#include "core/PreferenceTypes.h"
#include "interface/OverlayGeometry.h"
#include "speech/SpeechModel.h"

#include <QString>

#include <optional>

namespace tallowfern {

/// What decides how the overlay looks.
struct OverlaySource {
    CaptureStatus status = {};
    AgentPhase agentPhase = AgentPhase::Idle;
    QString agentPhaseDetail = {};
    double agentProgress = 0; ///< 0 to 1
    double transcriptionProgress = 0; ///< 0 to 1
    OverlaySize overlaySize = OverlaySize::Classic;
    QString targetApplicationName = {};
    bool automaticPaste = false;
    QString cancelKeys = {}; ///< as the user reads them
    std::optional<SpeechModel> selectedModel = {};
    QString selectedAgentModel = {}; ///< its name; empty without one

    /// A Dictation in progress takes the overlay over from Command.
    bool overlayShowsAgent() const;
};

enum class WaveForm { Live, Travelling, Peak, Still };

/// What the overlay says, apart from what moves ten times a second.
struct OverlayFace {
    enum class Badge { Signal, Good, Muted, Bad };
    enum class Trailing { Nothing, Label, Duration, Symbol, Spinner };

    OverlayBody body = OverlayBody::Classic;
    WaveForm wave = WaveForm::Still;
    QString title = {};
    QString line = {};
    Trailing trailing = Trailing::Nothing;
    QString label = {}; ///< of Trailing::Label
    QString symbol = {}; ///< of Trailing::Symbol
    QString chip = {}; ///< the key that cancels; empty for none
    Badge badge = Badge::Signal; ///< of the compact form
    QString icon = {}; ///< of the badge

    bool operator==(const OverlayFace&) const = default;
    /// Whether anything on it moves.
    bool isMoving() const;
};

OverlayFace overlayFace(const OverlaySource& source);

/// "00:08"; whole minutes beyond an hour.
QString overlayDuration(double seconds);

inline bool usesDarkAppearance(OverlayAppearance appearance, bool systemIsDark)
{
    return appearance == OverlayAppearance::Automatic ? systemIsDark : appearance == OverlayAppearance::Dark;
}

} // namespace tallowfern
