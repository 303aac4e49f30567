#pragma once

#include <dayvex/dayvex_export.h>

#include <dayvex/views/viewgrid.h>

namespace dayvex {

class ToDoS;

// The to-do list: a heading (the horizontal header) and one row per to-do in
// ascending priority, done ones in grey. Column 0 holds the key and is hidden.
class DAYVEX_EXPORT ToDoGrid : public ViewGrid
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
    // Greys the row of the to-do of key, as done ones are shown.
    void showDone(const QString &key);

signals:
    // The pointer moved over the rows.
    void hovered();
    // Enter or Return, and Delete, on the current row.
    void enterPressed(int row);
    void deletePressed(int row);

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool viewportEvent(QEvent *event) override;

private:
    QPoint m_lastMove;
};

} // namespace dayvex
