#pragma once

// The C header names a member `explicit`.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
