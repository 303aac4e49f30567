// The records are plain structs; besides their meta-objects this unit holds
// their Qt-typed accessors.
#include "records.h"

#include <cmath>

namespace dayvex {

namespace {
QDateTime toQt(Date date)
{
    return date.isValid() && !date.isEmpty() ? date.toDateTime() : QDateTime();
}

Date fromQt(const QDateTime &value)
{
    return value.isValid() ? Date::fromDateTime(value) : Date();
}
} // namespace

QDateTime Schedule::start() const { return toQt(StartDate); }
void Schedule::setStart(const QDateTime &value) { StartDate = fromQt(value); }
QDateTime Schedule::end() const { return toQt(EndDate); }
void Schedule::setEnd(const QDateTime &value) { EndDate = fromQt(value); }
QDateTime Schedule::reminder() const { return toQt(ReminderDate); }
void Schedule::setReminder(const QDateTime &value) { ReminderDate = fromQt(value); }

qint64 Schedule::reminderLead() const
{
    if (ReminderLead != NoLead)
        return ReminderLead;
    // By the calendar, as the series repeats on the wall clock.
    const auto seconds = [](Date date) {
        return qint64(QDate(1899, 12, 30).daysTo(date.toDate())) * 86400 + date.toTime().msecsSinceStartOfDay() / 1000;
    };
    const bool readable = ReminderDate.isValid() && StartDate.isValid() && std::isfinite(ReminderDate.value())
                          && ReminderDate.value() > 0.0;
    return readable ? seconds(StartDate) - seconds(ReminderDate) : 0;
}

void Schedule::setReminderLead(qint64 seconds)
{
    ReminderLead = qint32(qBound<qint64>(qint64(NoLead) + 1, seconds, std::numeric_limits<qint32>::max()));
}

QColor Schedule::color() const
{
    if (Color == 0)
        return QColor();
    const quint32 bgr = quint32(Color);
    return QColor(int(bgr & 0xFF), int((bgr >> 8) & 0xFF), int((bgr >> 16) & 0xFF));
}

void Schedule::setColor(const QColor &value)
{
    if (!value.isValid()) {
        Color = 0;
        return;
    }
    const QColor rgb = value.toRgb();
    Color = qint32(quint32(rgb.red()) | quint32(rgb.green()) << 8 | quint32(rgb.blue()) << 16);
}

QDateTime ToDo::due() const { return toQt(DueTo); }
void ToDo::setDue(const QDateTime &value) { DueTo = fromQt(value); }
QDateTime ToDo::reminder() const { return toQt(ReminderDate); }
void ToDo::setReminder(const QDateTime &value) { ReminderDate = fromQt(value); }
QDateTime ToDo::doneAt() const { return toQt(DateDone); }
void ToDo::setDoneAt(const QDateTime &value) { DateDone = fromQt(value); }

} // namespace dayvex
