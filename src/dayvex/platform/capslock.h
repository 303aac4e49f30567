#pragma once

#include <dayvex/dayvex_export.h>

#include <functional>

namespace dayvex {

// Whether Caps Lock is on. The window system is asked where it can say (X11,
// Windows); elsewhere it is taken as off. Tests replace the source; an empty
// function restores the window system's.
using CapsLockSource = std::function<bool()>;
DAYVEX_CORE_EXPORT void setCapsLockSource(CapsLockSource source);
DAYVEX_CORE_EXPORT bool capsLockOn();

} // namespace dayvex
