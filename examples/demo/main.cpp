#include "demowindow.h"

#include <dayvex/control/zntdayvex.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
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
    for (const auto &[style, name] : views) {
        window.control()->Refresh(style);
        QCoreApplication::processEvents();
        const QString file = QDir(dir).filePath(QString::fromLatin1(name));
        if (!window.grab().save(file)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        std::printf("%s\n", qPrintable(file));
    }
    return 0;
}
