#include "twips.h"

#include <QWidget>

namespace dayvex {

TwipsScale TwipsScale::of(const QWidget *widget)
{
    return TwipsScale(widget ? widget->logicalDpiY() : 96.0);
}

} // namespace dayvex
