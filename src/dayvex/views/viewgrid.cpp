#include "viewgrid.h"

#include <dayvex/platform/twips.h>
#include <dayvex/layout/timegrid.h>

#include <QContextMenuEvent>
#include <QMouseEvent>

namespace dayvex {

int ViewGrid::rowCount() const
{
    return model() ? model()->rowCount() : 0;
}

int ViewGrid::columnCount() const
{
    return model() ? model()->columnCount() : 0;
}

void ViewGrid::setCurrentCell(int row, int column)
{
    setCurrentIndex(model() ? model()->index(row, column) : QModelIndex());
}

void ViewGrid::setCurrentCell(int row, int column, QItemSelectionModel::SelectionFlags command)
{
    if (selectionModel())
        selectionModel()->setCurrentIndex(model()->index(row, column), command);
}

std::pair<qint32, qint32> ViewGrid::cellAt(const QPoint &viewportPos) const
{
    const TwipsScale scale = TwipsScale::of(this);
    std::vector<double> starts, sizes;
    const auto section = [&](int count, auto position, auto size, int pos) {
        starts.clear();
        sizes.clear();
        for (int i = 0; i < count; ++i) {
            starts.push_back(scale.toTwips((this->*position)(i)));
            sizes.push_back(scale.toTwips((this->*size)(i)));
        }
        return sectionAt(starts, sizes, scale.toTwips(pos));
    };
    return {section(rowCount(), &ViewGrid::rowViewportPosition, &ViewGrid::rowHeight, viewportPos.y()),
            section(columnCount(), &ViewGrid::columnViewportPosition, &ViewGrid::columnWidth, viewportPos.x())};
}

void ViewGrid::mouseReleaseEvent(QMouseEvent *event)
{
    QTableView::mouseReleaseEvent(event);
    emit released(event->position().toPoint(), event->button(), event->globalPosition().toPoint());
}

void ViewGrid::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() != QContextMenuEvent::Keyboard)
        return;
    const QModelIndex current = currentIndex();
    const QPoint at = current.isValid() ? visualRect(current).center() : QPoint(1, 1);
    emit released(at, Qt::RightButton, viewport()->mapToGlobal(at));
}

void ViewGrid::mouseDoubleClickEvent(QMouseEvent *event)
{
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton)
        emit doubleClickedAt(event->position().toPoint());
}

} // namespace dayvex
