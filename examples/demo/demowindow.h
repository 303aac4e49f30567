#pragma once

#include <QMainWindow>

class QCheckBox;
class QPlainTextEdit;
class QSettings;

namespace dayvex {
class zntDayvex;
}

// A host form: the control, an event log, and switches that make the log
// answer Cancel or ExternalHandled to the control's Before events.
class DemoWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit DemoWindow(QSettings &settings, QWidget *parent = nullptr);
    ~DemoWindow() override;

    dayvex::zntDayvex *control() const { return m_control; }

private:
    void connectEvents();
    void log(const QString &line);
    void answer(bool &ExternalHandled, bool &Cancel);

    QSettings &m_settings;
    dayvex::zntDayvex *m_control = nullptr;
    QPlainTextEdit *m_log = nullptr;
    QCheckBox *m_cancel = nullptr;
    QCheckBox *m_external = nullptr;
};
