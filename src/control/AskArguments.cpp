#include "control/AskArguments.h"

namespace tallowfern::control {

using namespace Qt::StringLiterals;

std::variant<AskArguments, QString> askArguments(const QStringList& words)
{
    AskArguments asked;
    QStringList spoken;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (word == u"--continue"_s) {
            asked.isContinuation = true;
        } else if (word == u"--model"_s || word == u"--image"_s) {
            if (i + 1 == words.size())
                return u"\"%1\" needs a value."_s.arg(word);
            (word == u"--model"_s ? asked.modelID : asked.imagePath) = words[++i];
        } else if (word.startsWith(u"--"_s)) {
            return u"\"ask\" does not take \"%1\"."_s.arg(word);
        } else {
            spoken.append(word);
        }
    }
    asked.instruction = spoken.join(u' ').trimmed();
    if (asked.instruction.isEmpty())
        return u"Say what to write, such as: tallowfern ask \"A haiku about rain\""_s;
    return asked;
}

} // namespace tallowfern::control
