#include "capslock.h"

#include <QGuiApplication>

#if defined(DAYVEX_HAVE_X11)
#include <X11/XKBlib.h>
#endif
#if defined(Q_OS_WIN)
#include <windows.h>
#endif

namespace dayvex {

namespace {
CapsLockSource &capsLockSource()
{
    static CapsLockSource source;
    return source;
}

bool windowSystemCapsLock()
{
#if defined(DAYVEX_HAVE_X11)
    if (auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr) {
        // Some platforms answer as X11 with no display (offscreen).
        if (Display *display = x11->display()) {
            Bool on = False;
            const Atom capsLock = XInternAtom(display, "Caps Lock", False);
            if (XkbGetNamedIndicator(display, capsLock, nullptr, &on, nullptr, nullptr))
                return on;
        }
    }
#endif
#if defined(Q_OS_WIN)
    return (GetKeyState(VK_CAPITAL) & 1) != 0;
#endif
    return false;
}
} // namespace

void setCapsLockSource(CapsLockSource source)
{
    capsLockSource() = std::move(source);
}

bool capsLockOn()
{
    const CapsLockSource &source = capsLockSource();
    return source ? source() : windowSystemCapsLock();
}

} // namespace dayvex
