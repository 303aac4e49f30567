#pragma once

#include <dayvex/dayvex_export.h>

#include <QObject>
#include <QPoint>

class QKeyEvent;
class QMouseEvent;

namespace dayvex {

// What an appointment box and a day list make alike of the mouse and the keys:
// a click, a double click (whose closing release is no click of its own), the
// right button's release, Delete and Enter. The item passes its events in.
class ItemGestures : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    void mouseReleased(const QMouseEvent *event, bool inside = true);
    void mouseDoubleClicked(const QMouseEvent *event);
    // Whether the key was one of the item's; Enter counts only where there is something to open.
    bool keyPressed(const QKeyEvent *event, bool canOpen = true);
    // The menu key acts as a right click at globalPos.
    void menuKeyPressed(const QPoint &globalPos) { emit rightReleased(globalPos); }

signals:
    void clicked();
    void doubleClicked();
    void rightReleased(const QPoint &globalPos);
    void deletePressed();
    void enterPressed();

private:
    bool m_endsDoubleClick = false;
};

} // namespace dayvex
