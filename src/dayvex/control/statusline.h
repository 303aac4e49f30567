#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/sharedsettings.h>

#include <QStatusBar>

class QLabel;
class QTimer;

namespace dayvex {

// The control's status line: a Caps Lock panel, greyed while Caps Lock is off,
// then today's date and the time, which follow the clock.
class StatusLine : public QStatusBar
{
    Q_OBJECT
public:
    // settings, which must outlive the line, give the date format.
    explicit StatusLine(const SharedSettings &settings, QWidget *parent = nullptr);

    QLabel *panel(int index) const { return m_panels[index]; }
    // Reads the clock and the Caps Lock state again.
    void showNow();

signals:
    // Every tick of the clock, after the panels show the new time.
    void ticked();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showCapsLock();
    // Times the next tick for the start of the next minute of the clock.
    void startClock();

    QLabel *m_panels[3] = {};
    QTimer *m_clock = nullptr;
    const SharedSettings &m_settings;
};

} // namespace dayvex
