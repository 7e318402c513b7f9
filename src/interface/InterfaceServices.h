#pragma once

#include "foundation/Clock.h"
#include "platform/FloatingPanels.h"
#include "platform/PreferenceStore.h"
#include "platform/Screens.h"
#include "platform/SystemAppearance.h"

namespace tallowfern {

/// What the interface needs of a desktop besides the state that it shows. Everything here outlives the interface.
struct InterfaceServices {
    Clock& clock;
    PreferenceStore& preferences;
    Screens& screens;
    FloatingPanels& floatingPanels;
    SystemAppearance& appearance;
};

} // namespace tallowfern
