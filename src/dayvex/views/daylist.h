#pragma once

#include <dayvex/dayvex_export.h>

#include <dayvex/layout/agendaentry.h>
#include <dayvex/views/itemgestures.h>

#include <QAbstractListModel>
#include <QListView>
#include <QPalette>

#include <vector>

namespace dayvex {

// The appointments of one day as lines: a line's text is made only when the
// list shows it.
class DayLines : public QAbstractListModel
{
    Q_OBJECT
public:
    // The short form of a line that the cell shows.
    static constexpr int ShortLineRole = Qt::UserRole + 1;

    using QAbstractListModel::QAbstractListModel;

    const std::vector<AgendaEntry> &entries() const { return m_entries; }
    // palette: where the appointments' colours are looked up; day: the day the
    // lines are of, empty when each is of its own start's day.
    void setEntries(std::vector<AgendaEntry> entries, const QPalette &palette, Date day = Date());

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    std::vector<AgendaEntry> m_entries;
    QPalette m_palette;
    Date m_day;
};

// The appointments of one day of the month view, laid into the day's cell. A
// line shows its start time and description, cut to the cell with "…" (the
// whole appointment line is the line's text, which the tooltip shows); "+N"
// in the corner counts the lines below what the cell shows.
class DayList : public QListView
{
    Q_OBJECT
public:
    static constexpr int ShortLineRole = DayLines::ShortLineRole;

    DayList(int index, QWidget *parent = nullptr);

    // The list's place among the day lists of the grid.
    int index() const { return m_index; }
    const std::vector<AgendaEntry> &entries() const { return m_lines->entries(); }
    // day: as DayLines::setEntries.
    void setEntries(std::vector<AgendaEntry> entries, Date day = Date());
    int count() const { return int(entries().size()); }
    // The whole appointment line of line.
    QString lineText(int line) const;
    // The line with the keyboard focus; -1 for none.
    int currentRow() const { return currentIndex().row(); }
    void setCurrentRow(int line);
    // Lines below the last one in view.
    int hiddenLines() const;
    // Clicks, double clicks, right clicks, Delete and Enter on the list.
    ItemGestures *gestures() const { return m_gestures; }

    // Modern: a cell that cannot show every line ends with a "+N more" line in
    // place of its last one, and a click on it asks for the whole day.
    void setModern(bool on);
    // Where the "+N more" line stands, in viewport pixels; null when every line shows.
    QRect moreLine() const;

signals:
    // Modern: the "+N more" line was clicked.
    void moreClicked(dayvex::DayList *list);
    // A mouse button went down over line (-1 for none).
    void pressed(dayvex::DayList *list, int line);
    // Modern: Ctrl+Down (1) or Ctrl+Up (-1), for the next or previous appointment in time.
    void stepped(int direction);

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
    DayLines *m_lines;
    ItemGestures *m_gestures = nullptr;
    bool m_modern = false;
};

} // namespace dayvex
