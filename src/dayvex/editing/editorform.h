#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/editinghost.h>
#include <dayvex/editing/prompts.h>
#include <dayvex/editing/undo.h>
#include <dayvex/i18n/language.h>
#include <dayvex/platform/date.h>

#include <QDialog>
#include <QScopeGuard>

class QBoxLayout;
class QComboBox;
class QPushButton;

namespace dayvex {

class EditingHost;

// What the appointment and to-do editors share: the form key, the unsaved-changes
// flag, the buttons Salva, Elimina and Fine, and how the form closes. Save and
// Delete close the form when they have done their work; Fine, Escape and the
// window's frame close it after asking, when fields were changed. The form is
// loaded from its record when it is first shown.
class EditorForm : public QDialog
{
    Q_OBJECT
public:
    ~EditorForm() override;
    QString formKey() const { return m_formKey; }
    // The collection key of the record edited; empty for a new one.
    virtual QString recordKey() const = 0;
    bool hasUnsavedChanges() const { return m_unsaved; }

    // The three buttons.
    void save();
    void deleteRecord();
    void finish();

protected:
    EditorForm(EditingHost &host, const QString &objectName, const QString &title, QWidget *parent);

    // Fills the fields from the record, with no change counted.
    virtual void load() = 0;
    virtual void store() = 0;
    virtual void removeRecord() = 0;

    EditingHost &host() const { return m_host; }
    // A language text, or the design's Italian caption while the table is empty.
    QString caption(Text key, const char *italian) const { return m_host.language().textOr(key, italian); }
    void setFormKey(const QString &key);
    bool isNew() const;
    // For the fields' change handlers: a change while loading is none.
    void markChanged();
    bool loading() const { return m_loading; }
    // Ends a successful save or delete.
    void closeDone();

    // Once a record is stored: its alarm (kind "S" or "T") is set and the form is
    // done, even when announce, the host's after-event, throws.
    template <typename Record, typename Announce>
    // before: the record as it was, none for a new one; the change goes on the undo stack.
    void finishStore(QChar kind, const Record &stored, std::optional<Record> before, Announce announce);
    // Asks question; on yes removes the record of key from records with its
    // alarm, closes the form and hands the removed record to announce.
    template <typename Records, typename Announce>
    void confirmRemove(Text question, QChar kind, Records &records, const QString &key, Announce announce);

    // The twelve lead times "5" to "60", showing minutes (added to the list when they are none of them).
    static QComboBox *leadTimes(QWidget *parent);
    static void showLeadTime(QComboBox *times, int minutes);
    // A list that shows current even when it is not among items, so that saving keeps it.
    static void fillList(QComboBox *list, const QStringList &items, const QString &current);
    // The button row, right-aligned.
    QBoxLayout *buttonRow();
    // Tab goes through fields in reading order, then the buttons; the first field
    // has the focus when the form opens.
    void orderFocus(std::initializer_list<QWidget *> fields);

    QPushButton *m_salva = nullptr;
    QPushButton *m_elimina = nullptr;
    QPushButton *m_fine = nullptr;

    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void reject() override;

private:
    bool mayClose();

    EditingHost &m_host;
    QString m_formKey;
    bool m_unsaved = false;
    bool m_loading = false;
    bool m_loaded = false;
};

template <typename Record, typename Announce>
void EditorForm::finishStore(QChar kind, const Record &stored, std::optional<Record> before, Announce announce)
{
    const std::shared_ptr<DayvexData> plan = host().editedPlan();
    const auto done = qScopeGuard([this, plan, kind, &stored, &before, key = stored.Key, due = stored.ReminderDate] {
        setAlarmQuietly(*plan->Alarms(), kind, key, due);
        recordChange<Record>(host(), stepText(kind, before ? Step::Change : Step::New), before, stored);
        closeDone();
        setFormKey(QString());
    });
    announce();
}

template <typename Records, typename Announce>
void EditorForm::confirmRemove(Text question, QChar kind, Records &records, const QString &key, Announce announce)
{
    if (!confirm(this, host().language(), question, PromptIcon::None))
        return;
    auto removed = records.Item(key);
    std::optional before = *removed;
    host().editedPlan()->Alarms()->Remove(Alarms::keyFor(kind, key));
    records.Remove(key);
    closeDone();
    const auto record = qScopeGuard([&] { recordChange(host(), stepText(kind, Step::Delete), before, decltype(before)()); });
    announce(removed);
}

class RunningCommand;
// Shows editor and waits until it is hidden, then deletes it. False when the
// control went away meanwhile (the editor with it): the caller touches nothing more.
bool showUntilHidden(EditorForm *editor, const RunningCommand &running);

// The editors' helpers.
namespace form {
// The control's date format in Qt's letters: "dd/mm/yyyy" shows as "dd/MM/yyyy".
QString qtDateFormat(const QString &format);
// A day and a time of day to the minute, as the editors store them.
Date joined(const QDate &day, const QTime &time);
// Whole minutes from earlier to later, as a lead time shows them; a gap a host's
// odd dates make too large for the list is cut to what an int holds, NaN to 0.
int minutesBetween(Date earlier, Date later);
// Ends a day still being typed into any month calendar under root (a date field's
// pop-up, the control's months): a calendar frees what it keeps for the typing only
// when the typing ends, so whatever owns one calls this before it goes.
void endCalendarTyping(QWidget *root);

template <typename Widget>
Widget *named(Widget *widget, const char *name)
{
    widget->setObjectName(QString::fromUtf8(name));
    return widget;
}
} // namespace form

} // namespace dayvex
