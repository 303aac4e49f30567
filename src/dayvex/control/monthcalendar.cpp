#include "monthcalendar.h"

#include <dayvex/editing/editorform.h>

#include <QCalendarWidget>
#include <QHBoxLayout>
#include <QSignalBlocker>

namespace dayvex {

MonthCalendar::MonthCalendar(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (QCalendarWidget *&month : m_months) {
        month = new QCalendarWidget(this);
        month->setFirstDayOfWeek(Qt::Monday);
        month->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
        month->setGridVisible(false);
        // A reader names the month's days by their cells; the widget and its table by what they are.
        month->setAccessibleName(tr("Month calendar"));
        if (QWidget *days = month->findChild<QWidget *>(QStringLiteral("qt_calendar_calendarview")))
            days->setAccessibleName(tr("Days of the month"));
        if (QWidget *year = month->findChild<QWidget *>(QStringLiteral("qt_calendar_yearedit")))
            year->setAccessibleName(tr("Year"));
        layout->addWidget(month);
        connect(month, &QCalendarWidget::clicked, this, [this, month](const QDate &date) {
            select(month);
            emit dateClicked(date);
        });
        connect(month, &QCalendarWidget::selectionChanged, this, [this, month] {
            if (!m_syncing)
                select(month);
        });
    }
    // The second month follows the first.
    connect(m_months[0], &QCalendarWidget::currentPageChanged, this, [this](int year, int month) {
        const QDate next = QDate(year, month, 1).addMonths(1);
        m_months[1]->setCurrentPage(next.year(), next.month());
    });
    connect(m_months[1], &QCalendarWidget::currentPageChanged, this, [this](int year, int month) {
        const QDate previous = QDate(year, month, 1).addMonths(-1);
        m_months[0]->setCurrentPage(previous.year(), previous.month());
    });
    m_months[1]->setNavigationBarVisible(true);
    m_months[1]->hide();
    setSelectedDate(QDate::currentDate());
}

MonthCalendar::~MonthCalendar()
{
    // A day typed into a month and not yet taken would be left behind with the months.
    form::endCalendarTyping(this);
}

void MonthCalendar::setMonthColumns(int columns)
{
    m_columns = columns >= 2 ? 2 : 1;
    m_months[1]->setVisible(m_columns == 2);
    updateGeometry();
}

QDate MonthCalendar::selectedDate() const
{
    return m_months[0]->selectedDate();
}

void MonthCalendar::setSelectedDate(const QDate &date)
{
    if (!date.isValid())
        return;
    m_syncing = true;
    for (QCalendarWidget *month : m_months) {
        const QSignalBlocker block(month);
        month->setSelectedDate(date);
    }
    m_syncing = false;
    showPagesFor(date);
}

void MonthCalendar::showPagesFor(const QDate &date)
{
    const QDate firstPage(m_months[0]->yearShown(), m_months[0]->monthShown(), 1);
    const QDate lastShown = firstPage.addMonths(m_columns).addDays(-1);
    if (date >= firstPage && date <= lastShown) {
        const QDate next = firstPage.addMonths(1);
        m_months[1]->setCurrentPage(next.year(), next.month());
        return;
    }
    m_months[0]->setCurrentPage(date.year(), date.month());
}

void MonthCalendar::select(QCalendarWidget *source)
{
    const QDate date = source->selectedDate();
    m_syncing = true;
    for (QCalendarWidget *month : m_months) {
        if (month != source) {
            const QSignalBlocker block(month);
            month->setSelectedDate(date);
        }
    }
    m_syncing = false;
    showPagesFor(date);
    emit selectionChanged(date, date);
}

QSize MonthCalendar::monthSizeHint() const
{
    return m_months[0]->sizeHint();
}

QSize MonthCalendar::sizeHint() const
{
    const QSize month = monthSizeHint();
    return QSize(month.width() * m_columns, month.height());
}

} // namespace dayvex
