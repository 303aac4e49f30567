#include "itemgestures.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include <utility>

namespace dayvex {

void ItemGestures::mouseReleased(const QMouseEvent *event, bool inside)
{
    if (std::exchange(m_endsDoubleClick, false) || !inside)
        return;
    if (event->button() == Qt::LeftButton)
        emit clicked();
    else if (event->button() == Qt::RightButton)
        emit rightReleased(event->globalPosition().toPoint());
}

void ItemGestures::mouseDoubleClicked(const QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_endsDoubleClick = true;
    emit doubleClicked();
}

bool ItemGestures::keyPressed(const QKeyEvent *event, bool canOpen)
{
    switch (event->key()) {
    case Qt::Key_Delete:
        emit deletePressed();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (canOpen)
            emit enterPressed();
        return true;
    default:
        return false;
    }
}

} // namespace dayvex
