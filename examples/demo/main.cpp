#include "demowindow.h"

#include <dayvex/control/zntdayvex.h>
#include <dayvex/views/appointmentbox.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QMouseEvent>
#include <QSettings>
#include <QTimer>

#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Dayvex"));
    QCoreApplication::setApplicationName(QStringLiteral("DayvexDemo"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A host application for the Dayvex agenda control."));
    parser.addHelpOption();
    QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                  QStringLiteral("Render the window to PNG files in <dir> and exit."),
                                  QStringLiteral("dir"));
    parser.addOption(screenshot);
    parser.process(app);

    QSettings settings;
    DemoWindow window(settings);
    window.resize(1280, 760);

    if (!parser.isSet(screenshot)) {
        window.show();
        return app.exec();
    }

    const QString dir = parser.value(screenshot);
    if (!QDir().mkpath(dir)) {
        std::fprintf(stderr, "cannot create %s\n", qPrintable(dir));
        return 1;
    }
    window.show();
    QCoreApplication::processEvents();
    const std::pair<dayvex::zntPlanShowType, const char *> views[] = {
        {dayvex::zntPlanShowDay, "day.png"}, {dayvex::zntPlanShowWeek, "week.png"}, {dayvex::zntPlanShowMonth, "month.png"}};
    const auto save = [&](const char *name) {
        QCoreApplication::processEvents();
        const QString file = QDir(dir).filePath(QString::fromLatin1(name));
        if (!window.grab().save(file)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return false;
        }
        std::printf("%s\n", qPrintable(file));
        return true;
    };
    for (const auto &[style, name] : views) {
        window.control()->Refresh(style);
        if (!save(name))
            return 1;
    }

    // The week again, with the detail pane of its first appointment open, as a click shows it.
    window.control()->Refresh(dayvex::zntPlanShowWeek);
    auto *box = window.control()->findChild<dayvex::AppointmentBox *>(QStringLiteral("txApp"));
    if (box) {
        const QPointF inside(4, 4);
        QMouseEvent press(QEvent::MouseButtonPress, inside, box->mapToGlobal(inside), Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, inside, box->mapToGlobal(inside), Qt::LeftButton,
                            Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(box, &press);
        QCoreApplication::sendEvent(box, &release);
    }
    return save("detail.png") ? 0 : 1;
}
