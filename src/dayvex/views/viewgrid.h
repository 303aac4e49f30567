#pragma once

#include <dayvex/dayvex_export.h>

#include <QItemSelectionModel>
#include <QTableView>

#include <utility>

namespace dayvex {

// A table that reports mouse releases and double clicks with their viewport
// position and finds the cell under a point from its row heights and column
// widths. Its cells come from the model of the grid that derives from it.
class ViewGrid : public QTableView
{
    Q_OBJECT
public:
    using QTableView::QTableView;

    int rowCount() const;
    int columnCount() const;
    // The current cell; -1 for none.
    int currentRow() const { return currentIndex().row(); }
    int currentColumn() const { return currentIndex().column(); }
    // As a click on the cell would set it, or with the selection change of command.
    void setCurrentCell(int row, int column);
    void setCurrentCell(int row, int column, QItemSelectionModel::SelectionFlags command);

    // Row and column under a viewport point; -1 for either where there is none.
    std::pair<qint32, qint32> cellAt(const QPoint &viewportPos) const;

signals:
    void released(const QPoint &viewportPos, Qt::MouseButton button, const QPoint &globalPos);
    void doubleClickedAt(const QPoint &viewportPos);

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    // The menu key acts as a right click on the current cell.
    void contextMenuEvent(QContextMenuEvent *event) override;
};

} // namespace dayvex
