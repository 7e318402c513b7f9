#pragma once

#include "foundation/EnumStrings.h"

#include <QList>
#include <QString>

#include <array>
#include <optional>

namespace tallowfern {

enum class SpeechEngine { Whisper, Parakeet };
inline constexpr auto enumStrings(SpeechEngine)
{
    return std::array{EnumString{SpeechEngine::Whisper, "whisper"}, EnumString{SpeechEngine::Parakeet, "parakeet"}};
}

/// A speech model that the application offers: what to show, what to fetch, how to drive the engine.
struct SpeechModel {
    /// Parts of full light, each from 0 to 1.
    struct Color {
        double red = 0;
        double green = 0;
        double blue = 0;

        bool operator==(const Color&) const = default;
    };

    QString id; ///< stable; preferences and history items hold it
    QString name;
    QString officialName;
    QString organization;
    QString tier;
    QString detail;
    QString sizeLabel; ///< as shown; on purpose not the same figure as byteSize
    qint64 byteSize = 0;
    QString fileName; ///< inside the folder of the models
    QString hubPath; ///< path and query of the file on the model hub
    bool isEnglishOnly = false;
    QString languageSummary;
    QString license;
    SpeechEngine engine = SpeechEngine::Whisper;
    QString accent;

    bool operator==(const SpeechModel&) const = default;

    int speedRating() const; ///< 1 to 5
    int qualityRating() const; ///< 1 to 5
    /// Goes by the identifier, not by `accent`. Nothing stands for the platform's secondary colour.
    std::optional<Color> accentColor() const;
    QString symbolName() const;

    /// All models on offer, in the order in which they are shown. The first one's file comes with the application.
    static const QList<SpeechModel>& catalog();
};

} // namespace tallowfern
