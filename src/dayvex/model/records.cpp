// The records are plain structs; besides their meta-objects this unit holds
// their Qt-typed accessors.
#include "records.h"

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
