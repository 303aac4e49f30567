#include "color.h"

#include <algorithm>
#include <cmath>

namespace dayvex {

namespace {
struct SystemRole
{
    QPalette::ColorGroup group;
    QPalette::ColorRole role;
};

// The system colour indexes mapped to the palette role closest in meaning.
SystemRole systemRole(quint32 index)
{
    switch (index) {
    case 0x01: return {QPalette::Active, QPalette::Window};          // desktop
    case 0x02:
    case 0x0D: return {QPalette::Active, QPalette::Highlight};       // active caption, highlight
    case 0x05: return {QPalette::Active, QPalette::Base};            // window background
    case 0x06:
    case 0x10: return {QPalette::Active, QPalette::Dark};            // frame, button shadow
    case 0x07:
    case 0x08: return {QPalette::Active, QPalette::Text};            // menu text, window text
    case 0x09:
    case 0x0E: return {QPalette::Active, QPalette::HighlightedText}; // caption text, highlight text
    case 0x11: return {QPalette::Disabled, QPalette::Text};          // grey text
    case 0x12: return {QPalette::Active, QPalette::ButtonText};
    case 0x14: return {QPalette::Active, QPalette::Light};           // button highlight
    case 0x15: return {QPalette::Active, QPalette::Shadow};          // 3-D dark shadow
    case 0x16: return {QPalette::Active, QPalette::Midlight};        // 3-D light
    case 0x17: return {QPalette::Active, QPalette::ToolTipText};     // info text
    case 0x18: return {QPalette::Active, QPalette::ToolTipBase};     // info background
    default: return {QPalette::Active, QPalette::Button};            // button face and the rest
    }
}
} // namespace

QColor oleColor(quint32 value, const QPalette &palette)
{
    if (value & 0x80000000u) {
        const SystemRole r = systemRole(value & 0xFFu);
        return palette.color(r.group, r.role);
    }
    return QColor(int(value & 0xFF), int((value >> 8) & 0xFF), int((value >> 16) & 0xFF));
}

double relativeLuminance(const QColor &colour)
{
    const QColor rgb = colour.toRgb();
    const auto linear = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) + 0.0722 * linear(rgb.blueF());
}

double contrastRatio(const QColor &a, const QColor &b)
{
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor contrastingText(const QColor &background)
{
    // The one of the two that stands out more; the better of them always reaches 4.5:1.
    return contrastRatio(background, Qt::white) > contrastRatio(background, Qt::black) ? QColor(Qt::white)
                                                                                          : QColor(Qt::black);
}

} // namespace dayvex
