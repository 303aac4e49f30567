#pragma once

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSettings;
class QSpinBox;
class QCheckBox;

namespace dayvex {
class CalDavSync;
struct SyncStatus;
}

// Adds a CalDAV calendar to the demo: the server, user and password (kept in
// the keychain, never in the settings), the calendar chosen after the server
// was asked for them, Sync now and the automatic sync's interval.
class AccountsDialog : public QDialog
{
    Q_OBJECT
public:
    AccountsDialog(dayvex::CalDavSync &sync, QSettings &settings, QWidget *parent = nullptr);

    // Applies what the settings hold to sync at start: the account and the automatic sync.
    static void restore(dayvex::CalDavSync &sync, QSettings &settings);

private:
    void findCalendars();
    void save();
    void showStatus(const dayvex::SyncStatus &status);

    dayvex::CalDavSync &m_sync;
    QSettings &m_settings;
    QLineEdit *m_server;
    QLineEdit *m_user;
    QLineEdit *m_password;
    QPushButton *m_find;
    QComboBox *m_calendars;
    QCheckBox *m_auto;
    QSpinBox *m_minutes;
    QPushButton *m_syncNow;
    QLabel *m_message;
};
