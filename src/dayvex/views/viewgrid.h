#pragma once

#include <dayvex/dayvex_export.h>

#include <QTableWidget>

#include <utility>

namespace dayvex {

// A table that reports mouse releases and double clicks with their viewport
// position and finds the cell under a point from its row heights and column widths.
class DAYVEX_EXPORT ViewGrid : public QTableWidget
{
    Q_OBJECT
public:
    using QTableWidget::QTableWidget;

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
