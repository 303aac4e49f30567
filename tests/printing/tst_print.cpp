#include <dayvextest.h>

#include <QAction>
#include <QImage>
#include <QPointer>
#include <QPrintPreviewDialog>
#include <QPdfWriter>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

// The first page as pdftoppm renders it, at 40 dots to the inch.
QImage firstPage(const QString &pdf)
{
#ifdef DAYVEX_PDFTOPPM
    const QString prefix = pdf + QStringLiteral("-page");
    QProcess::execute(QStringLiteral(DAYVEX_PDFTOPPM),
                      {"-png", "-r", "40", "-f", "1", "-l", "1", "-singlefile", pdf, prefix});
    return QImage(prefix + QStringLiteral(".png"));
#else
    Q_UNUSED(pdf);
    return {};
#endif
}

bool near(QRgb a, QRgb b)
{
    return qAbs(qRed(a) - qRed(b)) < 12 && qAbs(qGreen(a) - qGreen(b)) < 12 && qAbs(qBlue(a) - qBlue(b)) < 12;
}

// How many pixels of image are near colour, and where they are.
std::pair<int, QRect> pixelsLike(const QImage &image, QRgb colour)
{
    std::pair<int, QRect> found;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (near(image.pixel(x, y), colour)) {
                ++found.first;
                found.second |= QRect(x, y, 1, 1);
            }
    return found;
}

} // namespace

class tst_Print : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        resetSharedSettings();
        resetLanguage();
        LoadLanguage();
        setClockSource([] { return QDateTime(QDate(2027, 3, 3), QTime(10, 0)); });
    }

    void views_data()
    {
        columns<int, QPageLayout::Orientation, bool>("view", "orientation", "modern");
        QTest::newRow("day") << int(PrintedView::Day) << QPageLayout::Portrait << false;
        QTest::newRow("week") << int(PrintedView::Week) << QPageLayout::Landscape << false;
        QTest::newRow("month") << int(PrintedView::Month) << QPageLayout::Landscape << false;
        QTest::newRow("to-dos") << int(PrintedView::ToDoList) << QPageLayout::Portrait << false;
        QTest::newRow("day, modern") << int(PrintedView::Day) << QPageLayout::Portrait << true;
        QTest::newRow("week, modern") << int(PrintedView::Week) << QPageLayout::Landscape << true;
    }

    void views()
    {
        QFETCH(int, view);
        QFETCH(QPageLayout::Orientation, orientation);
        DayvexData data;
        // a green appointment on Wednesday 3 March 2027 (0x00BBGGRR)
        data.Schedules()->Add("1", "Rossi", at(2027, 3, 3, 10, 0), at(2027, 3, 3, 13, 0), "", "", "", "Green meeting",
                              "Sala A", Date(), QString(), 0x00C000);
        data.ToDoS()->Add("1", "", "Call the bank", "", at(2027, 3, 5, 9, 0), 1, "Casa", false, Date(), Date());
        QFETCH(bool, modern);
        if (modern) {
            // blue at 02:00, before the working day; a red trip over Wednesday and Thursday
            data.Schedules()->Add("2", "Rossi", at(2027, 3, 3, 2, 0), at(2027, 3, 3, 3, 0), "", "", "", "Flight", "",
                                  Date(), QString(), 0xC00000);
            data.Schedules()->Add("3", "Rossi", at(2027, 3, 3), at(2027, 3, 3, 12, 0), "", "", "", "Trip", "", Date(),
                                  QString(), 0x0000C0);
            data.Schedules()->Item("3")->EndDate = at(2027, 3, 5);
        }

        QTemporaryDir dir;
        // DAYVEX_KEEP_PRINTS=1 keeps the PDFs to look at.
        dir.setAutoRemove(!qEnvironmentVariableIsSet("DAYVEX_KEEP_PRINTS"));
        const QString path = dir.filePath(QStringLiteral("%1.pdf").arg(QTest::currentDataTag()));
        if (!dir.autoRemove())
            qInfo("%s", qPrintable(path));
        int pages = 0;
        {
            QPdfWriter pdf(path);
            pdf.setResolution(300);
            pdf.setPageSize(QPageSize(QPageSize::A4));
            pdf.setPageOrientation(orientation);
            PrintOptions options;
            options.view = PrintedView(view);
            options.shown = at(2027, 3, 3);
            options.modern = modern;
            pages = printAgenda(pdf, data, options);
        }
        QCOMPARE(pages, 1);
        QFile written(path);
        QVERIFY(written.open(QIODevice::ReadOnly));
        // page objects of the file, not its page tree ("/Type /Pages")
        static const QRegularExpression pageObject(QStringLiteral("/Type\\s*/Page(?!s)"));
        int pageObjects = 0;
        for (auto it = pageObject.globalMatch(QString::fromLatin1(written.readAll())); it.hasNext(); it.next())
            ++pageObjects;
        QCOMPARE(pageObjects, pages);

        const QImage page = firstPage(path);
        if (page.isNull())
            QSKIP("pdftoppm is not installed");
        // the page has the orientation asked for, a heading in black, and the green box outside the to-do list
        QCOMPARE(page.width() > page.height(), orientation == QPageLayout::Landscape);
        QVERIFY(pixelsLike(page.copy(0, 0, page.width(), page.height() / 8), qRgb(0, 0, 0)).first > 20);
        const auto [green, meeting] = pixelsLike(page, qRgb(0, 0xc0, 0));
        if (view == int(PrintedView::Day) || view == int(PrintedView::Week))
            QVERIFY2(green > 100, qPrintable(QString::number(green)));
        else
            QCOMPARE(green, 0); // the month lists lines, the to-do list has no colours
        if (!modern)
            return;
        // The early flight on the page, above the green box; the trip a bar above
        // both, two days wide in the week.
        const QRect flight = pixelsLike(page, qRgb(0, 0, 0xc0)).second, trip = pixelsLike(page, qRgb(0xc0, 0, 0)).second;
        QVERIFY(flight.isValid() && meeting.isValid() && trip.isValid());
        QVERIFY(trip.bottom() < flight.top() && flight.bottom() < meeting.top());
        if (view == int(PrintedView::Week))
            QVERIFY2(trip.width() > 1.7 * meeting.width(), qPrintable(QString("%1 %2").arg(trip.width()).arg(meeting.width())));
    }

    void toDoListBreaksOverPages()
    {
        DayvexData data;
        for (int i = 1; i <= 150; ++i)
            data.ToDoS()->Add(QString::number(i), "", QStringLiteral("Task %1").arg(i), "", Date(), qint16(i % 9), "", false,
                              Date(), Date());
        QTemporaryDir dir;
        QPdfWriter pdf(dir.filePath("todos.pdf"));
        pdf.setPageSize(QPageSize(QPageSize::A4));
        PrintOptions options;
        options.view = PrintedView::ToDoList;
        const int pages = printAgenda(pdf, data, options);
        QVERIFY2(pages >= 3 && pages <= 6, qPrintable(QString::number(pages))); // about 40 rows to a page
        pdf.setPageOrientation(QPageLayout::Landscape);
        QVERIFY(printAgenda(pdf, data, options) > pages); // fewer rows fit across
    }

    void controlPrintsItsView()
    {
        auto data = std::make_shared<DayvexData>();
        data->Schedules()->Add("1", "Rossi", at(2027, 3, 3, 10, 0), at(2027, 3, 3, 11, 0), "", "", "", "Meeting", "",
                               Date());
        const auto control = shownControl(data, at(2027, 3, 3));
        control->Refresh(zntPlanShowMonth);
        QTemporaryDir dir;
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(dir.filePath("control.pdf"));
        QCOMPARE(control->printView(&printer), 1);
        QVERIFY(QFileInfo(dir.filePath("control.pdf")).size() > 1000);
        QVERIFY_THROWS_EXCEPTION(Error, control->printView(nullptr));
    }

    // While the preview's page setup waits for its user, the host deletes the
    // control or closes the preview: nothing is freed under the page setup, the
    // preview paints nothing more from a deleted control, and it goes once closed.
    void underPageSetup_data()
    {
        QTest::addColumn<bool>("deleteControl");
        QTest::newRow("control deleted") << true;
        QTest::newRow("preview closed") << false;
    }
    void underPageSetup()
    {
        QFETCH(bool, deleteControl);
        auto *control = new zntDayvex;
        control->setPlan(std::make_shared<DayvexData>());
        control->resize(900, 600);
        control->show();
        control->findChild<QAction *>("mnStampa")->trigger();
        QPointer<QPrintPreviewDialog> preview = control->findChild<QPrintPreviewDialog *>();
        QVERIFY(preview);
        QAction *pageSetup = nullptr;
        for (QAction *action : preview->findChildren<QAction *>())
            if (action->text().contains("Page setup", Qt::CaseInsensitive))
                pageSetup = action;
        QVERIFY(pageSetup);
        bool done = false;
        QTimer::singleShot(50, [&] {
            deleteControl ? delete control : void(preview->close());
            done = true;
            for (QDialog *setup : preview->findChildren<QDialog *>())
                if (setup->isVisible())
                    QMetaObject::invokeMethod(setup, "accept", Qt::QueuedConnection);
        });
        pageSetup->trigger(); // runs the page setup dialog until the timer accepts it
        QVERIFY(done);
        QVERIFY(preview);
        preview->close(); // as its user would
        QTRY_VERIFY(!preview);
        if (!deleteControl)
            delete control;
    }
};

QTEST_MAIN(tst_Print)
#include "tst_print.moc"
