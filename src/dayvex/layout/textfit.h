#pragma once

#include <dayvex/dayvex_export.h>

#include <QStringList>

class QFont;

#include <functional>
#include <vector>

namespace dayvex {

// How the views fit text into boxes, cells and list lines. The width of a text
// comes from a measure, so that the arithmetic needs no font.
using TextWidth = std::function<double(const QString &)>;

struct FittedText
{
    QStringList lines;
    bool cut = false; // some of the text is not shown
};

// Breaks text at blanks into lines no wider than width (a word wider than a
// line is broken between characters) and keeps at most maxLines of them; when
// text is left over, the last line shows as much of the rest as fits, then "…".
DAYVEX_CORE_EXPORT FittedText fitLines(const QString &text, double width, int maxLines, const TextWidth &measure);

// text, or its longest beginning followed by "…" that fits width ("" when not even "…" does).
DAYVEX_CORE_EXPORT QString elideRight(const QString &text, double width, const TextWidth &measure);

// The first of candidates (longest first) that fits width; the last one elided when none does.
DAYVEX_CORE_EXPORT QString firstThatFits(const QStringList &candidates, double width, const TextWidth &measure);

// For texts written in several forms (forms[i] holds text i in each form, longest
// form first): the first form in which every text fits width; the last when none does.
DAYVEX_CORE_EXPORT int firstFormThatFitsAll(const std::vector<QStringList> &forms, double width, const TextWidth &measure);

// The measure of the pieces of text (its parts, each maybe followed by "…") in
// font, from one layout of the whole text: fitting a box's line asks for many
// pieces, and shaping each one again would cost more than the rest of a redraw.
// Another text is measured on its own.
DAYVEX_CORE_EXPORT TextWidth pieceWidths(const QString &text, const QFont &font);

// The lines of a list that lie below what it shows: count lines, the first shown
// at firstShown, rowsShown whole rows in view. The "+N" of a month day.
DAYVEX_CORE_EXPORT int linesBelow(int count, int firstShown, int rowsShown);

} // namespace dayvex
