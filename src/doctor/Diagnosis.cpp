#include "doctor/Diagnosis.h"

#include "foundation/Words.h"

#include <QJsonObject>
#include <QLocale>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

using State = Diagnosis::State;

constexpr double kSilence = -90; // a converter's own noise is louder
constexpr double kFaint = -60;
constexpr qint64 kLittleSpace = 1'000'000'000; // bytes; the largest speech model and room to work

Diagnosis session(const Findings& found)
{
    const QString subject = words("Session");
    if (!found.hasDisplay) {
        return {subject, State::Bad, words("no X11 desktop"),
            words("Start Tallowfern within a graphical session: DISPLAY names no X server that answers.")};
    }
    const QString manager = found.windowManager.isEmpty() ? words("no window manager")
                                                          : words("window manager %1").arg(found.windowManager);
    if (found.sessionType == u"wayland"_s) {
        return {subject, State::Poor, words("Wayland with an X server inside, %1").arg(manager),
            words("Tallowfern reaches only applications that run in the X server. Log in to an X11 session to use it "
                  "everywhere.")};
    }
    return {subject, State::Good, u"X11, "_s + manager};
}

Diagnosis hotKeys(const Findings& found)
{
    const QString subject = words("Hot keys");
    QStringList free;
    QStringList taken;
    for (const auto& key : found.hotKeys)
        (key.isFree ? free : taken).append(key.keys);
    if (taken.isEmpty())
        return {subject, State::Good, free.join(u", "_s)};
    return {subject, free.isEmpty() ? State::Bad : State::Poor,
        words("held by another program: %1").arg(taken.join(u", "_s)),
        words("Free the keys in the settings of your desktop, or bind a key there to the command \"tallowfern "
              "toggle\".")};
}

Diagnosis microphone(const Findings& found)
{
    const QString subject = words("Microphone");
    const QString settings = words("Open the sound settings of your desktop, or run \"pavucontrol\".");
    if (!found.hasMicrophone)
        return {subject, State::Bad, words("none"), words("Connect one, or choose it as the input.") + u' ' + settings};
    const QString level = words("%1 dB of full scale").arg(qRound(found.microphoneLevel));
    if (found.microphoneLevel <= kSilence)
        return {subject, State::Poor, words("silent"), words("It may be switched off or muted.") + u' ' + settings};
    if (found.microphoneLevel < kFaint)
        return {subject, State::Good, words("%1 while nobody spoke, or very quiet").arg(level)};
    return {subject, State::Good, level};
}

Diagnosis pasting(const Findings& found)
{
    const QString subject = words("Pasting");
    if (found.canPostKeys)
        return {subject, State::Good, words("possible")};
    return {subject, State::Bad, words("not possible"),
        words("The X server lacks the XTEST extension. Start it without switching that off; without it, words are left "
              "on the clipboard.")};
}

Diagnosis accessibility(const Findings& found)
{
    const QString subject = words("Accessibility bus");
    if (found.hasAccessibilityBus)
        return {subject, State::Good, words("there")};
    return {subject, State::Poor, words("not there"),
        words("Tallowfern cannot read what is selected. Install it: \"sudo apt install at-spi2-core\", and log in "
              "again.")};
}

Diagnosis service(const QString& subject, bool isThere, const QString& mend)
{
    return isThere ? Diagnosis{subject, State::Good, words("there")}
                   : Diagnosis{subject, State::Poor, words("not there"), mend};
}

Diagnosis overlay(const Findings& found)
{
    // Nothing to mend: without a compositor the overlay is opaque and as good.
    return {words("Overlay"), State::Good,
        found.isTranslucent ? words("translucent") : words("opaque, since no compositor runs")};
}

Diagnosis engines(const Findings& found)
{
    const QString subject = words("Speech engines");
    QStringList names;
    for (const auto& engine : found.engines) {
        if (engine.problem) {
            return {
                subject, State::Bad, u"%1: %2"_s.arg(engine.name, *engine.problem), words("Install Tallowfern again.")};
        }
        names.append(engine.name);
    }
    return {subject, State::Good, names.join(u", "_s)};
}

Diagnosis models(const Findings& found)
{
    const QString subject = words("Speech model");
    if (found.selectedModel.isEmpty()) {
        return {subject, State::Bad, words("none is chosen that is there"),
            words("Open Tallowfern and get one, or put its file into %1.").arg(found.modelsFolder)};
    }
    const QString installed = words("%1 (there: %2)").arg(found.selectedModel, found.installedModels.join(u", "_s));
    if (found.isStandIn) {
        return {subject, State::Poor, words("%1, the stand-in for tests and demonstrations").arg(found.selectedModel),
            words("It does not understand people. Open Tallowfern and get another model.")};
    }
    return {subject, State::Good, installed};
}

Diagnosis disk(const Findings& found)
{
    const QString free = words("%1 free in %2").arg(QLocale().formattedDataSize(found.freeBytes), found.modelsFolder);
    if (found.freeBytes >= kLittleSpace)
        return {words("Disk"), State::Good, free};
    return {words("Disk"), State::Poor, free, words("Models need up to a gigabyte. Make room.")};
}

const char* mark(State state)
{
    switch (state) {
    case State::Good:
        return "ok";
    case State::Poor:
        return "--";
    case State::Bad:
        break;
    }
    return "!!";
}

const char* colour(State state)
{
    switch (state) {
    case State::Good:
        return "\033[32m";
    case State::Poor:
        return "\033[33m";
    case State::Bad:
        break;
    }
    return "\033[31m";
}

} // namespace

QList<Diagnosis> diagnose(const Findings& found)
{
    QList<Diagnosis> list{session(found), engines(found), models(found), disk(found)};
    if (!found.hasDisplay)
        return list; // the rest needs one
    list.insert(1, {words("Tallowfern"), State::Good, found.isRunning ? words("running") : words("not running")});
    list.append({hotKeys(found), microphone(found), pasting(found), accessibility(found), overlay(found),
        service(words("Tray"), found.hasTray,
            words("Everything works without it: \"tallowfern open\" shows the window. GNOME needs an extension that "
                  "shows tray icons.")),
        service(words("Notifications"), found.hasNotifications,
            words("Install a notification service, such as \"sudo apt install dunst\".")),
        service(words("Secret service"), found.hasSecretService,
            words("Keys for cloud models cannot be kept. Install one: \"sudo apt install gnome-keyring\"."))});
    return list;
}

bool canDictate(const QList<Diagnosis>& diagnoses)
{
    return std::none_of(
        diagnoses.begin(), diagnoses.end(), [](const Diagnosis& one) { return one.state == State::Bad; });
}

QString diagnosisText(const QList<Diagnosis>& diagnoses, bool coloured)
{
    qsizetype widest = 0;
    for (const Diagnosis& one : diagnoses)
        widest = std::max(widest, one.subject.size());
    QString text;
    for (const Diagnosis& one : diagnoses) {
        const QString sign = QLatin1StringView(mark(one.state));
        text += coloured ? QLatin1StringView(colour(one.state)) + sign + u"\033[0m"_s : sign;
        text += u"  "_s + one.subject.leftJustified(widest + 2) + one.detail + u'\n';
        if (!one.mend.isEmpty())
            text += QString(widest + 6, u' ') + one.mend + u'\n';
    }
    return text + (canDictate(diagnoses) ? words("Dictation can work here.") : words("Dictation cannot work here yet."))
        + u'\n';
}

QJsonArray diagnosisJson(const QList<Diagnosis>& diagnoses)
{
    QJsonArray list;
    for (const Diagnosis& one : diagnoses) {
        const auto state = one.state == State::Good ? u"good"_s : one.state == State::Poor ? u"poor"_s : u"bad"_s;
        list.append(QJsonObject{
            {u"subject"_s, one.subject}, {u"state"_s, state}, {u"detail"_s, one.detail}, {u"mend"_s, one.mend}});
    }
    return list;
}

} // namespace tallowfern
