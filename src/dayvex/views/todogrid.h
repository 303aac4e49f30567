#pragma once

#include <dayvex/platform/date.h>

#include <dayvex/dayvex_export.h>

#include <dayvex/views/viewgrid.h>

#include <QAbstractTableModel>

#include <vector>

namespace dayvex {

class ToDoS;

// The rows of the to-do list as the last fill found the to-dos: the texts are
// shared with the records, so a fill copies no characters.
class ToDoListModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    static constexpr int Columns = 4;

    using QAbstractTableModel::QAbstractTableModel;

    void fill(const ToDoS &todos, const QStringList &headings);
    void markDone(int row);
    bool isDone(int row) const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    struct Row
    {
        QString key;
        QString project;
        QString shortDesc;
        qint16 priority = 0;
        bool done = false;
        Date due;
    };
    std::vector<Row> m_rows;
    QStringList m_headings;
};

// The to-do list: a heading (the horizontal header) and one row per to-do in
// ascending priority, done ones in grey. Column 0 holds the key and is hidden.
class ToDoGrid : public ViewGrid
{
    Q_OBJECT
public:
    static constexpr int PriorityColumn = 1;
    static constexpr int ProjectColumn = 2;
    static constexpr int DescriptionColumn = 3;

    explicit ToDoGrid(QWidget *parent = nullptr);

    // Rebuilds the rows from todos. captions: the headings of the priority,
    // project and description columns, shown in lower case. The description
    // column takes what the others leave of the viewport.
    void fill(const ToDoS &todos, const QStringList &captions);

    // The key of the to-do shown in row, empty for a row without one.
    QString keyAt(int row) const;
    // What a cell shows.
    QString cellText(int row, int column) const;
    // Whether row shows a done to-do, in grey.
    bool isDone(int row) const;
    // Greys the row of the to-do of key, as done ones are shown.
    void showDone(const QString &key);
    // true: the description column stretches to the viewport's edge, never cut
    // by the frame; false: it is the list's width less 1,000 twips, as the
    // control has always laid it out.
    void setStretchDescription(bool on);

signals:
    // The pointer moved over the rows.
    void hovered();
    // Enter or Return, and Delete, on the current row.
    void enterPressed(int row);
    void deletePressed(int row);
    // Space on the current row, and Insert.
    void spacePressed(int row);
    void insertPressed();

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    ToDoListModel *m_rows;
    QPoint m_lastMove;
    bool m_stretch = false;
    void sizeColumns();
};

} // namespace dayvex
