#include "prompts.h"

#include <QApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QPointer>
#include <QWidget>

#include <dayvex/platform/error.h>

namespace dayvex {

namespace {
PromptAnswerer &promptAnswerer()
{
    static PromptAnswerer answerer;
    return answerer;
}

// Ends a loop when the form it watches is hidden.
class HideWatcher : public QObject
{
public:
    HideWatcher(QWidget *form, QEventLoop *loop)
        : QObject(form)
        , m_loop(loop)
    {
        form->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        // A minimised window is hidden by the window system; only a hide of ours ends the wait.
        if (event->type() == QEvent::Hide && !event->spontaneous())
            m_loop->quit();
        return false;
    }

private:
    QEventLoop *m_loop;
};
} // namespace

void setPromptAnswerer(PromptAnswerer answerer)
{
    promptAnswerer() = std::move(answerer);
}

bool askYesNo(QWidget *parent, const QString &text, PromptIcon icon)
{
    if (const PromptAnswerer &answerer = promptAnswerer())
        return answerer(text, icon);
    // On the heap: a parent deleted while the box waits takes the box with it.
    QPointer<QMessageBox> box =
        new QMessageBox(icon == PromptIcon::Exclamation ? QMessageBox::Warning : QMessageBox::NoIcon,
                        QGuiApplication::applicationDisplayName(), text, QMessageBox::Yes | QMessageBox::No, parent);
    box->setDefaultButton(QMessageBox::No);
    const bool yes = box->exec() == QMessageBox::Yes;
    delete box.data();
    return yes;
}

bool confirm(QWidget *parent, const LanguageTable &language, Text message, PromptIcon icon)
{
    const QString loaded = language.text(message);
    return askYesNo(parent, loaded.isEmpty() ? defaultText(message) : loaded, icon);
}

BusyCursor::BusyCursor()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

BusyCursor::~BusyCursor()
{
    QApplication::restoreOverrideCursor();
}

void waitUntilHidden(QWidget *form)
{
    if (!form || !form->isVisible())
        return;
    QEventLoop loop;
    QPointer<QWidget> watched(form);
    auto *watcher = new HideWatcher(form, &loop);
    QObject::connect(form, &QObject::destroyed, &loop, &QEventLoop::quit);
    form->raise();
    form->activateWindow();
    loop.exec();
    if (watched)
        delete watcher;
}

void setAlarmQuietly(Alarms &alarms, QChar kind, const QString &recordKey, Date due) noexcept
{
    runLoggingErrors("zntDayvex: alarm", [&] { alarms.setFor(kind, recordKey, due); });
}

void closeFormsTagged(const QString &tag)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *form : windows) {
        if (form->isVisible() && form->property("Tag").toString() == tag) {
            form->close();
            form->deleteLater();
        }
    }
}

} // namespace dayvex
