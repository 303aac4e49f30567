#pragma once

#include <dayvex/dayvex_export.h>

#include <dayvex/views/itemgestures.h>

#include <QListWidget>

namespace dayvex {

// The appointments of one day of the month view, laid into the day's cell. A
// line shows its start time and description, cut to the cell with "…" (the
// item's text stays the whole appointment line, which the tooltip shows); "+N"
// in the corner counts the lines below what the cell shows.
class DAYVEX_EXPORT DayList : public QListWidget
{
    Q_OBJECT
public:
    // The short form of a line that the cell shows.
    static constexpr int ShortLineRole = Qt::UserRole + 1;

    DayList(int index, QWidget *parent = nullptr);

    // The list's place among the day lists of the grid.
    int index() const { return m_index; }
    // Lines below the last one in view.
    int hiddenLines() const;
    // Clicks, double clicks, right clicks, Delete and Enter on the list.
    ItemGestures *gestures() const { return m_gestures; }

signals:
    // A mouse button went down over line (-1 for none).
    void pressed(dayvex::DayList *list, int line);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool viewportEvent(QEvent *event) override;

private:
    int m_index;
    ItemGestures *m_gestures = nullptr;
};

} // namespace dayvex
