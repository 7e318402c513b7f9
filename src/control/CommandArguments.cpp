#include "control/CommandArguments.h"

namespace tallowfern::control {

using namespace Qt::StringLiterals;

std::variant<CommandArguments, QString> commandArguments(const QStringList& words)
{
    CommandArguments arguments;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (word == u"--screenshot"_s) {
            arguments.includeScreenshot = true;
        } else if (word == u"--profile"_s) {
            bool isNumber = false;
            arguments.profileIndex = words.value(++i).toLongLong(&isNumber) - 1;
            if (!isNumber || *arguments.profileIndex < 0)
                return u"\"--profile\" needs the number of a profile, from 1."_s;
        } else if (word == u"--follow-up"_s) {
            arguments.isFollowUp = true;
            const QString text = words.value(i + 1);
            if (!text.isEmpty() && !text.startsWith(u"--")) {
                arguments.followUpText = text;
                ++i;
            }
        } else {
            return u"\"command\" does not take \"%1\"."_s.arg(word);
        }
    }
    const int ways
        = int(arguments.includeScreenshot) + int(arguments.profileIndex.has_value()) + int(arguments.isFollowUp);
    if (ways > 1)
        return u"\"--screenshot\", \"--profile\" and \"--follow-up\" do not go together."_s;
    return arguments;
}

} // namespace tallowfern::control
