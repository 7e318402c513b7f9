#pragma once

#include "foundation/Json.h"

#include <QDateTime>
#include <QString>
#include <QUuid>

#include <optional>

namespace tallowfern {

/// A finished Dictation as it is remembered: the words and a few numbers, never the sound.
struct HistoryItem {
    QUuid id;
    QDateTime createdAt; ///< UTC
    QString text;
    double duration = 0; ///< of the recording, seconds
    QString modelID;
    std::optional<QString> audioFileName; ///< only in items of older versions; within the folder of the recordings

    bool operator==(const HistoryItem&) const = default;
    static constexpr auto jsonFields()
    {
        using S = HistoryItem;
        return std::tuple{json::required("id", &S::id), json::required("createdAt", &S::createdAt),
            json::required("text", &S::text), json::required("duration", &S::duration),
            json::required("modelID", &S::modelID), json::required("audioFileName", &S::audioFileName)};
    }

    /// The name of the speech model that heard it.
    QString modelName() const;
    /// In minutes and seconds: "1:01".
    QString durationLabel() const;
};

} // namespace tallowfern
