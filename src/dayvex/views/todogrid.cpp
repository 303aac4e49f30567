#include "todogrid.h"

#include <dayvex/control/twips.h>
#include <dayvex/model/todos.h>
#include <dayvex/views/todoorder.h>

#include <QHeaderView>
#include <QMouseEvent>

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
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setWordWrap(false);
    // The columns add up to the grid's outer width; the frame would otherwise
    // call for a scroll bar of a few pixels.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true); // moving over the list hides the detail pane
}

void ToDoGrid::fill(const ToDoS &todos, const QStringList &captions, double width)
{
    const TwipsScale scale = TwipsScale::of(this);
    setUpdatesEnabled(false);
    setColumnCount(Columns);
    setRowCount(0);
    setColumnWidth(0, 0);
    setColumnHidden(0, true);
    setColumnWidth(1, scale.toPixels(300));
    setColumnWidth(2, scale.toPixels(700));
    setColumnWidth(3, qMax(0, scale.toPixels(width - 1000)));

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

} // namespace dayvex

namespace dayvex {

void ToDoGrid::mouseMoveEvent(QMouseEvent *event)
{
    ViewGrid::mouseMoveEvent(event);
    emit hovered();
}

} // namespace dayvex
