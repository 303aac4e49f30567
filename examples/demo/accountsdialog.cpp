#include "accountsdialog.h"

#include <dayvex/sync/caldavsync.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>

using namespace dayvex;

namespace {
const QString ServerKey = QStringLiteral("caldav/server");
const QString UserKey = QStringLiteral("caldav/user");
const QString AutoKey = QStringLiteral("caldav/autoMinutes"); // 0: no automatic sync
} // namespace

void AccountsDialog::restore(CalDavSync &sync, QSettings &settings)
{
    const QUrl server(settings.value(ServerKey).toString());
    if (server.isEmpty())
        return;
    sync.setAccount({server, settings.value(UserKey).toString()});
    sync.setAutoSyncInterval(std::chrono::minutes(settings.value(AutoKey, 5).toInt()));
}

AccountsDialog::AccountsDialog(CalDavSync &sync, QSettings &settings, QWidget *parent)
    : QDialog(parent), m_sync(sync), m_settings(settings), m_saved(sync.account())
{
    setObjectName(QStringLiteral("accountsDialog"));
    setWindowTitle(QStringLiteral("CalDAV calendar"));
    auto *form = new QFormLayout;
    m_server = new QLineEdit(sync.account().server.toString(), this);
    m_server->setObjectName(QStringLiteral("serverEdit"));
    m_server->setPlaceholderText(QStringLiteral("https://calendar.example.org/"));
    m_user = new QLineEdit(sync.account().user, this);
    m_user->setObjectName(QStringLiteral("userEdit"));
    m_password = new QLineEdit(this);
    m_password->setObjectName(QStringLiteral("passwordEdit"));
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setPlaceholderText(sync.account().user.isEmpty() ? QString() : QStringLiteral("kept in the keychain"));
    m_find = new QPushButton(QStringLiteral("&Find calendars"), this);
    m_find->setObjectName(QStringLiteral("findButton"));
    m_calendars = new QComboBox(this);
    m_calendars->setObjectName(QStringLiteral("calendarCombo"));
    m_calendars->setMinimumContentsLength(24);
    if (!sync.calendar().isEmpty())
        m_calendars->addItem(sync.calendar().toString(), sync.calendar());
    auto *calendarRow = new QHBoxLayout;
    calendarRow->addWidget(m_calendars, 1);
    calendarRow->addWidget(m_find);
    m_auto = new QCheckBox(QStringLiteral("Sync automatically every"), this);
    m_minutes = new QSpinBox(this);
    m_minutes->setRange(1, 240);
    m_minutes->setSuffix(QStringLiteral(" min"));
    const int minutes = settings.value(AutoKey, 5).toInt();
    m_auto->setChecked(minutes > 0);
    m_minutes->setValue(minutes > 0 ? minutes : 5);
    auto *autoRow = new QHBoxLayout;
    autoRow->addWidget(m_auto);
    autoRow->addWidget(m_minutes);
    autoRow->addStretch();
    form->addRow(QStringLiteral("&Server:"), m_server);
    form->addRow(QStringLiteral("&User:"), m_user);
    form->addRow(QStringLiteral("&Password:"), m_password);
    form->addRow(QStringLiteral("Calendar:"), calendarRow);
    form->addRow(QString(), autoRow);

    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("syncMessage"));
    m_message->setWordWrap(true);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
    m_syncNow = buttons->addButton(QStringLiteral("Sync &now"), QDialogButtonBox::ActionRole);
    m_syncNow->setObjectName(QStringLiteral("syncNowButton"));
    m_syncNow->setEnabled(!sync.calendar().isEmpty());

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_message);
    layout->addStretch();
    layout->addWidget(buttons);
    setMinimumWidth(460);

    connect(m_find, &QPushButton::clicked, this, &AccountsDialog::findCalendars);
    connect(buttons, &QDialogButtonBox::accepted, this, &AccountsDialog::save);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_syncNow, &QPushButton::clicked, this, [this] {
        tryTyped(); // what the dialog shows is what signs in
        m_sync.syncNow();
    });
    connect(&m_sync, &CalDavSync::statusChanged, this, &AccountsDialog::showStatus);
    connect(&m_sync, &CalDavSync::calendarsFound, this, [this](const QList<CalDavCalendar> &calendars) {
        m_find->setEnabled(true);
        m_calendars->clear();
        for (const CalDavCalendar &calendar : calendars) {
            if (calendar.components.isEmpty() || calendar.components.contains(QStringLiteral("VEVENT")))
                m_calendars->addItem(calendar.displayName, calendar.url);
        }
        m_message->setText(m_calendars->count() ? QStringLiteral("Choose the calendar, then Save.")
                                                : QStringLiteral("The server holds no calendar of events for this user."));
    });
    connect(&m_sync, &CalDavSync::discoveryFailed, this, [this](const QString &error) {
        m_find->setEnabled(true);
        m_message->setText(QStringLiteral("Cannot find the calendars: %1").arg(error));
    });
    showStatus(sync.status());
}

void AccountsDialog::tryTyped()
{
    // Tried, not kept: only Save keeps the account and its password.
    m_sync.setAccount({QUrl::fromUserInput(m_server->text().trimmed()), m_user->text().trimmed()});
    if (!m_password->text().isEmpty()) {
        m_sync.usePassword(m_password->text());
        m_tried = true;
    }
}

void AccountsDialog::reject()
{
    // What was tried goes: the next sync signs in with the saved account and the keychain's password.
    if (m_tried || m_sync.account().server != m_saved.server || m_sync.account().user != m_saved.user) {
        m_sync.setAccount({});
        m_sync.setAccount(m_saved);
    }
    QDialog::reject();
}

void AccountsDialog::findCalendars()
{
    tryTyped();
    m_find->setEnabled(false);
    m_message->setText(QStringLiteral("Asking the server…"));
    m_sync.discover();
}

void AccountsDialog::save()
{
    const QUrl calendar = m_calendars->currentData().toUrl();
    if (calendar.isEmpty()) {
        m_message->setText(QStringLiteral("Find the calendars first, and choose one."));
        return;
    }
    tryTyped();
    // Asked before the calendar is set, so that no sync starts while the question
    // waits, and before the keychain, whose warning would stand over the question.
    if (m_sync.calendar().isEmpty() && m_beforeFirstSync)
        m_beforeFirstSync();
    if (!m_password->text().isEmpty()) {
        QPointer<QWidget> window = parentWidget();
        m_sync.setPassword(m_password->text(), [window](const QString &error) {
            if (!error.isEmpty())
                QMessageBox::warning(window, QStringLiteral("Password not kept"),
                                     QStringLiteral("%1.\nThe password is used until the demo ends; it will be asked "
                                                    "for again after a restart.")
                                         .arg(error));
        });
    }
    m_saved = m_sync.account();
    m_tried = false;
    m_settings.setValue(ServerKey, m_sync.account().server.toString());
    m_settings.setValue(UserKey, m_sync.account().user);
    m_settings.setValue(AutoKey, m_auto->isChecked() ? m_minutes->value() : 0);
    try {
        m_sync.setCalendar(calendar);
    } catch (const std::exception &) {
        m_message->setText(QStringLiteral("This calendar cannot be used."));
        return;
    }
    m_sync.setAutoSyncInterval(std::chrono::minutes(m_auto->isChecked() ? m_minutes->value() : 0));
    m_syncNow->setEnabled(true);
    m_sync.syncNow();
    accept();
}

void AccountsDialog::showStatus(const SyncStatus &status) { m_message->setText(status.text()); }
