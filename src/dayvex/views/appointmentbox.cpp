#include "appointmentbox.h"

#include <dayvex/platform/color.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace dayvex {

AppointmentBox::AppointmentBox(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("txApp"));
    setFont(boxFont());
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_text.setTextFormat(Qt::PlainText);
    m_text.setPerformanceHint(QStaticText::AggressiveCaching);
}

QFont AppointmentBox::boxFont()
{
    static const bool substituted = [] {
        QFont::insertSubstitutions(QStringLiteral("Arial Narrow"),
                                   {QStringLiteral("Liberation Sans Narrow"), QStringLiteral("Nimbus Sans Narrow"),
                                    QStringLiteral("DejaVu Sans Condensed")});
        return true;
    }();
    Q_UNUSED(substituted);
    QFont font(QStringLiteral("Arial Narrow"), 8);
    font.setStretch(QFont::Condensed);
    return font;
}

void AppointmentBox::setEntry(const AgendaEntry &entry)
{
    m_entry = entry;
    m_background = entry.color != 0 ? oleColor(quint32(entry.color), palette())
                                    : palette().color(QPalette::ToolTipBase);
    setToolTip(entry.line);
    if (m_text.text() != entry.line) {
        m_text.setText(entry.line);
        m_text.setTextWidth(-1); // laid out again at the next paint
    }
    update();
}

void AppointmentBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect frame = rect().adjusted(0, 0, -1, -1);
    painter.fillRect(rect(), m_background);
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(frame);
    // Dark text on light colours and the other way round.
    painter.setPen(m_background.lightness() < 128 ? Qt::white : Qt::black);
    const QRect textArea = frame.adjusted(3, 1, -2, -1);
    if (m_text.textWidth() != textArea.width()) {
        m_text.setTextWidth(textArea.width());
        m_text.prepare(QTransform(), font());
    }
    painter.setClipRect(textArea);
    painter.drawStaticText(textArea.topLeft(), m_text);
}

void AppointmentBox::mouseReleaseEvent(QMouseEvent *event)
{
    if (!rect().contains(event->position().toPoint()))
        return;
    if (event->button() == Qt::LeftButton)
        emit clicked(this);
    else if (event->button() == Qt::RightButton)
        emit rightReleased(this, event->globalPosition().toPoint());
}

void AppointmentBox::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        emit doubleClicked(this);
}

void AppointmentBox::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Delete)
        emit deletePressed(this);
    else
        QWidget::keyPressEvent(event);
}

} // namespace dayvex
