#include "todogrid.h"

#include <dayvex/control/twips.h>
#include <dayvex/model/todos.h>
#include <dayvex/views/todoorder.h>

#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QToolTip>

namespace dayvex {

namespace {
constexpr int Columns = 4;
const QColor DoneColor(0x80, 0x80, 0x80);
} // namespace

ToDoGrid::ToDoGrid(QWidget *parent)
    : ViewGrid(0, Columns, parent)
{
    setObjectName(QStringLiteral("DaFare"));
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setMinimumSectionSize(0);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setHighlightSections(false);
    // The description column ends at the viewport's edge, with or without a
    // vertical scroll bar, so its text is never cut by the frame.
    horizontalHeader()->setStretchLastSection(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setWordWrap(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true); // moving over the list hides the detail pane
}

void ToDoGrid::fill(const ToDoS &todos, const QStringList &captions)
{
    const TwipsScale scale = TwipsScale::of(this);
    setUpdatesEnabled(false);
    setColumnCount(Columns);
    setRowCount(0);
    setColumnWidth(0, 0);
    setColumnHidden(0, true);
    setColumnWidth(PriorityColumn, scale.toPixels(300));
    setColumnWidth(ProjectColumn, scale.toPixels(700));

    QStringList headings{QString()};
    for (int i = 0; i < 3; ++i)
        headings << captions.value(i).toLower();
    setHorizontalHeaderLabels(headings);

    std::vector<std::shared_ptr<ToDo>> records(todos.begin(), todos.end());
    std::vector<qint16> priorities;
    priorities.reserve(records.size());
    for (const auto &todo : records)
        priorities.push_back(todo->Priority);
    const std::vector<int> order = todoRowOrder(priorities);

    setRowCount(int(order.size()));
    for (int row = 0; row < rowCount(); ++row) {
        const ToDo &todo = *records[size_t(order[size_t(row)])];
        const QString cells[Columns] = {todo.Key, QString::number(todo.Priority), todo.Project, todo.ShortDesc};
        for (int column = 0; column < Columns; ++column) {
            auto *cell = new QTableWidgetItem(cells[column]);
            cell->setForeground(todo.Done ? DoneColor : QColor(Qt::black));
            setItem(row, column, cell);
        }
    }
    setCurrentCell(-1, -1);
    setUpdatesEnabled(true);
}

QString ToDoGrid::keyAt(int row) const
{
    const QTableWidgetItem *cell = item(row, 0);
    return cell ? cell->text() : QString();
}

void ToDoGrid::showDone(const QString &key)
{
    for (int row = 0; row < rowCount(); ++row) {
        if (keyAt(row) != key)
            continue;
        for (int column = 0; column < columnCount(); ++column) {
            if (QTableWidgetItem *cell = item(row, column))
                cell->setForeground(DoneColor);
        }
    }
}

void ToDoGrid::mouseMoveEvent(QMouseEvent *event)
{
    ViewGrid::mouseMoveEvent(event);
    // Some window systems repeat the position of a click as a move; only a real move counts.
    const QPoint pos = event->position().toPoint();
    if (pos == m_lastMove)
        return;
    m_lastMove = pos;
    emit hovered();
}

void ToDoGrid::keyPressEvent(QKeyEvent *event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentRow() >= 0) {
        emit enterPressed(currentRow());
        return;
    }
    if (event->key() == Qt::Key_Delete && currentRow() >= 0) {
        emit deletePressed(currentRow());
        return;
    }
    ViewGrid::keyPressEvent(event);
}

bool ToDoGrid::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return ViewGrid::viewportEvent(event);
    // The whole text of a cell, only where the column cuts it.
    const auto *help = static_cast<QHelpEvent *>(event);
    const QModelIndex index = indexAt(help->pos());
    const QTableWidgetItem *cell = itemFromIndex(index);
    const QRect rect = visualRect(index);
    const int room = rect.width() - 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1);
    if (cell && fontMetrics().horizontalAdvance(cell->text()) > room)
        QToolTip::showText(help->globalPos(), cell->text(), viewport(), rect);
    else
        QToolTip::hideText();
    return true;
}

} // namespace dayvex
