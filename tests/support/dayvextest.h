#pragma once

// What the tests share: QtTest, dates by their parts, the error number of a call,
// and with the widgets a shown control driven as a user and a host would.

#include <dayvex/platform/date.h>
#include <dayvex/platform/error.h>
#include <records.h>

#include <QDateTime>
#include <QFile>
#include <QTest>

#include <functional>
#include <memory>

using namespace dayvex;

inline Date at(QDate day, int hour = 0, int minute = 0, int second = 0)
{
    return Date::fromDateTime(QDateTime(day, QTime(hour, minute, second)));
}

inline Date at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    return at(QDate(year, month, day), hour, minute, second);
}

// The number of the Error the call throws, 0 for none.
inline qint32 errorNumber(const std::function<void()> &call)
{
    try {
        call();
    } catch (const Error &e) {
        return e.number();
    }
    return 0;
}

// Declares a data table's columns at once: columns<int, QString>("count", "name").
template <typename... Types, typename... Names> void columns(const Names &...names)
{
    static_assert(sizeof...(Types) == sizeof...(Names));
    (QTest::addColumn<Types>(names), ...);
}

// Writes bytes to path, whole, and gives the path back.
inline QString writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

#ifdef QT_WIDGETS_LIB
#include <internals.h>

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTimer>

// Counts what would have been played.
class CountingSound : public ReminderSound
{
public:
    bool hasOutputDevice() const override { return device; }
    void play(const QString &fileName) override
    {
        played << fileName;
        if (whilePlaying)
            whilePlaying();
    }
    bool device = true;
    std::function<void()> whilePlaying;
    QStringList played;
};

// Drives the editors and questions of the commands as a user would, from
// inside the command's wait for its editor.
class EditorDriver : public QObject
{
public:
    static QDialog *openForm(const QString &name)
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->objectName() == name && window->isVisible())
                return qobject_cast<QDialog *>(window);
        }
        return nullptr;
    }

    // Runs action on the form as soon as it shows, until stop().
    void whenOpen(const QString &name, std::function<void(QDialog *)> action)
    {
        QTimer::singleShot(0, this, [this, name, action, round = m_round] {
            if (round != m_round)
                return;
            if (QDialog *form = openForm(name))
                action(form);
            else
                whenOpen(name, action);
        });
    }

    // Answers every question with yes or no and notes it as "text !" (exclamation icon) or "text -".
    void answerPrompts(bool yes)
    {
        setPromptAnswerer([this, yes](const QString &text, PromptIcon icon) {
            prompts << text + (icon == PromptIcon::Exclamation ? " !" : " -");
            return yes;
        });
    }

    void stop()
    {
        ++m_round;
        prompts.clear();
        setPromptAnswerer({});
    }

    QStringList prompts;

private:
    int m_round = 0;
};

// Plays the host of the editing tests: notes each event's name, answers the
// Before events as told and lets a test change the record there.
struct ScriptedHost
{
    QStringList log;
    BeforeAnswer answer;
    std::function<void(std::shared_ptr<Schedule> &)> editSchedule;
    std::function<void(std::shared_ptr<ToDo> &)> editToDo;
    std::shared_ptr<ToDo> announced; // the to-do of the last after-event

private:
    void edit(std::shared_ptr<Schedule> &record) { if (editSchedule) editSchedule(record); }
    void edit(std::shared_ptr<ToDo> &record) { if (editToDo) editToDo(record); }
    template <typename Record>
    auto before(const char *name)
    {
        return [this, name](std::shared_ptr<Record> &record, bool &ExternalHandled, bool &Cancel) {
            log << QString::fromLatin1(name);
            ExternalHandled = answer.ExternalHandled;
            Cancel = answer.Cancel;
            edit(record);
        };
    }
    template <typename Record>
    auto after(const char *name)
    {
        return [this, name](std::shared_ptr<Record> &record) {
            log << QString::fromLatin1(name);
            if constexpr (std::is_same_v<Record, ToDo>)
                announced = record;
        };
    }
    template <typename Record>
    auto validate(const char *name)
    {
        return [this, name](std::shared_ptr<Record> &, bool &) { log << QString::fromLatin1(name); };
    }

public:
    void listenTo(zntDayvex *c)
    {
        QObject::connect(c, &zntDayvex::BeforeScheduleAdd, c, before<Schedule>("BeforeScheduleAdd"));
        QObject::connect(c, &zntDayvex::BeforeScheduleChange, c, before<Schedule>("BeforeScheduleChange"));
        QObject::connect(c, &zntDayvex::BeforeScheduleDelete, c, before<Schedule>("BeforeScheduleDelete"));
        QObject::connect(c, &zntDayvex::BeforeTodoAdd, c, before<ToDo>("BeforeTodoAdd"));
        QObject::connect(c, &zntDayvex::BeforeTodoChange, c, before<ToDo>("BeforeTodoChange"));
        QObject::connect(c, &zntDayvex::BeforeTodoDelete, c, before<ToDo>("BeforeTodoDelete"));
        QObject::connect(c, &zntDayvex::BeforeTodoSetComplete, c, before<ToDo>("BeforeTodoSetComplete"));
        QObject::connect(c, &zntDayvex::ScheduleAdded, c, after<Schedule>("ScheduleAdded"));
        QObject::connect(c, &zntDayvex::ScheduleChanged, c, after<Schedule>("ScheduleChanged"));
        QObject::connect(c, &zntDayvex::ScheduleDeleted, c, after<Schedule>("ScheduleDeleted"));
        QObject::connect(c, &zntDayvex::TodoAdded, c, after<ToDo>("TodoAdded"));
        QObject::connect(c, &zntDayvex::ToDoChanged, c, after<ToDo>("ToDoChanged"));
        QObject::connect(c, &zntDayvex::ToDoDeleted, c, after<ToDo>("ToDoDeleted"));
        QObject::connect(c, &zntDayvex::ValidateSchedule, c, validate<Schedule>("ValidateSchedule"));
        QObject::connect(c, &zntDayvex::AlarmChange, c, after<Schedule>("AlarmChange"));
        QObject::connect(c, &zntDayvex::ValidateToDo, c, validate<ToDo>("ValidateToDo"));
    }
};

inline AgendaGrid *agendaGrid(const QWidget *control) { return control->findChild<AgendaGrid *>("Lista"); }

// The box of the appointment with key among the grid's, or null.
inline AppointmentBox *boxOf(const AgendaGrid *grid, const QString &key)
{
    for (int i = 0; i < grid->boxCount(); ++i)
        if (grid->box(i)->entry().key == key)
            return grid->box(i);
    return nullptr;
}

template <typename Widget>
Widget *field(QWidget *form, const char *name)
{
    return form->findChild<Widget *>(QString::fromUtf8(name));
}

inline void press(QWidget *form, const char *button)
{
    QTest::mouseClick(field<QPushButton>(form, button), Qt::LeftButton);
}

// A fresh control with default settings and the English texts, showing plan in
// the day view on a real (offscreen) window.
inline std::unique_ptr<zntDayvex> shownControl(const std::shared_ptr<DayvexData> &plan,
                                                       Date startDay = {})
{
    resetSharedSettings();
    resetLanguage();
    LoadLanguage();
    auto control = std::make_unique<zntDayvex>();
    control->InitProperties();
    if (!startDay.isEmpty())
        control->setStartDay(startDay);
    control->setPlan(plan);
    control->resize(1000, 640);
    control->show();
    if (!QTest::qWaitForWindowExposed(control.get()))
        qWarning("the control's window was never exposed");
    control->Refresh(zntPlanShowDay);
    return control;
}
#endif
