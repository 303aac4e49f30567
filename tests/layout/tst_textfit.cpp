#include <dayvextest.h>

namespace {
// One unit per character, so that widths read as lengths.
const TextWidth Chars = [](const QString &text) { return double(text.size()); };

} // namespace

// Fitting text into boxes, cells and lines, the "+N" of a month day, the line
// of the current time and the place of the detail pane, without a window.
class tst_TextFit : public QObject
{
    Q_OBJECT
private slots:
    void fitLines()
    {
        const struct { const char *text; double width; int maxLines; QStringList lines; bool cut; } fits[] = {
            {"09:00-10:00 Sala A", 20, 3, {"09:00-10:00 Sala A"}, false},
            {"09:00-10:00 Sala A | Ferri", 12, 3, {"09:00-10:00", "Sala A |", "Ferri"}, false}, // wrapped at blanks
            // whole lines, the last elided
            {"09:00-10:00 Sala A | Ferri | Riunione", 12, 2, {"09:00-10:00", "Sala A | Fe…"}, true},
            {"13:00-14:30 Bianchi", 8, 1, {"13:00-1…"}, true}, // one line in a short box
            {"Pianificazione", 6, 3, {"Pianif", "icazio", "ne"}, false}, // a word wider than the line
            {"abc", 0, 1, {""}, true}, // no room at all
            {"abc", 10, 0, {}, true},
            {"", 10, 2, {}, false}};
        for (const auto &fit : fits) {
            const FittedText fitted = dayvex::fitLines(fit.text, fit.width, fit.maxLines, Chars);
            QCOMPARE(fitted.lines, fit.lines);
            QCOMPARE(fitted.cut, fit.cut);
            for (const QString &line : fitted.lines)
                QVERIFY(line.size() <= fit.width);
        }
    }

    void captionForms()
    {
        const std::vector<QStringList> month{{"Mon 30 Nov", "30 Nov", "30"}, {"Tue 1 Dec", "1 Dec", "1"}};
        QCOMPARE(firstFormThatFitsAll(month, 10, Chars), 0);
        QCOMPARE(firstFormThatFitsAll(month, 9, Chars), 1); // one date too long: all take the shorter form
        QCOMPARE(firstFormThatFitsAll(month, 1, Chars), 2); // none fits: the shortest
        QCOMPARE(firstThatFits({"Mon 30 Nov", "30 Nov"}, 4, Chars), "30…"); // no blank before "…"
    }

    void pieceWidths()
    {
        // Pieces of one text are measured from one layout of it, within the kerning
        // the characters' advances leave out; any other text is measured whole.
        const QString text = "09:00-10:30 Rossi: Sala Verde | Ferri | Riunione di bilancio";
        const QFont font;
        const QFontMetricsF metrics(font);
        const TextWidth measure = dayvex::pieceWidths(text, font);
        for (const QString &piece : {text, text.left(17), text.mid(19, 10), text.left(30) + "…", QString(), QString("…"),
                                     QString("not in the text")}) {
            const double exact = metrics.horizontalAdvance(piece);
            QVERIFY2(qAbs(measure(piece) - exact) <= 1.0, qPrintable(QString("%1: %2 for %3").arg(piece).arg(measure(piece)).arg(exact)));
        }
        QCOMPARE(measure("not in the text"), metrics.horizontalAdvance("not in the text"));
    }

    void linesBelow()
    {
        QCOMPARE(dayvex::linesBelow(3, 0, 4), 0); // all shown
        QCOMPARE(dayvex::linesBelow(6, 0, 4), 2);
        QCOMPARE(dayvex::linesBelow(6, 2, 4), 0); // scrolled to the end
        QCOMPARE(dayvex::linesBelow(3, 0, 0), 3); // no whole row
    }

    // 08:00 to 20:00 in 30-minute slots of 300 twips; -1 for no line.
    void nowLine()
    {
        for (const auto &[now, offset] :
             {std::pair{at(2026, 11, 22, 8, 0), 0.0}, std::pair{at(2026, 11, 22, 14, 10), 12 * 300.0 + 100},
              std::pair{at(2026, 11, 22, 20, 15), 24 * 300.0 + 150}, std::pair{at(2026, 11, 22, 7, 59), -1.0},
              std::pair{at(2026, 11, 22, 20, 30), -1.0}, std::pair{Date(qQNaN()), -1.0}}) {
            const std::optional<double> line = nowLineOffset(now, Date::fromTime(QTime(8, 0)), 30, 25, 300);
            QVERIFY2(qAbs(line.value_or(-1.0) - offset) < 1e-6, qPrintable(QString::number(now.value())));
        }
    }

    void paneBeside()
    {
        // a pane of 3000 x 1500 in a grid of 8000 x 6000 twips
        const auto pane = [](const QRectF &item) { return detail::besideItem(item, QSizeF(3000, 1500), QRectF(0, 0, 8000, 6000)); };
        QCOMPARE(pane(QRectF(1000, 2000, 1500, 600)), QRectF(2500, 2000, 3000, 1500)); // right of the box
        QCOMPARE(pane(QRectF(6000, 2000, 1500, 600)), QRectF(3000, 2000, 3000, 1500)); // left, the right being short
        QCOMPARE(pane(QRectF(1000, 5500, 1500, 300)), QRectF(2500, 4500, 3000, 1500)); // up from the bottom
        QCOMPARE(pane(QRectF(0, 0, 8000, 600)), QRectF(0, 0, 3000, 1500)); // over a box as wide as the grid
    }

    void paneAboveList()
    {
        const QRectF control(0, 0, 12000, 9000);
        // Above the list and cut at the control's right edge, which the list passes.
        QCOMPARE(detail::aboveList(QRectF(8000, 3000, 4300, 5000), QSizeF(3000, 1800), control),
                 QRectF(8000, 1200, 4000, 1800));
        // No more than the room above the list.
        QCOMPARE(detail::aboveList(QRectF(8000, 1000, 4000, 5000), QSizeF(3000, 1800), control),
                 QRectF(8000, 0, 4000, 1000));
    }
};

QTEST_MAIN(tst_TextFit)
#include "tst_textfit.moc"
