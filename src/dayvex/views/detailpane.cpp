#include "detailpane.h"

#include <dayvex/platform/twips.h>
#include <dayvex/i18n/language.h>
#include <dayvex/platform/format.h>
#include <dayvex/views/appointmentbox.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTextEdit>
#include <QVBoxLayout>

namespace dayvex {

namespace detail {

QString boxCaption(const AgendaEntry &entry)
{
    return entry.dates().left(16) + QStringLiteral(" - ") + entry.times().right(5);
}

QString boxText(const AgendaEntry &entry)
{
    QString text = entry.line();
    return text.replace(QLatin1Char('|'), QChar::ParagraphSeparator);
}

QString listCaption(const QString &dayDates, const QString &line)
{
    return dayDates.left(11) + line.left(5) + QStringLiteral(" - ") + line.mid(6, 5);
}

QString listText(const QString &line)
{
    return line.mid(12);
}

QString toDoText(const ToDo &todo, const QString &dateFormat, const LanguageTable &language)
{
    const QString separator = QStringLiteral(": ");
    const QStringList lines{
        language.text(Text::DueTo) + separator + formatDate(todo.DueTo, dateFormat),
        language.text(Text::Status) + separator + language.text(todo.Done ? Text::Done : Text::ToBeDone),
        language.text(Text::ShortDescription) + separator + todo.ShortDesc,
        QStringLiteral("---------------------------------------"),
        language.text(Text::Description) + separator + todo.LongDesc,
    };
    return lines.join(QStringLiteral("\r\n"));
}

namespace {
QRectF keptInside(QRectF area, const QRectF &room)
{
    area.setWidth(qMin(area.width(), room.width()));
    area.setHeight(qMin(area.height(), room.height()));
    area.moveLeft(qBound(room.left(), area.left(), room.right() - area.width()));
    area.moveTop(qBound(room.top(), area.top(), room.bottom() - area.height()));
    return area;
}
} // namespace

QRectF besideItem(const QRectF &item, const QSizeF &pane, const QRectF &room)
{
    QRectF area(QPointF(item.right(), item.top()), pane);
    if (area.right() > room.right()) {
        area.moveRight(item.left());
        if (area.left() < room.left())
            area.moveLeft(item.left());
    }
    return keptInside(area, room);
}

QRectF aboveList(const QRectF &list, const QSizeF &pane, const QRectF &room)
{
    // The left edge stays the list's: the width is cut where the list passes room.
    const double height = qMax(0.0, qMin(pane.height(), list.top() - room.top()));
    const double width = qMax(0.0, qMin(list.width(), room.right() - list.left()));
    return keptInside(QRectF(list.left(), list.top() - height, width, height), room);
}

} // namespace detail

namespace {
constexpr double PaneWidth = 3600;
constexpr double PaneHeight = 1800;
} // namespace

DetailPane::DetailPane(QWidget *parent)
    : QGroupBox(QStringLiteral("23/2/2002 19:30 - 20:30"), parent)
{
    setObjectName(QStringLiteral("frShowApp"));
    setAutoFillBackground(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    m_txDat = new QLineEdit(QStringLiteral("10:00-12:30"), this);
    m_txDat->setObjectName(QStringLiteral("txDat"));
    m_txDat->setReadOnly(true);
    m_txDat->hide(); // kept for hosts that look for it; the pane shows txDesApp
    m_txDesApp = new QTextEdit(this);
    m_txDesApp->setObjectName(QStringLiteral("txDesApp"));
    m_txDesApp->setReadOnly(true);
    m_txDesApp->setFont(AppointmentBox::boxFont());
    layout->addWidget(m_txDat);
    layout->addWidget(m_txDesApp);
    hide();
}

namespace {
QRectF toTwips(const QRect &r, const TwipsScale &scale)
{
    return {scale.toTwips(r.x()), scale.toTwips(r.y()), scale.toTwips(r.width()), scale.toTwips(r.height())};
}

QRect toPixels(const QRectF &r, const TwipsScale &scale)
{
    return {scale.toPixels(r.x()), scale.toPixels(r.y()), scale.toPixels(r.width()), scale.toPixels(r.height())};
}
} // namespace

QRect DetailPane::areaBeside(const QRect &item, const QRect &room) const
{
    const TwipsScale scale = TwipsScale::of(this);
    return toPixels(detail::besideItem(toTwips(item, scale), QSizeF(PaneWidth, PaneHeight), toTwips(room, scale)),
                    scale);
}

QRect DetailPane::areaAt(const QPoint &topLeft) const
{
    const TwipsScale scale = TwipsScale::of(this);
    return {topLeft, QSize(scale.toPixels(PaneWidth), scale.toPixels(PaneHeight))};
}

QRect DetailPane::areaAbove(const QRect &list, const QRect &room) const
{
    const TwipsScale scale = TwipsScale::of(this);
    return toPixels(detail::aboveList(toTwips(list, scale), QSizeF(PaneWidth, PaneHeight), toTwips(room, scale)),
                    scale);
}

void DetailPane::showAt(const QRect &area, const QString &caption, const QString &text)
{
    setGeometry(area);
    setTitle(caption);
    m_txDesApp->clear();
    m_txDesApp->setPlainText(text);
    show();
    raise();
}

QString DetailPane::text() const
{
    return m_txDesApp->toPlainText();
}

void DetailPane::showEvent(QShowEvent *event)
{
    QGroupBox::showEvent(event);
    qApp->installEventFilter(this);
}

void DetailPane::hideEvent(QHideEvent *event)
{
    qApp->removeEventFilter(this);
    QGroupBox::hideEvent(event);
}

bool DetailPane::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWidgetType())
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        // A press anywhere but on the pane closes it, as a pop-up closes; the press goes on.
        if (widget != this && !isAncestorOf(widget))
            hide();
        break;
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape && widget->window() == window()) {
            hide();
            return true;
        }
        break;
    default:
        break;
    }
    return false;
}

void DetailPane::mouseReleaseEvent(QMouseEvent *event)
{
    QGroupBox::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit clicked();
}

} // namespace dayvex
