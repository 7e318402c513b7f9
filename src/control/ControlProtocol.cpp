#include "control/ControlProtocol.h"

#include "control/AskArguments.h"
#include "control/CommandArguments.h"

namespace tallowfern::control {

using namespace Qt::StringLiterals;

namespace {

struct Verb {
    const char* name;
    QStringList options;
    const char* help;
};

const QList<Verb>& verbs()
{
    static const QList<Verb> list{
        {"toggle", {}, "start a Dictation, or stop it and paste the words"},
        {"push-to-talk-begin", {}, "start a Dictation that lasts until push-to-talk-end"},
        {"push-to-talk-end", {}, "stop it and paste the words"},
        {"command", {},
            "start a Command, or stop and have it written: [--screenshot | --profile N | --follow-up [TEXT]]"},
        {"cancel", {}, "discard the recording, or end the writing"},
        {"open", {}, "bring Tallowfern to front"},
        {"quit", {}, "end Tallowfern"},
        {"ask", {}, "have the writing model answer here: \"...\" [--model ID] [--image FILE] [--continue]"},
        {"doctor", {u"--json"_s}, "print what works on this desktop, and how to mend what does not"},
        {"status", {u"--json"_s, u"--follow"_s},
            "print what it is doing; --json for programs, --follow at each change"},
    };
    return list;
}

} // namespace

QString usageProblem(const QStringList& words)
{
    const QString name = words.value(0);
    if (name == u"ask"_s) {
        const auto asked = askArguments(words.sliced(1));
        const QString* problem = std::get_if<QString>(&asked);
        return problem ? *problem : QString();
    }
    if (name == u"command"_s) {
        const auto begun = commandArguments(words.sliced(1));
        const QString* problem = std::get_if<QString>(&begun);
        return problem ? *problem : QString();
    }
    for (const Verb& verb : verbs()) {
        if (name != QLatin1StringView(verb.name))
            continue;
        for (const QString& word : words.mid(1)) {
            if (!verb.options.contains(word))
                return u"\"%1\" does not take \"%2\"."_s.arg(name, word);
        }
        return {};
    }
    return u"\"%1\" is not a command."_s.arg(name);
}

QString usage()
{
    QString text = u"tallowfern                start Tallowfern in the tray\n"_s;
    for (const Verb& verb : verbs())
        text += u"tallowfern %1%2\n"_s.arg(QString::fromLatin1(verb.name), -20).arg(QString::fromLatin1(verb.help));
    return text;
}

} // namespace tallowfern::control
