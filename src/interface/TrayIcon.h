#pragma once

#include "core/CaptureStatus.h"

#include <QIcon>

namespace tallowfern {

/// The picture in the tray for what a Dictation is doing: from the desktop's icon theme, which tints it, where it is
/// installed; else drawn by us, dark where the desktop's windows are light and light where they are dark.
QIcon trayIcon(CaptureStatus::Case state);

} // namespace tallowfern
