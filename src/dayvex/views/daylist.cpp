#include "daylist.h"

#include <dayvex/views/appointmentbox.h>
#include <dayvex/views/textfit.h>

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QToolTip>

namespace dayvex {

namespace {
// Paints a line's short form, cut to the width with "…".
class ShortLineDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const QString shortLine = index.data(DayList::ShortLineRole).toString();
        if (!shortLine.isEmpty())
            option->text = shortLine;
        option->textElideMode = Qt::ElideRight;
    }
};

QString plusMark(int lines)
{
    return QStringLiteral("+%1").arg(lines);
}
} // namespace

DayList::DayList(int index, QWidget *parent)
    : QListWidget(parent)
    , m_index(index)
{
    setObjectName(QStringLiteral("lstApp"));
    setFrameShape(QFrame::NoFrame);
    setFont(AppointmentBox::boxFont());
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // A scroll bar would take half a narrow cell: the wheel scrolls, "+N" tells what is below.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    setTextElideMode(Qt::ElideRight);
    setUniformItemSizes(true);
    setItemDelegate(new ShortLineDelegate(this));
    m_gestures = new ItemGestures(this);
}

int DayList::hiddenLines() const
{
    if (count() == 0)
        return 0;
    const int rowHeight = qMax(1, sizeHintForRow(0));
    const int first = qMax(0, indexAt(QPoint(0, 0)).row());
    return linesBelow(count(), first, viewport()->height() / rowHeight);
}

void DayList::mousePressEvent(QMouseEvent *event)
{
    QListWidget::mousePressEvent(event);
    emit pressed(this, indexAt(event->position().toPoint()).row());
}

void DayList::mouseReleaseEvent(QMouseEvent *event)
{
    QListWidget::mouseReleaseEvent(event);
    m_gestures->mouseReleased(event);
}

void DayList::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_gestures->mouseDoubleClicked(event);
}

void DayList::keyPressEvent(QKeyEvent *event)
{
    if (!m_gestures->keyPressed(event, currentRow() >= 0))
        QListWidget::keyPressEvent(event);
}

void DayList::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard && currentItem())
        m_gestures->menuKeyPressed(viewport()->mapToGlobal(visualItemRect(currentItem()).center()));
}

void DayList::paintEvent(QPaintEvent *event)
{
    QListWidget::paintEvent(event);
    const int hidden = hiddenLines();
    if (hidden == 0)
        return;
    QPainter painter(viewport());
    const QString mark = plusMark(hidden);
    QRect box = painter.fontMetrics().boundingRect(mark).adjusted(-3, 0, 3, 0);
    box.moveBottomRight(viewport()->rect().bottomRight());
    painter.fillRect(box, palette().color(QPalette::Highlight));
    painter.setPen(palette().color(QPalette::HighlightedText));
    painter.drawText(box, Qt::AlignCenter, mark);
}

bool DayList::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QListWidget::viewportEvent(event);
    // A line always shows less than the appointment line: the tooltip has it whole.
    const auto *help = static_cast<QHelpEvent *>(event);
    const QListWidgetItem *line = itemAt(help->pos());
    if (line)
        QToolTip::showText(help->globalPos(), line->text(), viewport(), visualItemRect(line));
    else
        QToolTip::hideText();
    return true;
}

} // namespace dayvex
