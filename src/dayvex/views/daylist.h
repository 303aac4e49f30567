#pragma once

#include <dayvex/dayvex_export.h>

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

signals:
    void pressed(dayvex::DayList *list, int line);
    void clicked(dayvex::DayList *list);
    void doubleClicked(dayvex::DayList *list);
    void rightReleased(dayvex::DayList *list, const QPoint &globalPos);
    void deletePressed(dayvex::DayList *list);
    void enterPressed(dayvex::DayList *list);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool viewportEvent(QEvent *event) override;

private:
    int m_index;
    bool m_endsDoubleClick = false;
};

} // namespace dayvex
