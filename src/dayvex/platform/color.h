#pragma once

#include <dayvex/dayvex_export.h>

#include <QColor>
#include <QPalette>

namespace dayvex {

// A colour as the control's properties store it: 0x00BBGGRR for a plain RGB
// value, or 0x800000nn for system colour nn, taken from the palette.
DAYVEX_CORE_EXPORT QColor oleColor(quint32 value, const QPalette &palette);

// The relative luminance of a colour and the contrast ratio of two, as the
// accessibility guidelines for the web define them (1:1 to 21:1).
DAYVEX_CORE_EXPORT double relativeLuminance(const QColor &colour);
DAYVEX_CORE_EXPORT double contrastRatio(const QColor &a, const QColor &b);
// Black or white, whichever has the higher contrast ratio against background.
DAYVEX_CORE_EXPORT QColor contrastingText(const QColor &background);

// The system colours the views use.
namespace SystemColor {
constexpr quint32 ButtonFace = 0x8000000F;
constexpr quint32 GrayText = 0x80000011;
constexpr quint32 ButtonText = 0x80000012;
} // namespace SystemColor

} // namespace dayvex
