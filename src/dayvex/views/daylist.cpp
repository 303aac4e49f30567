#include "daylist.h"

#include <dayvex/platform/color.h>
#include <dayvex/views/appointmentbox.h>
#include <dayvex/views/cachedtextdelegate.h>
#include <dayvex/layout/textfit.h>

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
class ShortLineDelegate : public CachedTextDelegate
{
public:
    using CachedTextDelegate::CachedTextDelegate;

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

void DayLines::setEntries(std::vector<AgendaEntry> entries, const QPalette &palette, Date day)
{
    beginResetModel();
    m_entries = std::move(entries);
    m_palette = palette;
    m_day = day;
    endResetModel();
}

int DayLines::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
}

QVariant DayLines::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || size_t(index.row()) >= m_entries.size())
        return {};
    const AgendaEntry &entry = m_entries[size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return entry.line();
    case ShortLineRole: {
        // A day after the one it starts on shows it going on, not its start again.
        const bool goingOn = !m_day.isEmpty() && entry.start < m_day;
        return (goingOn ? QStringLiteral("\u2192") : entry.line().left(5)) + QLatin1Char(' ')
               + (entry.description.isEmpty() ? entry.line().mid(12) : entry.description);
    }
    case Qt::BackgroundRole:
        return entry.color != 0 ? QVariant(oleColor(quint32(entry.color), m_palette)) : QVariant();
    default:
        return {};
    }
}

DayList::DayList(int index, QWidget *parent)
    : QListView(parent)
    , m_index(index)
    , m_lines(new DayLines(this))
{
    setObjectName(QStringLiteral("lstApp"));
    setModel(m_lines);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
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

void DayList::setEntries(std::vector<AgendaEntry> entries, Date day)
{
    m_lines->setEntries(std::move(entries), palette(), day);
}

QString DayList::lineText(int line) const
{
    return m_lines->index(line).data().toString();
}

void DayList::setCurrentRow(int line)
{
    setCurrentIndex(m_lines->index(line));
}

int DayList::hiddenLines() const
{
    if (count() == 0)
        return 0;
    const int rowHeight = qMax(1, sizeHintForRow(0));
    const int first = qMax(0, indexAt(QPoint(0, 0)).row());
    const int rows = viewport()->height() / rowHeight;
    const int below = linesBelow(count(), first, rows);
    // The "+N more" line takes the place of the last line in view.
    return m_modern && below > 0 && rows > 0 ? below + 1 : below;
}

void DayList::setModern(bool on)
{
    m_modern = on;
    viewport()->update();
}

QRect DayList::moreLine() const
{
    if (!m_modern || count() == 0 || hiddenLines() == 0)
        return {};
    const int rowHeight = qMax(1, sizeHintForRow(0));
    const int rows = viewport()->height() / rowHeight;
    if (rows == 0)
        return {};
    return QRect(0, (rows - 1) * rowHeight, viewport()->width(), rowHeight);
}

void DayList::mousePressEvent(QMouseEvent *event)
{
    QListView::mousePressEvent(event);
    emit pressed(this, indexAt(event->position().toPoint()).row());
}

void DayList::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && moreLine().contains(event->position().toPoint())) {
        emit moreClicked(this);
        return;
    }
    QListView::mouseReleaseEvent(event);
    m_gestures->mouseReleased(event);
}

void DayList::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_gestures->mouseDoubleClicked(event);
}

void DayList::keyPressEvent(QKeyEvent *event)
{
    if (m_modern && event->modifiers() == Qt::ControlModifier
        && (event->key() == Qt::Key_Down || event->key() == Qt::Key_Up)) {
        emit stepped(event->key() == Qt::Key_Down ? 1 : -1);
        return;
    }
    if (!m_gestures->keyPressed(event, currentRow() >= 0))
        QListView::keyPressEvent(event);
}

void DayList::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard && currentIndex().isValid())
        m_gestures->menuKeyPressed(viewport()->mapToGlobal(visualRect(currentIndex()).center()));
}

void DayList::paintEvent(QPaintEvent *event)
{
    QListView::paintEvent(event);
    const int hidden = hiddenLines();
    if (hidden == 0)
        return;
    QPainter painter(viewport());
    if (m_modern) {
        const QRect more = moreLine();
        // Over the part of a line that would show below it too.
        painter.fillRect(more.adjusted(0, 0, 0, viewport()->height()), palette().color(QPalette::Base));
        painter.setPen(palette().color(QPalette::Link));
        painter.drawText(more.adjusted(3, 0, -3, 0), Qt::AlignLeft | Qt::AlignVCenter,
                         tr("+%n more", nullptr, hidden));
        return;
    }
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
        return QListView::viewportEvent(event);
    // A line always shows less than the appointment line: the tooltip has it whole.
    const auto *help = static_cast<QHelpEvent *>(event);
    const QModelIndex line = indexAt(help->pos());
    if (line.isValid())
        QToolTip::showText(help->globalPos(), line.data().toString(), viewport(), visualRect(line));
    else
        QToolTip::hideText();
    return true;
}

} // namespace dayvex
