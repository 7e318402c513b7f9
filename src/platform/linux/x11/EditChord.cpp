#include "platform/linux/x11/EditChord.h"

#include "platform/linux/x11/X11KeyMap.h"

#include <QSet>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

enum class Kind {
    Ordinary,
    Terminal, ///< Control with a letter is a character, or kills what runs
    OldestTerminal, ///< selecting copies to PRIMARY, and pasting takes it from there
};

Kind kindOf(const QString& applicationIdentifier)
{
    static const QSet<QString> oldest = {u"xterm"_s, u"uxterm"_s, u"lxterm"_s, u"koi8rxterm"_s, u"rxvt"_s, u"urxvt"_s,
        u"mlterm"_s, u"eterm"_s, u"aterm"_s, u"debian-xterm"_s, u"debian-uxterm"_s};
    static const QSet<QString> terminals
        = {u"alacritty"_s, u"blackbox"_s, u"console"_s, u"contour"_s, u"foot"_s, u"footclient"_s, u"ghostty"_s,
            u"guake"_s, u"hyper"_s, u"kgx"_s, u"kitty"_s, u"konsole"_s, u"ptyxis"_s, u"rio"_s, u"sakura"_s, u"st"_s,
            u"st-256color"_s, u"tabby"_s, u"tilda"_s, u"tilix"_s, u"warp"_s, u"wezterm-gui"_s, u"yakuake"_s};
    const QString name = applicationIdentifier.section(u'.', -1).toLower(); // org.gnome.Terminal
    if (oldest.contains(name))
        return Kind::OldestTerminal;
    if (terminals.contains(name) || name.contains(u"terminal") || name.startsWith(u"term") || name.endsWith(u"term"))
        return Kind::Terminal;
    return Kind::Ordinary;
}

} // namespace

std::vector<EditChord> editChordsFor(Edit edit, const QString& applicationIdentifier)
{
    using namespace keysym;
    const EditChord pastePrimary{{kShift, kInsert}, true};
    const bool isPaste = edit == Edit::Paste;
    switch (kindOf(applicationIdentifier)) {
    case Kind::OldestTerminal:
        return isPaste ? std::vector{pastePrimary} : std::vector<EditChord>{};
    case Kind::Terminal:
        return isPaste ? std::vector{EditChord{{kControl, kShift, kLatinV}}, pastePrimary}
                       : std::vector{EditChord{{kControl, kShift, kLatinC}}};
    case Kind::Ordinary:
        break;
    }
    return isPaste ? std::vector{EditChord{{kControl, kLatinV}}, EditChord{{kShift, kInsert}}}
                   : std::vector{EditChord{{kControl, kLatinC}}, EditChord{{kControl, kInsert}}};
}

} // namespace tallowfern
