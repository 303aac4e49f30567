#include "statusline.h"

#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/capslock.h>
#include <dayvex/platform/format.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QTimer>

#include <dayvex/platform/error.h>

namespace dayvex {

namespace {
// The clock panels show minutes: the clock ticks just after each minute begins.
constexpr int MinuteMs = 60 * 1000;
constexpr int PastTheMinuteMs = 50;
} // namespace

StatusLine::StatusLine(const SharedSettings &settings, QWidget *parent)
    : QStatusBar(parent), m_settings(settings)
{
    setObjectName(QStringLiteral("StatusBar"));
    setSizeGripEnabled(false);
    const char *samples[] = {"CAPS", "27/03/2009", "14.57"};
    for (int i = 0; i < 3; ++i) {
        m_panels[i] = new QLabel(QString::fromLatin1(samples[i]), this);
        m_panels[i]->setFrameShape(QFrame::StyledPanel);
        if (i == 0)
            addWidget(m_panels[i]);
        else
            addPermanentWidget(m_panels[i]);
    }
    m_clock = new QTimer(this);
    m_clock->setSingleShot(true);
    connect(m_clock, &QTimer::timeout, this, [this] {
        showNow();
        emit ticked();
        startClock();
    });
    startClock();
    // Caps Lock changes with a key of this application, or while another one is active.
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, &StatusLine::showCapsLock);
    showNow();
}

void StatusLine::showNow()
{
    const Date moment = now();
    m_panels[1]->setText(formatDate(moment, m_settings.DateFormat));
    m_panels[2]->setText(formatDate(moment, QStringLiteral("hh.nn")));
    showCapsLock();
}

void StatusLine::startClock()
{
    int intoMinute = 0;
    try {
        const QTime time = now().toDateTime().time();
        intoMinute = time.second() * 1000 + time.msec();
    } catch (const Error &) {
        // A clock outside the calendar: tick a minute from now.
    }
    m_clock->start(qBound(1000, MinuteMs - intoMinute + PastTheMinuteMs, MinuteMs));
}

void StatusLine::showCapsLock()
{
    m_panels[0]->setEnabled(capsLockOn());
}

bool StatusLine::eventFilter(QObject *watched, QEvent *event)
{
    if ((event->type() == QEvent::KeyRelease || event->type() == QEvent::KeyPress)
        && static_cast<QKeyEvent *>(event)->key() == Qt::Key_CapsLock && watched->isWidgetType())
        showCapsLock();
    return false;
}

} // namespace dayvex
