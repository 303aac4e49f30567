#include "propertytable.h"

#include "zntdayvex_p.h"

#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <QTimer>

#include <array>
#include <type_traits>
#include <cstring>

namespace dayvex {

namespace {

using Stored = ControlProperty::Stored;

bool any(const QVariant &) { return true; }
bool timeText(const QVariant &value) { return isDate(value.toString()); }
// A step from 5 to 179 minutes.
bool stepInRange(const QVariant &value) { return value.toInt() > 4 && value.toInt() < 180; }

// A row whose value is a field of the control's settings, shared by every control unless instances keep their own.
template <auto field>
ControlProperty shared(const char *name, Stored stored, QVariant (*defaultValue)(),
                       bool (*accepts)(const QVariant &) = any)
{
    using Value = std::remove_cvref_t<decltype(std::declval<SharedSettings &>().*field)>;
    return {name, stored, defaultValue, QVariant(), true, accepts,
            [](const zntDayvexPrivate &c) { return QVariant::fromValue(c.settings().*field); },
            [](zntDayvexPrivate &c, const QVariant &v) { c.settings().*field = v.value<Value>(); }};
}

const std::array<ControlProperty, 16> &table()
{
    static const std::array<ControlProperty, 16> rows = [] {
        std::array<ControlProperty, 16> r = {
            shared<&SharedSettings::DayStartTime>("DayStartTime", Stored::Text,
                                                           [] { return QVariant(QStringLiteral("08:00")); }, timeText),
            shared<&SharedSettings::DayEndTime>("DayEndTime", Stored::Text,
                                                         [] { return QVariant(QStringLiteral("20:00")); }, timeText),
            ControlProperty{"DayStepMinutes", Stored::Int16, [] { return QVariant(30); }, QVariant(), true, stepInRange,
                            [](const zntDayvexPrivate &c) { return QVariant(int(c.settings().DayStepMinutes)); },
                            [](zntDayvexPrivate &c, const QVariant &v) {
                                c.settings().DayStepMinutes = qint16(v.toInt());
                            }},
            ControlProperty{"StartDay", Stored::Day, [] { return QVariant(today().value()); }, QVariant(0.0), true, any,
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_startDay.value()); },
                            [](zntDayvexPrivate &c, const QVariant &v) { c.m_startDay = Date(v.toDouble()); }},
            shared<&SharedSettings::MultiUserEnabled>("MultiUserEnabled", Stored::Flag,
                                                               [] { return QVariant(true); }),
            shared<&SharedSettings::ContactCodeEnabled>("ContactCodeEnabled", Stored::Flag,
                                                                 [] { return QVariant(true); }),
            ControlProperty{"ReminderSoundFile", Stored::Text, [] { return QVariant(QString()); }, QVariant(), true,
                            any, [](const zntDayvexPrivate &c) { return QVariant(c.m_reminderSoundFile); },
                            [](zntDayvexPrivate &c, const QVariant &v) { c.m_reminderSoundFile = v.toString(); }},
            shared<&SharedSettings::DefaultOwner>("DefaultOwner", Stored::Text,
                                                           [] { return QVariant(QString()); }),
            // The running state of the alarm timer, which starts running.
            ControlProperty{"GlobalAlarmsEnable", Stored::Flag, [] { return QVariant(true); }, QVariant(), false, any,
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_timer->isActive()); },
                            [](zntDayvexPrivate &c, const QVariant &v) {
                                if (v.toBool())
                                    c.m_timer->start();
                                else
                                    c.m_timer->stop();
                            }},
            shared<&SharedSettings::LanguageFileName>("LanguageFileName", Stored::Text,
                                                               [] { return QVariant(QString()); }),
            ControlProperty{"DisableMenu", Stored::Flag, [] { return QVariant(false); }, QVariant(), true, any,
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_disableMenu); },
                            [](zntDayvexPrivate &c, const QVariant &v) { c.m_disableMenu = v.toBool(); }},
            ControlProperty{"DisableReminderPopUp", Stored::Flag, [] { return QVariant(false); }, QVariant(), true,
                            any, [](const zntDayvexPrivate &c) { return QVariant(c.m_disableReminderPopUp); },
                            [](zntDayvexPrivate &c, const QVariant &v) { c.m_disableReminderPopUp = v.toBool(); }},
            // Redraws on the plan's change announcements instead of waiting for Refresh.
            ControlProperty{"AutoRefresh", Stored::Flag, [] { return QVariant(false); }, QVariant(), true, any,
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_autoRefresh); },
                            [](zntDayvexPrivate &c, const QVariant &v) {
                                c.m_autoRefresh = v.toBool();
                                c.watchPlan();
                            }},
            ControlProperty{"Presentation", Stored::Int16, [] { return QVariant(0); }, QVariant(), true,
                            [](const QVariant &v) { return v.toInt() == 0 || v.toInt() == 1; },
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_presentation); },
                            [](zntDayvexPrivate &c, const QVariant &v) {
                                const int style = v.toInt() == 1 ? 1 : 0;
                                if (style == c.m_presentation)
                                    return;
                                c.m_presentation = style;
                                c.applyPresentation();
                            }},
            ControlProperty{"SideColumnCollapsed", Stored::Flag, [] { return QVariant(false); }, QVariant(), true, any,
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_sideCollapsed); },
                            [](zntDayvexPrivate &c, const QVariant &v) {
                                if (v.toBool() == c.m_sideCollapsed)
                                    return;
                                c.m_sideCollapsed = v.toBool();
                                c.relayOut();
                            }},
            ControlProperty{"DragEditing", Stored::Flag, [] { return QVariant(false); }, QVariant(), true, any,
                            [](const zntDayvexPrivate &c) { return QVariant(c.m_dragEditing); },
                            [](zntDayvexPrivate &c, const QVariant &v) {
                                c.m_dragEditing = v.toBool();
                                c.applyDragEditing();
                            }},
        };
        return r;
    }();
    return rows;
}

} // namespace

std::span<const ControlProperty> controlProperties()
{
    return table();
}

const ControlProperty &controlProperty(const char *name)
{
    for (const ControlProperty &row : table())
        if (std::strcmp(row.name, name) == 0)
            return row;
    throw Error::invalidArgument(QStringLiteral("no property %1").arg(QLatin1String(name)));
}

QVariant fromBag(const ControlProperty &row, const QVariant &value)
{
    const QString name = QString::fromLatin1(row.name);
    switch (row.stored) {
    case Stored::Text:
        return bag::toText(value, name);
    case Stored::Flag:
        return bag::toBool(value, name);
    case Stored::Int16:
        return int(bag::toInt16(value, name));
    case Stored::Day: {
        const Date day(bag::toDouble(value, name));
        if (!day.isValid())
            throw Error::overflow(QStringLiteral("property \"%1\" holds %2").arg(name).arg(day.value()));
        return day.value();
    }
    }
    return value;
}

} // namespace dayvex
