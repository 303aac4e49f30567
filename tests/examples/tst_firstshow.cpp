#include "demowindow.h"

#include <dayvextest.h>

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <QSettings>
#include <QTemporaryDir>

// The demo host as a user starts it, in a real window: the host refreshes its
// control before the window is shown, and the first resize comes with show().
class tst_FirstShow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QCOMPARE(QGuiApplication::platformName(), "xcb");
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        setClockSource([this] { return m_now; });
    }

    void init()
    {
        resetSharedSettings();
        m_settings = std::make_unique<QSettings>(m_dir.filePath("demo.ini"), QSettings::IniFormat);
        m_settings->clear();
        // The control's own layout, which the checks below measure against its placer.
        m_settings->setValue("demo/modern", false);
        open();
    }

    void open()
    {
        m_window.reset();
        m_window = std::make_unique<DemoWindow>(*m_settings);
        m_window->resize(1280, 760);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QTest::qWait(200);
    }

    // The demo as it starts by default: the working day fills the grid, and no
    // box covers another or is cut off by the viewport's sides.
    void modernWeekFillsTheGrid()
    {
        m_window.reset(); // it saves its presentation as it closes
        m_settings->remove("demo/modern");
        open();
        QCOMPARE(m_window->control()->Presentation(), zntDayvex::Modern);
        AgendaGrid *grid = lista();
        QVERIFY(grid->rowAt(0) >= 15 && grid->rowAt(0) <= 16);
        QVERIFY(grid->rowHeight(0) * 24 >= grid->viewport()->height() * 85 / 100);
        std::vector<QRect> drawn;
        for (int i = 0; i < grid->boxCount(); ++i)
            if (grid->box(i)->isVisible())
                drawn.push_back(grid->box(i)->geometry());
        QVERIFY(!drawn.empty());
        for (size_t i = 0; i < drawn.size(); ++i) {
            QVERIFY(drawn[i].left() >= 0 && drawn[i].right() < grid->viewport()->width());
            for (size_t j = i + 1; j < drawn.size(); ++j)
                QVERIFY(!drawn[i].intersects(drawn[j]));
        }
    }

    void cleanup()
    {
        m_window.reset();
    }

    void weekBoxesStandWherePlaced()
    {
        AgendaGrid *grid = lista();
        QCOMPARE(m_window->control()->CurrentView(), qint16(zntPlanShowWeek));
        std::vector<BoxInput> inputs;
        for (int i = 0; i < grid->boxCount(); ++i)
            inputs.push_back({grid->box(i)->entry().times(), weekdayFromMonday(grid->box(i)->entry().start) - 1});
        GridGeometry g = grid->boxGeometry(true);
        g.dayStart = Date::fromTime(QTime(8, 0));
        g.step = 30;
        const std::vector<BoxPlacement> placed = placeBoxes(inputs, g);

        const TwipsScale scale = TwipsScale::of(grid);
        int visible = 0;
        for (int i = 0; i < grid->boxCount(); ++i) {
            const BoxPlacement &p = placed[size_t(i)];
            QCOMPARE(grid->box(i)->isVisible(), p.visible);
            if (!p.visible)
                continue;
            ++visible;
            QCOMPARE(grid->box(i)->geometry(), QRect(scale.toPixels(p.left), scale.toPixels(p.top),
                                                      scale.toPixels(p.width), scale.toPixels(p.height)));
        }
        QVERIFY2(visible >= 6, "the six appointments of the day, at least");
    }

    void overlappingAppointmentsSideBySide()
    {
        // 09:00-10:30 and 09:30-10:30 on the day on show.
        AppointmentBox *first = box("1");
        AppointmentBox *second = box("2");
        QVERIFY(first && second);
        QVERIFY(first->isVisible() && second->isVisible());
        // Each box is 10 twips wider than its share: neighbours meet on one frame line at most.
        QVERIFY2(first->geometry().intersected(second->geometry()).width() <= 1, "the two boxes cover each other");
        QCOMPARE(first->y(), lista()->rowViewportPosition(2));
        QVERIFY(first->x() < second->x());
    }

    void todoColumnsHaveTheirWidths()
    {
        auto *todos = m_window->findChild<ToDoGrid *>("DaFare");
        const TwipsScale scale = TwipsScale::of(todos);
        QCOMPARE(todos->rowCount(), 12);
        QCOMPARE(todos->columnWidth(ToDoGrid::PriorityColumn), scale.toPixels(300));
        QCOMPARE(todos->columnWidth(ToDoGrid::ProjectColumn), scale.toPixels(700));
        QCOMPARE(todos->columnWidth(ToDoGrid::DescriptionColumn), todos->width() - scale.toPixels(1000));
    }

    void paneBesideTheBoxAndClosing()
    {
        zntDayvex *control = m_window->control();
        auto *pane = control->findChild<DetailPane *>("frShowApp");
        AppointmentBox *shown = box("3");
        QVERIFY(shown && shown->isVisible());

        QTest::mouseClick(shown, Qt::LeftButton, {}, QPoint(5, 5));
        QTRY_VERIFY(pane->isVisible());
        const QRect boxArea(shown->mapTo(control, QPoint(0, 0)), shown->size());
        QVERIFY2(!pane->geometry().intersects(boxArea), "the pane covers its box");
        QVERIFY(lista()->geometry().contains(pane->geometry()));

        QTest::keyClick(shown, Qt::Key_Escape);
        QVERIFY(!pane->isVisible());

        QTest::mouseClick(shown, Qt::LeftButton, {}, QPoint(5, 5));
        QTRY_VERIFY(pane->isVisible());
        QTest::mouseClick(lista()->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(!pane->isVisible());

        // A double click opens the editor; the release that ends it does not bring the pane back.
        bool editorOpened = false;
        QTimer::singleShot(100, this, [&editorOpened] {
            for (QWidget *window : QApplication::topLevelWidgets()) {
                if (window->objectName() == "frmAppuntamento" && window->isVisible()) {
                    editorOpened = true;
                    QTest::mouseClick(window->findChild<QPushButton *>("Fine"), Qt::LeftButton);
                }
            }
        });
        QTest::mouseDClick(shown, Qt::LeftButton, {}, QPoint(5, 5));
        QTRY_VERIFY(editorOpened);
        QTest::qWait(50);
        QVERIFY(!pane->isVisible());
        QVERIFY(!zntDayvexPrivate::get(&*control)->commandInProgress());
    }

    void todayAndTheCurrentTime()
    {
        AgendaGrid *grid = lista();
        QCOMPARE(grid->todayColumn(), 8); // Sunday
        QVERIFY(grid->horizontalHeaderItem(8)->font().bold());
        QVERIFY(!grid->horizontalHeaderItem(7)->font().bold());
        const TwipsScale scale = TwipsScale::of(grid);
        const std::optional<double> offset = nowLineOffset(Date::fromDateTime(m_now), Date::fromTime(QTime(8, 0)), 30,
                                                           grid->rowCount(), scale.toTwips(grid->rowHeight(0)));
        QVERIFY(offset);
        const QRect line = grid->nowLine();
        QCOMPARE(line.x(), grid->columnViewportPosition(8));
        QCOMPARE(line.width(), grid->columnWidth(8));
        QCOMPARE(line.center().y(), grid->rowViewportPosition(0) + scale.toPixels(*offset) - 1);
    }

private:
    AgendaGrid *lista() const { return m_window->findChild<AgendaGrid *>("Lista"); }
    AppointmentBox *box(const QString &key) const
    {
        for (int i = 0; i < lista()->boxCount(); ++i) {
            if (lista()->box(i)->entry().key == key)
                return lista()->box(i);
        }
        return nullptr;
    }

    // Sunday 22 November 2026, 14:10: the sample's appointments are on that day.
    const QDateTime m_now{QDate(2026, 11, 22), QTime(14, 10)};
    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<DemoWindow> m_window;
};

QTEST_MAIN(tst_FirstShow)
#include "tst_firstshow.moc"
