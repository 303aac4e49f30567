#pragma once

#include <dayvex/dayvex_export.h>

#include <QDate>
#include <QWidget>

class QCalendarWidget;

namespace dayvex {

// A month calendar that shows one month, or two side by side, with weeks
// starting on Monday; both months share one selected date.
class MonthCalendar : public QWidget
{
    Q_OBJECT
public:
    explicit MonthCalendar(QWidget *parent = nullptr);
    ~MonthCalendar() override;

    int monthColumns() const { return m_columns; }
    void setMonthColumns(int columns);

    QDate selectedDate() const;
    void setSelectedDate(const QDate &date);

    // The size of one month in pixels.
    QSize monthSizeHint() const;
    QSize sizeHint() const override;

signals:
    void dateClicked(const QDate &date);
    void selectionChanged(const QDate &start, const QDate &end);

private:
    void showPagesFor(const QDate &date);
    void select(QCalendarWidget *source);

    QCalendarWidget *m_months[2];
    int m_columns = 1;
    bool m_syncing = false;
};

} // namespace dayvex
