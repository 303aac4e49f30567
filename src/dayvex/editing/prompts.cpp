#include "prompts.h"

#include <QApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QPushButton>
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

ScopeAnswerer &scopeAnswerer()
{
    static ScopeAnswerer answerer;
    return answerer;
}

QString textOrDefault(const LanguageTable &language, Text key)
{
    const QString loaded = language.text(key);
    return loaded.isEmpty() ? defaultText(key) : loaded;
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

void setScopeAnswerer(ScopeAnswerer answerer)
{
    scopeAnswerer() = std::move(answerer);
}

SeriesScope askScope(QWidget *parent, const LanguageTable &language)
{
    const QString text = textOrDefault(language, Text::SeriesScopeMsg);
    if (const ScopeAnswerer &answerer = scopeAnswerer())
        return answerer(text);
    QPointer<QMessageBox> box = new QMessageBox(QMessageBox::Question, QGuiApplication::applicationDisplayName(), text,
                                                QMessageBox::Cancel, parent);
    const std::pair<Text, SeriesScope> choices[] = {{Text::ThisOccurrence, SeriesScope::This},
                                                     {Text::FollowingOccurrences, SeriesScope::Following},
                                                     {Text::WholeSeries, SeriesScope::Whole}};
    std::vector<std::pair<QAbstractButton *, SeriesScope>> buttons;
    for (const auto &[key, scope] : choices)
        buttons.emplace_back(box->addButton(textOrDefault(language, key), QMessageBox::AcceptRole), scope);
    // The narrowest change is the one a stray Enter makes.
    box->setDefaultButton(static_cast<QPushButton *>(buttons.front().first));
    box->exec();
    SeriesScope chosen = SeriesScope::Cancel;
    if (box)
        for (const auto &[button, scope] : buttons)
            if (box->clickedButton() == button)
                chosen = scope;
    delete box.data();
    return chosen;
}

bool confirm(QWidget *parent, const LanguageTable &language, Text message, PromptIcon icon)
{
    return askYesNo(parent, textOrDefault(language, message), icon);
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
