#pragma once

#include <dayvex/dayvex_export.h>

#include <QtGlobal>

namespace dayvex {

// The arithmetic of the control's resize handler, in twips and free of widgets.

struct TwipsRect
{
    double left = 0, top = 0, width = 0, height = 0;
    double right() const { return left + width; }
    double bottom() const { return top + height; }
    friend bool operator==(const TwipsRect &, const TwipsRect &) = default;
};

// What a size change does before any child is placed.
enum class ResizeAction {
    Collapsed,   // under 400 twips high: nothing is laid out
    GrowHeight,  // grow to 5030 high and wait for the next resize
    GrowWidth,   // grow to 6530 wide and wait for the next resize
    LayOut,
};

struct ControlMinimum
{
    static constexpr double CollapsedHeight = 400;
    static constexpr double Height = 5000;
    static constexpr double Width = 6500;
    static constexpr double Margin = 30; // a control is grown a little past its minimum
};

DAYVEX_CORE_EXPORT ResizeAction resizeAction(double width, double height);

// The design-time measures that the handler does not change.
struct LayoutDesign
{
    double monthWidth = 3750;      // one month of the calendar
    double calendarHeight = 2700;
    double calendarTop = 0;
    double tabsLeft = 0;
    double tabsTop = 0;
    double tabsHeight = 400;
    double listaLeft = 0;
    double listaTop = 400;
    double thisDayWidth = 2400;
    double thisDayTop = 60;
    double thisDayHeight = 300;
    double statusHeight = 400;
    // Modern: the width a tab needs for its caption.
    double tabCaptionWidth = 1000;
};

struct ControlLayout
{
    double statusFirstPanel = 0;
    TwipsRect status;
    int calendarMonths = 1;
    TwipsRect calendar;
    TwipsRect lista;
    TwipsRect daFare;
    TwipsRect thisDay;
    TwipsRect tipoVis;
    qint32 tabWidth = 0; // wide enough for any screen
    bool tabCaptions = false;           // false: the tabs show empty captions
    // Modern: the button that collapses the side column, at the right end of the
    // tab row; empty in Classic. sideShown: the calendar and the to-do list show.
    TwipsRect sideToggle;
    bool sideShown = true;
};

// modern: the calendar shows two months only while the view keeps 70% of the
// width, so that the view gets the larger share; otherwise from 12,000 twips on.
// sideCollapsed (Modern only): the calendar and the to-do list give their width
// to the view. In Modern the caption gives way only to the toggle, the tabs take
// what is left, and their captions need only design.tabCaptionWidth.
DAYVEX_CORE_EXPORT ControlLayout layOutControl(double width, double height, const LayoutDesign &design,
                                          bool modern = false, bool sideCollapsed = false);

// Width of the day column in the day view, and of each day column in the week view.
DAYVEX_CORE_EXPORT double dayViewColumnWidth(double listaWidth);
DAYVEX_CORE_EXPORT qint32 weekViewColumnWidth(double listaWidth);

} // namespace dayvex
