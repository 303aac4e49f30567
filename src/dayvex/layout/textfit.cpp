#include "textfit.h"

#include <QFontMetricsF>
#include <QTextLayout>

#include <cmath>
#include <limits>

#include <algorithm>
#include <memory>

namespace dayvex {

namespace {
const QString Ellipsis = QStringLiteral("…");

// The length of the longest beginning of text that, followed by suffix, fits width.
qsizetype fittingLength(const QString &text, const QString &suffix, double width, const TextWidth &measure)
{
    qsizetype low = 0, high = text.size();
    while (low < high) {
        const qsizetype mid = (low + high + 1) / 2;
        if (measure(text.left(mid) + suffix) <= width)
            low = mid;
        else
            high = mid - 1;
    }
    return low;
}
} // namespace

TextWidth pieceWidths(const QString &text, const QFont &font)
{
    // The text laid out once on one line; the x of a position is read from it
    // when a piece first needs it.
    struct Line
    {
        QTextLayout layout;
        QTextLine line;
        std::vector<double> x;
        double at(qsizetype position)
        {
            double &known = x[size_t(position)];
            if (std::isnan(known))
                known = line.isValid() ? line.cursorToX(int(position)) : 0.0;
            return known;
        }
    };
    auto laidOut = std::make_shared<Line>();
    laidOut->layout.setText(text);
    laidOut->layout.setFont(font);
    laidOut->layout.beginLayout();
    laidOut->line = laidOut->layout.createLine();
    if (laidOut->line.isValid())
        laidOut->line.setLineWidth(std::numeric_limits<int>::max() / 4);
    laidOut->layout.endLayout();
    laidOut->x.assign(size_t(text.size()) + 1, std::nan(""));
    const QFontMetricsF metrics(font);
    const double ellipsis = metrics.horizontalAdvance(Ellipsis);
    return [text, laidOut, metrics, ellipsis](const QString &piece) {
        const bool elided = piece.endsWith(Ellipsis);
        const QStringView core = elided ? QStringView(piece).chopped(1) : QStringView(piece);
        const qsizetype at = core.isEmpty() ? 0 : QStringView(text).indexOf(core);
        if (at < 0)
            return metrics.horizontalAdvance(piece);
        return laidOut->at(at + core.size()) - laidOut->at(at) + (elided ? ellipsis : 0.0);
    };
}

QString elideRight(const QString &text, double width, const TextWidth &measure)
{
    if (measure(text) <= width)
        return text;
    if (measure(Ellipsis) > width)
        return QString();
    return text.left(fittingLength(text, Ellipsis, width, measure)).trimmed() + Ellipsis;
}

FittedText fitLines(const QString &text, double width, int maxLines, const TextWidth &measure)
{
    FittedText fitted;
    if (maxLines <= 0 || text.isEmpty()) {
        fitted.cut = !text.isEmpty();
        return fitted;
    }
    QString rest = text.trimmed();
    while (!rest.isEmpty()) {
        if (fitted.lines.size() == maxLines - 1) {
            // The last line there is room for.
            const QString last = elideRight(rest, width, measure);
            fitted.cut = last != rest;
            fitted.lines << last;
            return fitted;
        }
        qsizetype end = fittingLength(rest, QString(), width, measure);
        if (end < rest.size()) {
            // Back to the last blank within the line, unless the first word alone is too wide.
            const qsizetype blank = rest.lastIndexOf(QLatin1Char(' '), end);
            if (blank > 0)
                end = blank;
            else if (end == 0)
                end = 1;
        }
        fitted.lines << rest.left(end).trimmed();
        rest = rest.mid(end).trimmed();
    }
    return fitted;
}

QString firstThatFits(const QStringList &candidates, double width, const TextWidth &measure)
{
    for (const QString &candidate : candidates) {
        if (measure(candidate) <= width)
            return candidate;
    }
    return candidates.isEmpty() ? QString() : elideRight(candidates.last(), width, measure);
}

int firstFormThatFitsAll(const std::vector<QStringList> &forms, double width, const TextWidth &measure)
{
    qsizetype formCount = 0;
    for (const QStringList &text : forms)
        formCount = qMax(formCount, text.size());
    for (qsizetype form = 0; form < formCount; ++form) {
        const bool allFit = std::all_of(forms.begin(), forms.end(), [&](const QStringList &text) {
            return form >= text.size() || measure(text[form]) <= width;
        });
        if (allFit)
            return int(form);
    }
    return int(qMax<qsizetype>(0, formCount - 1));
}

int linesBelow(int count, int firstShown, int rowsShown)
{
    return qMax(0, count - qMax(0, firstShown) - qMax(0, rowsShown));
}

} // namespace dayvex
