#pragma once

#include <QMainWindow>

class QCheckBox;
class QPlainTextEdit;
class QDockWidget;
class QSettings;

#include <dayvex/exchange/icalendar.h>
#include <dayvex/model/dayvexdata.h>

#include <memory>

namespace dayvex {
class zntDayvex;
class CalDavSync;
}
class QLabel;

// A host form: the control, an event log, and switches that make the log
// answer Cancel or ExternalHandled to the control's Before events.
class DemoWindow : public QMainWindow
{
    Q_OBJECT
public:
    // Shows plan, or the sample agenda when there is none.
    explicit DemoWindow(QSettings &settings, QWidget *parent = nullptr,
                        std::shared_ptr<dayvex::DayvexData> plan = nullptr);
    ~DemoWindow() override;

    dayvex::zntDayvex *control() const { return m_control; }

    // The File menu's work, callable without its dialogs.
    dayvex::ExchangeReport importFile(const QString &path);
    dayvex::ExchangeReport exportFile(const QString &path);
    int savePdf(const QString &path);
    // The event log beside the control, when the window is wide enough for both.
    void showEventsIfRoom();
    // Replaces the agenda's contents by the sample agenda around the day shown.
    void loadSampleData();
    // Offers sync's accounts dialog in the File menu and its state in the status bar.
    void setSync(dayvex::CalDavSync *sync);
    // Opens the accounts dialog (File → CalDAV calendar…).
    void openAccounts();
    // Before the first sync: the sample records still there may go, if the user says so.
    void offerToLeaveOutSamples();

private:
    void createFileMenu();
    void createViewMenu();
    void createEditMenu();
    void connectEvents();
    void log(const QString &line);
    void answer(bool &ExternalHandled, bool &Cancel);

    QSettings &m_settings;
    dayvex::zntDayvex *m_control = nullptr;
    QPlainTextEdit *m_log = nullptr;
    QDockWidget *m_events = nullptr;
    QCheckBox *m_cancel = nullptr;
    QCheckBox *m_external = nullptr;
    dayvex::CalDavSync *m_sync = nullptr;
    QLabel *m_syncState = nullptr;
};
