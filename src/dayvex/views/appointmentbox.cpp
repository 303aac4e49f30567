#include "appointmentbox.h"

#include <dayvex/platform/color.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace dayvex {

AppointmentBox::AppointmentBox(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("txApp"));
    setFont(boxFont());
    setFocusPolicy(Qt::ClickFocus);
    // The grid paints the box: the widget's own updates would only cost.
    setUpdatesEnabled(false);

    m_gestures = new ItemGestures(this);
}

QFont AppointmentBox::boxFont()
{
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("Arial Narrow"), QStringLiteral("Liberation Sans Narrow"),
                      QStringLiteral("Nimbus Sans Narrow"), QStringLiteral("DejaVu Sans Condensed")});
    // Narrow faces are small for their size already: never below 8 points.
    if (font.pointSizeF() > 0 && font.pointSizeF() < 8)
        font.setPointSizeF(8);
    return font;
}

void AppointmentBox::setEntry(const AgendaEntry &entry)
{
    if (entry.line() != m_entry.line())
        m_fittedFor = QSize();
    m_entry = entry;
    m_background = entry.color != 0 ? oleColor(quint32(entry.color), palette())
                                    : palette().color(QPalette::ToolTipBase);
    if (isVisible() && parentWidget())
        parentWidget()->update(geometry());
}

QRect AppointmentBox::textArea() const
{
    return rect().adjusted(3, 1, -3, -1);
}

const FittedText &AppointmentBox::shownText()
{
    if (m_fittedFor != size()) {
        const QFontMetricsF metrics(font());
        const QRect area = textArea();
        // At least one line, clipped if the box is lower than a line.
        const int lines = qMax(1, int(area.height() / metrics.lineSpacing()));
        m_fitted = fitLines(m_entry.line(), area.width(), lines, pieceWidths(m_entry.line(), font()));
        m_fittedFor = size();
        m_lines.clear();
        for (const QString &line : m_fitted.lines) {
            QStaticText laidOut(line);
            laidOut.setTextFormat(Qt::PlainText);
            laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
            laidOut.prepare(QTransform(), font());
            m_lines.push_back(std::move(laidOut));
        }
    }
    return m_fitted;
}

void AppointmentBox::paintBox(QPainter &painter)
{
    painter.fillRect(rect(), m_background);
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    // Dark text on light colours and the other way round.
    painter.setPen(m_background.lightness() < 128 ? Qt::white : Qt::black);
    const QRect area = textArea();
    painter.setClipRect(area, Qt::IntersectClip);
    shownText();
    const int spacing = QFontMetrics(font()).lineSpacing();
    QPoint at = area.topLeft();
    for (const QStaticText &line : m_lines) {
        painter.drawStaticText(at, line);
        at.ry() += spacing;
    }
}

bool AppointmentBox::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    // The whole line, where the box cuts it.
    if (shownText().cut)
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), m_entry.line(), this);
    else
        QToolTip::hideText();
    return true;
}

void AppointmentBox::mouseReleaseEvent(QMouseEvent *event)
{
    m_gestures->mouseReleased(event, rect().contains(event->position().toPoint()));
}

void AppointmentBox::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_gestures->mouseDoubleClicked(event);
}

void AppointmentBox::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        m_gestures->menuKeyPressed(mapToGlobal(rect().center()));
}

void AppointmentBox::keyPressEvent(QKeyEvent *event)
{
    if (!m_gestures->keyPressed(event))
        QWidget::keyPressEvent(event);
}

} // namespace dayvex
