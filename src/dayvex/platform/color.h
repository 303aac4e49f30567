#pragma once

#include <dayvex/dayvex_export.h>

#include <QColor>
#include <QPalette>

namespace dayvex {

// A colour as the control's properties store it: 0x00BBGGRR for a plain RGB
// value, or 0x800000nn for system colour nn, taken from the palette.
DAYVEX_CORE_EXPORT QColor oleColor(quint32 value, const QPalette &palette);

// Black or white, whichever stands out more against background (by its luminance).
DAYVEX_CORE_EXPORT QColor contrastingText(const QColor &background);

// The system colours the views use.
namespace SystemColor {
constexpr quint32 ButtonFace = 0x8000000F;
constexpr quint32 GrayText = 0x80000011;
constexpr quint32 ButtonText = 0x80000012;
} // namespace SystemColor

} // namespace dayvex
