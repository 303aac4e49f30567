#pragma once

#include <dayvex/model/hostevents.h>
#include <dayvex/editing/prompts.h>
#include <dayvex/control/zntdayvex.h>
#include <dayvex/i18n/language.h>
#include <dayvex/model/sharedsettings.h>

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

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
        dayvex::setPromptAnswerer([this, yes](const QString &text, dayvex::PromptIcon icon) {
            prompts << text + (icon == dayvex::PromptIcon::Exclamation ? " !" : " -");
            return yes;
        });
    }

    void stop()
    {
        ++m_round;
        prompts.clear();
        dayvex::setPromptAnswerer({});
    }

    QStringList prompts;

private:
    int m_round = 0;
};

// Plays the host of the editing tests: notes each event's name, answers the
// Before events as told and lets a test change the record there.
template <typename Record>
struct ScriptedHost
{
    QStringList log;
    dayvex::BeforeAnswer answer;
    std::function<void(std::shared_ptr<Record> &)> edit;
    std::shared_ptr<Record> announced; // the record of the last after-event

    void reset()
    {
        log.clear();
        answer = {};
        edit = nullptr;
        announced.reset();
    }
    auto before(const char *name)
    {
        return [this, name](std::shared_ptr<Record> &record, bool &ExternalHandled, bool &Cancel) {
            log << QString::fromLatin1(name);
            ExternalHandled = answer.ExternalHandled;
            Cancel = answer.Cancel;
            if (edit)
                edit(record);
        };
    }
    auto after(const char *name)
    {
        return [this, name](std::shared_ptr<Record> &record) {
            log << QString::fromLatin1(name);
            announced = record;
        };
    }
    auto validate(const char *name)
    {
        return [this, name](std::shared_ptr<Record> &, bool &) { log << QString::fromLatin1(name); };
    }
};

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
inline std::unique_ptr<dayvex::zntDayvex> shownControl(const std::shared_ptr<dayvex::DayvexData> &plan,
                                                       dayvex::Date startDay = {})
{
    dayvex::resetSharedSettings();
    dayvex::resetLanguage();
    dayvex::LoadLanguage();
    auto control = std::make_unique<dayvex::zntDayvex>();
    control->InitProperties();
    if (!startDay.isEmpty())
        control->setStartDay(startDay);
    control->setPlan(plan);
    control->resize(1000, 640);
    control->show();
    if (!QTest::qWaitForWindowExposed(control.get()))
        qWarning("the control's window was never exposed");
    control->Refresh(dayvex::zntPlanShowDay);
    return control;
}
