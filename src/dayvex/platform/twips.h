#pragma once

#include <dayvex/dayvex_export.h>

#include <QtGlobal>

namespace dayvex {

// The one conversion between the control's twips (1440 per inch) and pixels,
// at the logical DPI of the screen the control is on.
class DAYVEX_CORE_EXPORT TwipsScale
{
public:
    static constexpr double TwipsPerInch = 1440.0;

    constexpr explicit TwipsScale(double dpi = 96.0) : m_dpi(dpi > 0 ? dpi : 96.0) {}
    // Any paint device or widget: its logical DPI, 96 when there is none.
    template <typename Device>
    static TwipsScale of(const Device *device)
    {
        return TwipsScale(device ? device->logicalDpiY() : 96.0);
    }

    int toPixels(double twips) const { return qRound(twips * m_dpi / TwipsPerInch); }
    double toTwips(int pixels) const { return pixels * TwipsPerInch / m_dpi; }
    double dpi() const { return m_dpi; }

private:
    double m_dpi;
};

} // namespace dayvex
