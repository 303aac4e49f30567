#include "zntdayvex_p.h"

#include "monthcalendar.h"

#include <dayvex/layout/timegrid.h>
#include <dayvex/platform/error.h>
#include <dayvex/views/agendagrid.h>
#include <dayvex/views/detailpane.h>
#include <dayvex/views/todogrid.h>

#include <QAction>
#include <QTabBar>

namespace dayvex {

void zntDayvexPrivate::createShortcuts()
{
    // Tab leaves each grid for the next part, then the control.
    m_lista->setTabKeyNavigation(false);
    m_daFare->setTabKeyNavigation(false);
    QWidget::setTabOrder(m_calendar, m_tipoVis);
    QWidget::setTabOrder(m_tipoVis, m_lista);
    QWidget::setTabOrder(m_lista, m_daFare);
    QWidget::setTabOrder(m_daFare, m_frShowApp);

    // Modern's keys, only while the focus is in the control: the host's own stay its own.
    const auto shortcut = [this](const char *name, const QKeySequence &keys, std::function<void()> run) {
        m_shortcuts.push_back(controlShortcut(name, {keys}, std::move(run)));
    };
    for (int view = zntPlanShowDay; view <= zntPlanShowMonth; ++view)
        shortcut(view == zntPlanShowDay ? "actDayView" : view == zntPlanShowWeek ? "actWeekView" : "actMonthView",
                 QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_0 + view)),
                 [this, view] { q->Refresh(zntPlanShowType(view)); });
    shortcut("actToday", QKeySequence(Qt::CTRL | Qt::Key_T), [this] { q->setStartDay(today()); });
    shortcut("actPrevious", QKeySequence(Qt::Key_PageUp), [this] { movePeriod(-1); });
    shortcut("actNext", QKeySequence(Qt::Key_PageDown), [this] { movePeriod(1); });
    shortcut("actNewAppointment", QKeySequence(Qt::CTRL | Qt::Key_N), [this] { q->newAppointment(); });
    shortcut("actNewToDo", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N), [this] { q->newToDo(); });
    applyShortcuts();
    createHistory();
}

QAction *zntDayvexPrivate::controlShortcut(const char *name, const QList<QKeySequence> &keys, std::function<void()> run)
{
    auto *action = new QAction(q);
    action->setObjectName(QString::fromLatin1(name));
    action->setShortcuts(keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    QObject::connect(action, &QAction::triggered, q, [this, run] { runFromUser(run); });
    q->addAction(action);
    return action;
}

void zntDayvexPrivate::applyShortcuts()
{
    const QStringList captions{language().textOr(Text::Day, "Day"), language().textOr(Text::Week, "Week"),
                               language().textOr(Text::Month, "Month"), QObject::tr("Today"), QObject::tr("Previous"),
                               QObject::tr("Next"), language().textOr(Text::MnuAddAppointemnt, "New appointment"),
                               language().textOr(Text::mnuAddToDo, "New to do activity")};
    for (size_t i = 0; i < m_shortcuts.size(); ++i) {
        m_shortcuts[i]->setText(captions.value(int(i)));
        m_shortcuts[i]->setEnabled(modern());
    }
}

void zntDayvexPrivate::movePeriod(int direction)
{
    const QDate shown = m_calendar->selectedDate();
    switch (selectedTab()) {
    case zntPlanShowMonth:
        q->setStartDay(shown.addMonths(direction));
        break;
    case zntPlanShowWeek:
        q->setStartDay(shown.addDays(7 * direction));
        break;
    default:
        q->setStartDay(shown.addDays(direction));
        break;
    }
}

} // namespace dayvex
