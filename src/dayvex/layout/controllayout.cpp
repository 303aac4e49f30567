#include "controllayout.h"

#include <algorithm>
#include <cmath>

namespace dayvex {

ResizeAction resizeAction(double width, double height)
{
    if (height < ControlMinimum::CollapsedHeight)
        return ResizeAction::Collapsed;
    if (height < ControlMinimum::Height)
        return ResizeAction::GrowHeight;
    if (width < ControlMinimum::Width)
        return ResizeAction::GrowWidth;
    return ResizeAction::LayOut;
}

ControlLayout layOutControl(double W, double H, const LayoutDesign &d, bool modern, bool sideCollapsed)
{
    ControlLayout l;
    l.statusFirstPanel = W - 2980;
    l.status = {0, H - d.statusHeight, W, d.statusHeight};

    l.calendarMonths = modern ? (W - 2 * d.monthWidth >= 0.7 * W ? 2 : 1) : (W > 12000 ? 2 : 1);
    const double calendarWidth = d.monthWidth * l.calendarMonths;
    l.calendar = {W - calendarWidth, d.calendarTop, calendarWidth, d.calendarHeight};

    l.lista = {d.listaLeft, d.listaTop, W - calendarWidth, H - 800};

    l.daFare = {l.calendar.left, l.calendar.bottom() + 50, calendarWidth + 20, H - d.calendarHeight - 470};

    l.thisDay = {l.lista.right() - d.thisDayWidth, d.thisDayTop, d.thisDayWidth, d.thisDayHeight};

    l.tipoVis = {d.tabsLeft, d.tabsTop, l.thisDay.left - d.tabsLeft - 30, d.tabsHeight};
    l.tabWidth = qint32(std::trunc((l.tipoVis.width - 160) / 3));
    l.tabCaptions = l.tabWidth >= 1000;
    if (!modern)
        return l;

    if (sideCollapsed) {
        l.sideShown = false;
        l.lista.width = W - d.listaLeft;
    }
    // The toggle is square, at the right end of the view's tab row; the caption before it.
    l.sideToggle = {l.lista.right() - d.tabsHeight, d.tabsTop, d.tabsHeight, d.tabsHeight};
    l.thisDay.left = std::max(d.tabsLeft, l.sideToggle.left - d.thisDayWidth);
    l.thisDay.width = l.sideToggle.left - l.thisDay.left;
    l.tipoVis.width = std::max(0.0, l.thisDay.left - d.tabsLeft - 30);
    l.tabWidth = qint32(std::trunc((l.tipoVis.width - 160) / 3));
    l.tabCaptions = l.tabWidth >= d.tabCaptionWidth;
    return l;
}

double dayViewColumnWidth(double listaWidth)
{
    return listaWidth - 1140;
}

qint32 weekViewColumnWidth(double listaWidth)
{
    return qint32(std::trunc((listaWidth - 1140) / 7));
}

} // namespace dayvex
