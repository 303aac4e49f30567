#include "accountsdialog.h"
#include "demowindow.h"

#include <dayvex/control/zntdayvex.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/store/localstore.h>
#include <dayvex/sync/caldavsync.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QTableView>
#include <QPushButton>
#include <QTimer>
#include <QScreen>
#include <QSettings>
#include <QTabBar>
#include <QWindow>

#include <cstdio>

namespace {
// Lets the window system and the event loop settle for a while.
void settle(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

void click(QWidget *widget, const QPoint &pos)
{
    const QPointF at(pos);
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        QMouseEvent event(type, at, widget->mapToGlobal(at), Qt::LeftButton,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(widget, &event);
    }
    settle(200);
}

// The window as the screen shows it: what a user sees, not a rendering of the widgets.
bool save(QWidget &window, const QDir &dir, const char *name)
{
    const QString file = dir.filePath(QString::fromLatin1(name));
    // The screen's pixels where the window stands, with any editor open over it.
    const QRect area = window.frameGeometry();
    const QPixmap shot = window.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    if (shot.isNull() || !shot.save(file)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
        return false;
    }
    std::printf("%s\n", qPrintable(file));
    return true;
}

// Saves the window once the editor called name is open over it, then closes the editor.
void saveEditorWhenOpen(QWidget &window, const QDir &dir, const char *name, const char *file, bool &saved)
{
    QTimer::singleShot(800, &window, [&window, dir, name, file, &saved] {
        for (QWidget *editor : QApplication::topLevelWidgets()) {
            if (editor->objectName() == QString::fromUtf8(name) && editor->isVisible()) {
                saved = save(window, dir, file);
                click(editor->findChild<QPushButton *>(QStringLiteral("Fine")), QPoint(5, 5));
            }
        }
    });
}

// The pictures of the README: the week at first show, the detail pane of a box,
// the month and the day view, each reached as a user would.
int screenshots(DemoWindow &window, const QDir &dir)
{
    window.show();
    settle(1000);
    if (!save(window, dir, "week.png"))
        return 1;
    // The same week on paper, as the File menu's "Save as PDF" writes it.
    window.savePdf(dir.filePath(QStringLiteral("week.pdf")));

    // The appointment boxes are the grid's children called txApp.
    auto *grid = window.control()->findChild<QTableView *>(QStringLiteral("Lista"));
    QWidget *box = nullptr;
    for (QWidget *candidate : grid->findChildren<QWidget *>(QStringLiteral("txApp"))) {
        if (candidate->isVisible()) {
            box = candidate;
            break;
        }
    }
    if (!box)
        return 1;
    click(box, QPoint(6, 6));
    if (!save(window, dir, "detail.png"))
        return 1;
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(grid, &escape);

    // A double click on a box opens the editor; the command waits until it closes.
    bool saved = false;
    saveEditorWhenOpen(window, dir, "frmAppuntamento", "editor.png", saved);
    QMouseEvent twice(QEvent::MouseButtonDblClick, QPointF(6, 6), box->mapToGlobal(QPointF(6, 6)), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(box, &twice);
    if (!saved)
        return 1;

    // The to-do menu of a to-do, then its editor.
    auto *todos = window.control()->findChild<QTableView *>(QStringLiteral("DaFare"));
    if (!todos || todos->model()->rowCount() < 2)
        return 1;
    const QPoint row = todos->visualRect(todos->model()->index(1, 3)).center();
    QMouseEvent right(QEvent::MouseButtonRelease, QPointF(row), todos->viewport()->mapToGlobal(QPointF(row)),
                      Qt::RightButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(todos->viewport(), &right);
    settle(300);
    if (!save(window, dir, "todo-menu.png"))
        return 1;
    auto *menu = window.control()->findChild<QMenu *>(QString::fromUtf8("mnuAttività"));
    menu->hide();
    saved = false;
    saveEditorWhenOpen(window, dir, "frmAttività", "todo-editor.png", saved);
    window.control()->findChild<QAction *>(QString::fromUtf8("mnModificaAttività"))->trigger();
    if (!saved)
        return 1;

    auto *tabs = window.control()->findChild<QTabBar *>(QStringLiteral("TipoVis"));
    click(tabs, tabs->tabRect(2).center());
    if (!save(window, dir, "month.png"))
        return 1;
    click(tabs, tabs->tabRect(0).center());
    if (!save(window, dir, "day.png"))
        return 1;

    // The reminder due a minute after start, a minute early: the clock is moved on.
    dayvex::setClockSource([] { return QDateTime::currentDateTime().addSecs(65); });
    // The control's alarm timer, made to tick once at once, then at its own pace.
    auto *alarmTimer = window.control()->findChild<QTimer *>(QStringLiteral("Timer"));
    const int interval = alarmTimer->interval();
    QObject::connect(alarmTimer, &QTimer::timeout, alarmTimer, [alarmTimer, interval] { alarmTimer->start(interval); },
                     Qt::SingleShotConnection);
    alarmTimer->start(0);
    settle(300);
    for (QWidget *popup : QApplication::topLevelWidgets()) {
        const QString name = popup->objectName();
        if ((name == QLatin1String("frmPromemoria") || name == QLatin1String("frmReminders")) && popup->isVisible())
            return save(window, dir, "reminder.png") ? 0 : 1; // the pop-up stands over the window
    }
    std::fprintf(stderr, "no reminder opened\n");
    return 1;
}
} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Dayvex"));
    QCoreApplication::setApplicationName(QStringLiteral("DayvexDemo"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A host application for the Dayvex agenda control."));
    parser.addHelpOption();
    QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                  QStringLiteral("Show the window, save PNG pictures of it in <dir> and exit."),
                                  QStringLiteral("dir"));
    parser.addOption(screenshot);
    QCommandLineOption size(QStringLiteral("size"),
                            QStringLiteral("The window's size, such as 800x600 (1280x760, or the screen when smaller)."),
                            QStringLiteral("WxH"));
    parser.addOption(size);
    QCommandLineOption classic(QStringLiteral("classic"), QStringLiteral("Start in the Classic presentation."));
    parser.addOption(classic);
    QCommandLineOption sample(QStringLiteral("sample"),
                              QStringLiteral("Start again from the sample agenda, replacing the one kept."));
    parser.addOption(sample);
    parser.process(app);

    QSettings settings;
    if (parser.isSet(classic))
        settings.setValue(QStringLiteral("demo/modern"), false);

    // The agenda is kept in the default store; screenshots show the sample agenda, and keep nothing.
    auto plan = std::make_shared<dayvex::DayvexData>();
    dayvex::LocalStore store(plan);
    bool samples = true;
    QString storeError;
    if (!parser.isSet(screenshot)) {
        try {
            samples = store.open() == dayvex::LocalStore::Opened::Created || parser.isSet(sample);
        } catch (const dayvex::Error &error) {
            storeError = error.description();
        }
    }
    // CalDAV sync, when the person adds a calendar (File → CalDAV calendar…).
    std::unique_ptr<dayvex::CalDavSync> sync;
    if (!parser.isSet(screenshot) && store.isOpen())
        sync = std::make_unique<dayvex::CalDavSync>(store, plan, dayvex::iCalendarResources());
    // Samples in place of an agenda that syncs would empty the calendar on the server too.
    QString samplesRefused;
    if (samples && sync && !sync->calendar().isEmpty()) {
        samples = false;
        samplesRefused = QStringLiteral("The sample agenda was not loaded: this agenda syncs with %1, and replacing "
                                        "it would remove its events from the server too.")
                             .arg(sync->calendar().toDisplayString());
        std::fprintf(stderr, "%s\n", qPrintable(samplesRefused));
    }
    DemoWindow window(settings, nullptr, plan);
    if (samples)
        window.loadSampleData();
    // The control's own edits reach the store through its journal; what else
    // changes the agenda (an import, the samples) is saved at the next turn.
    const auto save = [&store] {
        if (store.isOpen())
            dayvex::runLoggingErrors("saving the agenda", [&store] { store.save(); });
    };
    save();
    QObject::connect(plan->changes(), &dayvex::DataChanges::changed, &window, save);
    const QStringList wh = parser.value(size).split(QLatin1Char('x'));
    // A small screen gets a window that fits it, status line included.
    const QSize room = QGuiApplication::primaryScreen() ? QGuiApplication::primaryScreen()->availableGeometry().size()
                                                        : QSize(1280, 760);
    window.resize(wh.value(0).toInt() > 0 ? wh.value(0).toInt() : std::min(1280, room.width()),
                  wh.value(1).toInt() > 0 ? wh.value(1).toInt() : std::min(760, room.height()));
    window.showEventsIfRoom();

    if (!parser.isSet(screenshot)) {
        if (sync) {
            AccountsDialog::restore(*sync, settings);
            window.setSync(sync.get());
            // The person's edits (written by the journal, or saved above) go up soon.
            const auto noted = [&sync] { sync->noteLocalChanges(); };
            QObject::connect(plan->changes(), &dayvex::DataChanges::changed, sync.get(), noted);
            dayvex::zntDayvex *control = window.control();
            for (const auto signal : {&dayvex::zntDayvex::ScheduleAdded, &dayvex::zntDayvex::ScheduleChanged,
                                      &dayvex::zntDayvex::ScheduleDeleted})
                QObject::connect(control, signal, sync.get(), noted);
            for (const auto signal : {&dayvex::zntDayvex::TodoAdded, &dayvex::zntDayvex::ToDoChanged,
                                      &dayvex::zntDayvex::ToDoDeleted, &dayvex::zntDayvex::ToDoAlarmChange})
                QObject::connect(control, signal, sync.get(), noted);
            QObject::connect(control, &dayvex::zntDayvex::AlarmChange, sync.get(), noted);
            if (!sync->calendar().isEmpty())
                sync->syncNow();
        }
        window.show();
        if (!storeError.isEmpty())
            QMessageBox::warning(&window, QStringLiteral("Agenda not kept"),
                                 QStringLiteral("Changes will not be kept: %1").arg(storeError));
        if (!samplesRefused.isEmpty())
            QMessageBox::information(&window, QStringLiteral("Sample agenda"), samplesRefused);
        const int code = app.exec();
        if (sync)
            sync->cancel();
        save();
        return code;
    }
    const QString dir = parser.value(screenshot);
    if (!QDir().mkpath(dir)) {
        std::fprintf(stderr, "cannot create %s\n", qPrintable(dir));
        return 1;
    }
    return screenshots(window, QDir(dir));
}
