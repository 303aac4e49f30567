#include "editorform.h"

#include "commandflag.h"
#include "prompts.h"

#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <QAbstractButton>
#include <QCalendarWidget>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPointer>
#include <QPushButton>
#include <QScopeGuard>

#include <algorithm>
#include <cmath>
#include <limits>

namespace dayvex {

bool showUntilHidden(EditorForm *editor, const RunningCommand &running)
{
    const QPointer<EditorForm> shown(editor);
    editor->show();
    waitUntilHidden(editor);
    if (!running.controlAlive())
        return false;
    delete shown.data(); // unloaded once hidden
    return true;
}

namespace form {
QString qtDateFormat(const QString &format)
{
    QString qt = format;
    return qt.replace(QLatin1Char('m'), QLatin1Char('M'));
}

Date joined(const QDate &day, const QTime &time)
{
    return Date::fromDateTime(QDateTime(day, QTime(time.hour(), time.minute())));
}

int minutesBetween(Date earlier, Date later)
{
    const double minutes = std::nearbyint((later.value() - earlier.value()) * 1440.0);
    if (std::isnan(minutes))
        return 0;
    constexpr double Limit = std::numeric_limits<int>::max();
    return int(std::clamp(minutes, -Limit, Limit));
}

void endCalendarTyping(QWidget *root)
{
    // The typed day waits in a frame of the calendar's own until Enter, Esc or a pause;
    // an Esc to its days ends it, as it would end it for the user.
    for (QCalendarWidget *month : root->findChildren<QCalendarWidget *>()) {
        const auto *typing = month->findChild<QFrame *>(QString(), Qt::FindDirectChildrenOnly);
        QWidget *days = month->findChild<QWidget *>(QStringLiteral("qt_calendar_calendarview"));
        if (days && typing && !typing->isHidden()) {
            QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
            QCoreApplication::sendEvent(days, &escape);
        }
    }
}
} // namespace form

EditorForm::EditorForm(EditingHost &host, const QString &objectName, const QString &title, QWidget *parent)
    : QDialog(parent)
    , m_host(host)
{
    setObjectName(objectName);
    setWindowTitle(title);
    setModal(false);
    m_salva = form::named(new QPushButton(caption(Text::Save, "&salva"), this), "Salva");
    m_elimina = form::named(new QPushButton(caption(Text::Delete, "&elimina"), this), "Elimina");
    m_fine = form::named(new QPushButton(caption(Text::Cancel, "&chiudi"), this), "Fine");
    m_salva->setDefault(true); // Enter saves
    m_elimina->setAutoDefault(false);
    m_fine->setAutoDefault(false);
    connect(m_salva, &QPushButton::clicked, this, [this] { save(); });
    connect(m_elimina, &QPushButton::clicked, this, [this] { deleteRecord(); });
    connect(m_fine, &QPushButton::clicked, this, [this] { finish(); });
}

EditorForm::~EditorForm()
{
    form::endCalendarTyping(this);
}

void EditorForm::setFormKey(const QString &key)
{
    m_formKey = key;
    m_loaded = false;
    if (isVisible())
        showEvent(nullptr);
}

bool EditorForm::isNew() const
{
    return m_formKey.trimmed() == QLatin1String("NEW");
}

void EditorForm::markChanged()
{
    if (!m_loading)
        m_unsaved = true;
}

void EditorForm::showEvent(QShowEvent *event)
{
    if (event)
        QDialog::showEvent(event);
    if (m_loaded)
        return;
    m_loaded = true;
    m_loading = true;
    const auto loaded = qScopeGuard([this] { m_loading = false; });
    BusyCursor busy;
    runLoggingErrors(qPrintable(objectName()), [this] { load(); });
    m_unsaved = false;
}

void EditorForm::closeDone()
{
    m_unsaved = false;
    hide();
}

// A click here has nothing above it but Qt's event loop: errors are logged.
void EditorForm::save()
{
    runLoggingErrors(qPrintable(objectName()), [this] { store(); });
}

void EditorForm::deleteRecord()
{
    runLoggingErrors(qPrintable(objectName()), [this] { removeRecord(); });
}

bool EditorForm::mayClose()
{
    return !m_unsaved || confirm(this, host().language(), Text::UnsavedChangesMsg, PromptIcon::None);
}

void EditorForm::finish()
{
    if (mayClose())
        closeDone();
}

void EditorForm::reject()
{
    finish(); // Escape closes as Fine does
}

void EditorForm::closeEvent(QCloseEvent *event)
{
    if (mayClose()) {
        m_unsaved = false;
        QDialog::closeEvent(event);
    } else {
        event->ignore();
    }
}

QComboBox *EditorForm::leadTimes(QWidget *parent)
{
    auto *times = form::named(new QComboBox(parent), "TempoPromemoria");
    for (int minutes = 5; minutes <= 60; minutes += 5)
        times->addItem(QString::number(minutes));
    return times;
}

void EditorForm::showLeadTime(QComboBox *times, int minutes)
{
    const QString text = QString::number(minutes);
    if (times->findText(text) < 0)
        times->addItem(text);
    times->setCurrentText(text);
}

void EditorForm::fillList(QComboBox *list, const QStringList &items, const QString &current)
{
    list->clear();
    list->addItems(items);
    if (!list->isEditable() && list->findText(current) < 0)
        list->addItem(current);
    list->setCurrentText(current);
}

void EditorForm::orderFocus(std::initializer_list<QWidget *> fields)
{
    QWidget *previous = nullptr;
    for (QWidget *next : fields) {
        if (previous)
            setTabOrder(previous, next);
        previous = next;
    }
    for (QWidget *button : {static_cast<QWidget *>(m_salva), static_cast<QWidget *>(m_elimina),
                            static_cast<QWidget *>(m_fine)}) {
        if (previous)
            setTabOrder(previous, button);
        previous = button;
    }
    if (fields.size() > 0)
        (*fields.begin())->setFocus(Qt::OtherFocusReason);
    if (m_host.keyboardMnemonics()) {
        const QList<QAbstractButton *> buttons = findChildren<QAbstractButton *>();
        QStringList captions;
        for (const QAbstractButton *button : buttons)
            captions << button->text();
        captions = withMnemonics(captions);
        for (qsizetype i = 0; i < buttons.size(); ++i)
            buttons[i]->setText(captions[i]);
    }
}

QBoxLayout *EditorForm::buttonRow()
{
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(m_salva);
    row->addWidget(m_elimina);
    row->addWidget(m_fine);
    return row;
}

} // namespace dayvex
