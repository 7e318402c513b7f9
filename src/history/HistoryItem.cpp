#include "history/HistoryItem.h"

#include "foundation/Words.h"
#include "speech/SpeechModel.h"

#include <algorithm>
#include <cmath>

namespace tallowfern {

QString HistoryItem::modelName() const
{
    const auto& catalog = SpeechModel::catalog();
    const auto found = std::find_if(
        catalog.begin(), catalog.end(), [this](const SpeechModel& model) { return model.id == modelID; });
    return found == catalog.end() ? words("Local model") : found->name;
}

QString HistoryItem::durationLabel() const
{
    const auto seconds = static_cast<qint64>(std::max(0.0, std::round(duration)));
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace tallowfern
