#include "detailpane.h"

#include <dayvex/control/twips.h>
#include <dayvex/i18n/language.h>
#include <dayvex/platform/format.h>
#include <dayvex/views/appointmentbox.h>

#include <QLineEdit>
#include <QMouseEvent>
#include <QTextEdit>
#include <QVBoxLayout>

namespace dayvex {

namespace detail {

QString boxCaption(const AgendaEntry &entry)
{
    return entry.dates.left(16) + QStringLiteral(" - ") + entry.times.right(5);
}

QString boxText(const AgendaEntry &entry)
{
    QString text = entry.line;
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

QString toDoText(const ToDo &todo, const QString &dateFormat)
{
    const QString separator = QStringLiteral(": ");
    const QStringList lines{
        text(Text::DueTo) + separator + formatDate(todo.DueTo, dateFormat),
        text(Text::Status) + separator + text(todo.Done ? Text::Done : Text::ToBeDone),
        text(Text::ShortDescription) + separator + todo.ShortDesc,
        QStringLiteral("---------------------------------------"),
        text(Text::Description) + separator + todo.LongDesc,
    };
    return lines.join(QStringLiteral("\r\n"));
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

QSize DetailPane::defaultSize() const
{
    const TwipsScale scale = TwipsScale::of(this);
    return {scale.toPixels(PaneWidth), scale.toPixels(PaneHeight)};
}

void DetailPane::showAt(QRect area, const QString &caption, const QString &text)
{
    if (parentWidget()) {
        const QRect room = parentWidget()->rect();
        area.setWidth(qMin(area.width(), room.width()));
        area.setHeight(qMin(area.height(), room.height()));
        area.moveRight(qMin(area.right(), room.right()));
        area.moveBottom(qMin(area.bottom(), room.bottom()));
    }
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

void DetailPane::mouseReleaseEvent(QMouseEvent *event)
{
    QGroupBox::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit clicked();
}

} // namespace dayvex
