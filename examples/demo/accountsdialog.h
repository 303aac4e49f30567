#pragma once

#include <dayvex/sync/caldavsync.h>

#include <QDialog>

#include <functional>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSettings;
class QSpinBox;
class QCheckBox;


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

    // Close: an account or password only tried is dropped.
    void reject() override;

    // Called by Save before the first calendar is set, so before the first sync
    // into one: the window's chance to leave things out.
    void setBeforeFirstSync(std::function<void()> ask) { m_beforeFirstSync = std::move(ask); }

private:
    // Puts the typed account and password in use for this session, without keeping them.
    void tryTyped();
    void findCalendars();
    void save();
    void showStatus(const dayvex::SyncStatus &status);

    dayvex::CalDavSync &m_sync;
    QSettings &m_settings;
    dayvex::CalDavAccount m_saved; // the account Save last kept
    bool m_tried = false;          // a typed password is in use, not kept
    std::function<void()> m_beforeFirstSync;
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
