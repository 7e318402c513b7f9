#include "platform/linux/x11/PasteChord.h"

#include <QSet>

namespace tallowfern {

using namespace Qt::StringLiterals;

PasteChord pasteChordFor(const QString& applicationIdentifier)
{
    static const QSet<QString> oldest = {u"xterm"_s, u"uxterm"_s, u"lxterm"_s, u"koi8rxterm"_s, u"rxvt"_s, u"urxvt"_s,
        u"mlterm"_s, u"eterm"_s, u"aterm"_s, u"debian-xterm"_s, u"debian-uxterm"_s};
    static const QSet<QString> terminals = {u"alacritty"_s, u"blackbox"_s, u"console"_s, u"contour"_s, u"foot"_s,
        u"footclient"_s, u"ghostty"_s, u"guake"_s, u"hyper"_s, u"kgx"_s, u"kitty"_s, u"konsole"_s, u"lxterminal"_s,
        u"ptyxis"_s, u"qterminal"_s, u"rio"_s, u"sakura"_s, u"st"_s, u"st-256color"_s, u"tabby"_s, u"terminator"_s,
        u"terminology"_s, u"tilda"_s, u"tilix"_s, u"warp"_s, u"wezterm"_s, u"wezterm-gui"_s, u"yakuake"_s};
    const QString name = applicationIdentifier.section(u'.', -1).toLower(); // org.gnome.Terminal
    if (oldest.contains(name))
        return PasteChord::ShiftInsertPrimary;
    if (terminals.contains(name) || name.contains(u"terminal"))
        return PasteChord::ControlShiftV;
    return PasteChord::ControlV;
}

} // namespace tallowfern
