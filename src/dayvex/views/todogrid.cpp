#include "todogrid.h"

#include <QLocale>

#include <cmath>

#include <dayvex/platform/twips.h>
#include <dayvex/model/todos.h>
#include <dayvex/views/cachedtextdelegate.h>
#include <dayvex/layout/todoorder.h>

#include <QContextMenuEvent>
#include <QCursor>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QToolTip>

namespace dayvex {

namespace {
const QColor DoneColor(0x80, 0x80, 0x80);
} // namespace

void ToDoListModel::fill(const ToDoS &todos, const QStringList &headings)
{
    std::vector<qint16> priorities;
    priorities.reserve(size_t(todos.Count()));
    for (const auto &todo : todos)
        priorities.push_back(todo->Priority);
    const std::vector<int> order = todoRowOrder(priorities);
    std::vector<Row> rows;
    rows.reserve(order.size());
    for (int index : order) {
        const ToDo &todo = *todos.Item(index + 1);
        rows.push_back({todo.Key, todo.Project, todo.ShortDesc, todo.Priority, todo.Done, todo.DueTo});
    }
    // As many rows as before: new data for the same rows, which the view can
    // paint without laying out the table again.
    if (rows.size() == m_rows.size() && headings == m_headings) {
        m_rows.swap(rows);
        if (!m_rows.empty())
            emit dataChanged(index(0, 0), index(int(m_rows.size()) - 1, Columns - 1));
        return;
    }
    beginResetModel();
    m_rows.swap(rows);
    m_headings = headings;
    endResetModel();
}

void ToDoListModel::markDone(int row)
{
    m_rows[size_t(row)].done = true;
    emit dataChanged(index(row, 0), index(row, Columns - 1), {Qt::ForegroundRole});
}

bool ToDoListModel::isDone(int row) const
{
    return row >= 0 && size_t(row) < m_rows.size() && m_rows[size_t(row)].done;
}

int ToDoListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ToDoListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : Columns;
}

QVariant ToDoListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || size_t(index.row()) >= m_rows.size())
        return {};
    const Row &row = m_rows[size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case 0: return row.key;
        case ToDoGrid::PriorityColumn: return QString::number(row.priority);
        case ToDoGrid::ProjectColumn: return row.project;
        default: return row.shortDesc;
        }
    case Qt::ForegroundRole:
        return row.done ? DoneColor : QColor(Qt::black);
    case Qt::AccessibleTextRole: {
        // What the grey of a done row tells the eye, in words for a reader.
        QStringList parts{row.shortDesc, tr("priority %1").arg(row.priority)};
        if (!row.project.isEmpty())
            parts << row.project;
        if (row.due.isValid() && !row.due.isEmpty() && std::isfinite(row.due.value()))
            parts << tr("due %1").arg(QLocale().toString(row.due.toDateTime(), QStringLiteral("dddd d MMMM HH:mm")));
        parts << (row.done ? tr("done") : tr("to do"));
        return parts.join(QStringLiteral(", "));
    }
    default:
        return {};
    }
}

QVariant ToDoListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return m_headings.value(section);
}

ToDoGrid::ToDoGrid(QWidget *parent)
    : ViewGrid(parent)
    , m_rows(new ToDoListModel(this))
{
    setObjectName(QStringLiteral("DaFare"));
    setModel(m_rows);
    setItemDelegate(new CachedTextDelegate(this));
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
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true); // moving over the list hides the detail pane
}

void ToDoGrid::fill(const ToDoS &todos, const QStringList &captions)
{
    QStringList headings{QString()};
    for (int i = 0; i < 3; ++i)
        headings << captions.value(i).toLower();
    m_rows->fill(todos, headings);

    const TwipsScale scale = TwipsScale::of(this);
    setColumnHidden(0, true);
    setColumnWidth(PriorityColumn, scale.toPixels(300));
    setColumnWidth(ProjectColumn, scale.toPixels(700));
    sizeColumns();
    selectionModel()->clear();
}

void ToDoGrid::setStretchDescription(bool on)
{
    m_stretch = on;
    horizontalHeader()->setStretchLastSection(on);
    sizeColumns();
}

void ToDoGrid::sizeColumns()
{
    if (model()->columnCount() <= DescriptionColumn)
        return;
    if (!m_stretch) {
        setColumnWidth(DescriptionColumn, qMax(0, width() - TwipsScale::of(this).toPixels(1000)));
        return;
    }
    // The priority and the project as wide as their texts, the project at most
    // two fifths of the list: the description has the rest.
    const auto needed = [this](int column) {
        return qMax(sizeHintForColumn(column), horizontalHeader()->sectionSizeHint(column));
    };
    setColumnWidth(PriorityColumn, needed(PriorityColumn));
    setColumnWidth(ProjectColumn, qMin(needed(ProjectColumn), viewport()->width() * 2 / 5));
}

void ToDoGrid::resizeEvent(QResizeEvent *event)
{
    ViewGrid::resizeEvent(event);
    sizeColumns();
}

QString ToDoGrid::keyAt(int row) const
{
    return cellText(row, 0);
}

QString ToDoGrid::cellText(int row, int column) const
{
    return m_rows->index(row, column).data().toString();
}

bool ToDoGrid::isDone(int row) const
{
    return m_rows->isDone(row);
}

void ToDoGrid::showDone(const QString &key)
{
    // Every row of the key: a host may have stored two to-dos whose keys differ only in case.
    for (int row = 0; row < rowCount(); ++row) {
        if (keyAt(row) == key)
            m_rows->markDone(row);
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
    if (m_stretch && event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
        QContextMenuEvent menu(QContextMenuEvent::Keyboard, QPoint(), QCursor::pos());
        contextMenuEvent(&menu);
        return;
    }
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier && currentRow() >= 0) {
        emit spacePressed(currentRow());
        return;
    }
    if (event->key() == Qt::Key_Insert) {
        emit insertPressed();
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
    const QString text = index.data().toString();
    const QRect rect = visualRect(index);
    const int room = rect.width() - 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1);
    if (index.isValid() && fontMetrics().horizontalAdvance(text) > room)
        QToolTip::showText(help->globalPos(), text, viewport(), rect);
    else
        QToolTip::hideText();
    return true;
}

} // namespace dayvex
