#include <dayvextest.h>

#include <QAccessible>
#include <QCalendarWidget>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QSignalSpy>
#include <QTabBar>

namespace {
void addAppointment(DayvexData &data, const QString &key, Date start, int minutes)
{
    data.Schedules()->Add(key, "Rossi", start, start.addMinutes(minutes), {}, "Ferri", {}, key, "Sala A", Date());
}
} // namespace

// What a user sees of the views, offscreen.
class tst_Views : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    }

    void init()
    {
        m_data = std::make_shared<DayvexData>();
        m_control = shownControl(m_data, at(2000, 12, 3, 15)); // a Sunday
        // These tests look at which command a gesture starts, not at the commands: the host vetoes them.
        m_host.answer.Cancel = true;
        m_host.listenTo(m_control.get());
    }

    void cleanup()
    {
        m_control.reset();
    }

    void timeColumns()
    {
        m_control->Refresh(zntPlanShowDay);
        AgendaGrid *grid = lista();
        QCOMPARE(grid->columnCount(), 3);
        QVERIFY(grid->horizontalHeader()->isHidden());
        QCOMPARE(grid->item(0, 0)->text(), "8");
        QCOMPARE(grid->rowSpan(0, 0), 2); // one figure per hour
        QCOMPARE(grid->item(24, 0)->text(), "20");
        QCOMPARE(grid->item(0, 1)->text(), "00");
        QCOMPARE(grid->item(1, 1)->text(), "30");
        QCOMPARE(m_control->findChild<QLabel *>("ThisDay")->text(), "Sunday 03");
    }

    // Modern: the whole day in rows, every part of an appointment on its day at
    // its true times, nothing covering anything; Classic comes back as it was.
    void modernWeek()
    {
        addAppointment(*m_data, "early", at(QDate(2000, 11, 28), 2, 38), 30);
        addAppointment(*m_data, "a", at(QDate(2000, 11, 29), 9), 90);
        addAppointment(*m_data, "b", at(QDate(2000, 11, 29), 10), 60);
        addAppointment(*m_data, "c", at(QDate(2000, 11, 29), 10, 30), 60);
        addAppointment(*m_data, "night", at(QDate(2000, 11, 30), 22), 60);
        m_data->Schedules()->Item("night")->EndDate = at(QDate(2000, 12, 1), 6); // past Add's end rule
        addAppointment(*m_data, "trip", at(QDate(2000, 11, 28), 9), 60);
        m_data->Schedules()->Item("trip")->EndDate = at(QDate(2000, 11, 30), 17);
        m_control->setPresentation(zntDayvex::Modern);
        m_control->Refresh(zntPlanShowWeek);
        AgendaGrid *grid = lista();
        // The trip: one bar from Tuesday's column to Thursday's, above the time rows.
        QCOMPARE(grid->allDayBarCount(), 1);
        const AppointmentBox *trip = grid->allDayBar(0);
        QVERIFY(trip->isVisible());
        const QRect bar(trip->mapTo(grid, QPoint()), trip->size());
        const int x = grid->viewport()->x();
        QVERIFY(qAbs(bar.left() - x - grid->columnViewportPosition(3)) < 4);
        QVERIFY(qAbs(bar.right() - x - grid->columnViewportPosition(6)) < 4);
        QVERIFY(bar.bottom() < grid->viewport()->y());
        QVERIFY(bar.top() > grid->horizontalHeader()->y());
        QCOMPARE(grid->rowCount(), 48);
        QCOMPARE(grid->rowLabel(16).hour, QString("8"));
        QVERIFY(grid->rowAt(0) >= 15 && grid->rowAt(0) <= 16); // scrolled to DayStartTime
        QMap<QString, int> parts;
        for (int i = 0; i < grid->boxCount(); ++i)
            ++parts[grid->box(i)->entry().key];
        QCOMPARE(grid->rowAt(boxOf(grid, "early")->geometry().top() + 1), 5); // 02:30 to 03:00
        QCOMPARE(parts.value("night"), 2);
        QCOMPARE(parts.value("trip"), 0);

        // More at once than Saturday's column holds: a "+N" that opens the day.
        for (int i = 0; i < 12; ++i)
            addAppointment(*m_data, QString("crowd%1").arg(i), at(QDate(2000, 12, 2), 10), 60);
        m_control->Refresh();
        QCOMPARE(grid->overflowMarkers().size(), size_t(1));
        m_control->Refresh(zntPlanShowMonth);
        QVERIFY(grid->overflowMarkers().empty()); // the week's markers go with its boxes
        m_control->Refresh(zntPlanShowWeek);
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->overflowMarkers().front().rect.center());
        QCOMPARE(m_control->CurrentView(), qint16(zntPlanShowDay));
        QCOMPARE(m_control->StartDay(), at(2000, 12, 2));

        // The month: six weeks, the overnight shift on both its days.
        addAppointment(*m_data, "sixth week", at(QDate(2001, 1, 3), 9), 60);
        m_control->setStartDay(at(2000, 12, 20));
        m_control->Refresh(zntPlanShowMonth);
        QStringList listed;
        for (int i = 0; i < grid->dayListCount(); ++i)
            if (grid->dayList(i)->isVisible())
                for (const AgendaEntry &e : grid->dayListEntries(i))
                    listed << grid->dayListDate(i).toDate().toString("d/M") + " " + e.key;
        QVERIFY2(listed.contains("30/11 night") && listed.contains("1/12 night"), qPrintable(listed.join(", ")));
        QVERIFY(listed.contains("3/1 sixth week"));
        // Saturday's crowd ends with "+N more", which opens the day.
        for (int i = 0; i < grid->dayListCount(); ++i) {
            DayList *list = grid->dayList(i);
            if (grid->dayListDate(i) != at(2000, 12, 2))
                continue;
            QVERIFY(!list->moreLine().isNull());
            QVERIFY(list->hiddenLines() > 1);
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->moreLine().center());
        }
        QCOMPARE(m_control->CurrentView(), qint16(zntPlanShowDay));
        QCOMPARE(m_control->StartDay(), at(2000, 12, 2));
        m_control->Refresh(zntPlanShowMonth);

        m_control->setPresentation(zntDayvex::Classic);
        m_control->Refresh(zntPlanShowWeek);
        QCOMPARE(grid->rowCount(), 25);
        QCOMPARE(grid->item(0, 0)->text(), "8");
    }

    void weekHeadingAndBoxes()
    {
        addAppointment(*m_data, "sunday", at(QDate(2000, 12, 3), 9), 60);
        addAppointment(*m_data, "monday", at(QDate(2000, 11, 27), 9), 60);
        addAppointment(*m_data, "next week", at(QDate(2000, 12, 4), 9), 60);
        m_control->Refresh(zntPlanShowWeek);

        AgendaGrid *grid = lista();
        QCOMPARE(m_control->CurrentView(), qint16(zntPlanShowWeek));
        QCOMPARE(grid->rowCount(), 25);
        QVERIFY(!grid->horizontalHeader()->isHidden());
        QStringList heading;
        for (int column = 2; column < 9; ++column)
            heading << grid->horizontalHeaderItem(column)->text();
        QCOMPARE(heading, QStringList({"Mon 27", "Tue 28", "Wed 29", "Thu 30", "Fri 1", "Sat 2", "Sun 3"}));

        // The week's two, in start order, Sunday's in the last column.
        QCOMPARE(grid->boxCount(), 2);
        QCOMPARE(grid->box(0)->entry().key, "monday");
        QCOMPARE(grid->box(1)->x(), grid->columnViewportPosition(8));
    }

    void monthDaysAndLists()
    {
        addAppointment(*m_data, "first b", at(QDate(2000, 12, 1), 11), 30);
        addAppointment(*m_data, "first a", at(QDate(2000, 12, 1), 9), 30);
        addAppointment(*m_data, "grey day", at(QDate(2000, 11, 27), 9), 30);
        m_control->Refresh(zntPlanShowMonth);

        AgendaGrid *grid = lista();
        QCOMPARE(grid->rowCount(), 12);
        QCOMPARE(grid->item(0, 2)->text(), "Mon 27 Nov");
        QCOMPARE(grid->item(0, 6)->text(), "Fri 1 Dec");
        QCOMPARE(grid->item(10, 8)->text(), "Sun 7 Jan");
        // The cells know their dates, which their captions and today's mark are drawn from.
        QCOMPARE(grid->monthCellDate(0, 6), std::optional<Date>(at(QDate(2000, 12, 1), 0)));
        QCOMPARE(grid->monthCellDate(1, 6), std::nullopt);
        const QPalette palette = grid->palette();
        QCOMPARE(grid->item(0, 2)->foreground().color(), palette.color(QPalette::Disabled, QPalette::Text));
        QCOMPARE(grid->item(0, 6)->foreground().color(), palette.color(QPalette::ButtonText));

        QCOMPARE(grid->dayListCount(), 2);
        DayList *friday = grid->dayList(1);
        QCOMPARE(friday->count(), 2);
        QVERIFY(friday->lineText(0).startsWith("09:00-09:30 Rossi: Sala A | Ferri | first a"));
        QCOMPARE(friday->geometry().left(), grid->columnViewportPosition(6) + 1);
        QCOMPARE(friday->geometry().top(), grid->rowViewportPosition(1));
        QCOMPARE(m_control->findChild<QLabel *>("ThisDay")->text(), "December 2000");
    }

    // The texts kept laid out are bounded for all the lists together: a month has
    // a list, and a delegate, per day, and a long session paints ever new lines.
    void laidOutTextsBoundedAcrossLists()
    {
        QStandardItemModel model(3000, 1);
        for (int row = 0; row < model.rowCount(); ++row)
            model.setItem(row, new QStandardItem(QString::number(row)));
        QImage image(200, 20, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        QStyleOptionViewItem option;
        option.rect = image.rect();
        CachedTextDelegate lists[2];
        for (const CachedTextDelegate &list : lists)
            for (int row = 0; row < model.rowCount(); ++row)
                list.paint(&painter, option, model.index(row, 0));
        QVERIFY(CachedTextDelegate::laidOutTexts() > 0);
        QVERIFY(CachedTextDelegate::laidOutTexts() <= 4096);
    }

    void todoRows()
    {
        auto todos = m_data->ToDoS();
        todos->Add("1", {}, "three, done", {}, Date(), 3, "P", true, Date(), Date());
        todos->Add("2", {}, "ten", {}, Date(), 10, "P", false, Date(), Date());
        todos->Add("3", {}, "two, first", {}, Date(), 2, "P", false, Date(), Date());
        todos->Add("4", {}, "two, second", {}, Date(), 2, "P", false, Date(), Date());
        m_control->Refresh();

        auto *grid = m_control->findChild<ToDoGrid *>("DaFare");
        QStringList shown;
        for (int row = 0; row < grid->rowCount(); ++row)
            shown << grid->cellText(row, 3);
        QCOMPARE(shown, QStringList({"two, second", "two, first", "three, done", "ten"}));
        QCOMPARE(grid->keyAt(2), "1");
        QCOMPARE(grid->model()->index(2, 3).data(Qt::ForegroundRole).value<QColor>(), QColor(0x80, 0x80, 0x80));
        QCOMPARE(grid->model()->index(0, 3).data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::black));
    }

    void boxFollowsResize()
    {
        addAppointment(*m_data, "a", at(QDate(2000, 12, 3), 9), 60);
        m_control->Refresh(zntPlanShowDay);
        AgendaGrid *grid = lista();
        const int before = grid->box(0)->width();
        QCOMPARE(before, grid->columnWidth(2));

        m_control->resize(1300, 700);
        QCoreApplication::processEvents();
        QVERIFY(grid->columnWidth(2) > before);
        QCOMPARE(grid->box(0)->width(), grid->columnWidth(2));
        QCOMPARE(grid->box(0)->y(), grid->rowViewportPosition(2));
    }

    void dateClickSelectsAndDraws()
    {
        addAppointment(*m_data, "tuesday", at(QDate(2000, 12, 5), 9), 60);
        m_control->Refresh(zntPlanShowDay);
        QCOMPARE(lista()->boxCount(), 0);

        QList<QDate> selected;
        int boxesWhenSelected = -1;
        connect(m_control.get(), &zntDayvex::DateSelected, this, [&](Date &NewDate) {
            selected << NewDate.toDate();
            boxesWhenSelected = lista()->boxCount(); // the host hears of the date after the views show it
        });
        auto *month = m_control->findChild<QCalendarWidget *>();
        month->setSelectedDate(QDate(2000, 12, 5));
        emit month->clicked(QDate(2000, 12, 5));
        QCOMPARE(selected, QList<QDate>{QDate(2000, 12, 5)});
        QCOMPARE(boxesWhenSelected, 1);
    }

    void clickMovesTheDate_data()
    {
        columns<int, int, int, QDate>("style", "row", "column", "shown");
        // the month of December 2000 starts on Monday 27 November
        QTest::newRow("month, row 1") << int(zntPlanShowMonth) << 1 << 2 << QDate(2000, 11, 27);
        QTest::newRow("month, row 2") << int(zntPlanShowMonth) << 2 << 2 << QDate(2000, 12, 4);
        QTest::newRow("month, last cell") << int(zntPlanShowMonth) << 11 << 8 << QDate(2001, 1, 7);
        QTest::newRow("week, Wednesday") << int(zntPlanShowWeek) << 3 << 4 << QDate(2000, 11, 29);
        QTest::newRow("week, time column") << int(zntPlanShowWeek) << 3 << 1 << QDate(2000, 12, 3);
        QTest::newRow("day") << int(zntPlanShowDay) << 3 << 2 << QDate(2000, 12, 3);
    }

    void clickMovesTheDate()
    {
        QFETCH(int, style);
        QFETCH(int, row);
        QFETCH(int, column);
        QSignalSpy changed(m_control.get(), &zntDayvex::currentViewChanged);
        m_control->Refresh(zntPlanShowType(style));
        m_control->Refresh(); // keeps the view
        m_control->Refresh(zntPlanShowType(style));
        QCOMPARE(m_control->CurrentView(), qint16(style));
        QCOMPARE(changed.size(), style == zntPlanShowDay ? 0 : 1); // announced once, when it changes
        if (!changed.isEmpty())
            QCOMPARE(changed.at(0).at(0).value<qint16>(), qint16(style));
        QCOMPARE(m_control->findChild<QTabBar *>("TipoVis")->currentIndex(), style - 1);
        QTest::mouseClick(lista()->viewport(), Qt::LeftButton, {}, cellCentre(row, column));
        QTEST(m_control->findChild<MonthCalendar *>("Calendar")->selectedDate(), "shown");
    }

    void rightClickMenus_data()
    {
        columns<bool, bool, bool, bool>("disableMenu", "onBox", "shown", "modifyEnabled");
        QTest::newRow("empty slot") << false << false << true << false;
        QTest::newRow("empty slot, menus disabled") << true << false << false << false;
        QTest::newRow("box, menus disabled") << true << true << true << true;
    }

    void rightClickMenus()
    {
        QFETCH(bool, disableMenu);
        QFETCH(bool, onBox);
        QFETCH(bool, shown);
        QFETCH(bool, modifyEnabled);
        addAppointment(*m_data, "a", at(QDate(2000, 12, 3), 9), 60);
        m_control->setDisableMenu(disableMenu);
        m_control->Refresh(zntPlanShowDay);
        if (onBox)
            QTest::mouseClick(lista()->box(0), Qt::RightButton, {}, QPoint(5, 5));
        else
            QTest::mouseClick(lista()->viewport(), Qt::RightButton, {}, cellCentre(10, 2));

        auto *menu = m_control->findChild<QMenu *>("mnAppuntamento");
        QCOMPARE(menu->isVisible(), shown);
        if (shown) {
            QVERIFY(entry("mnNuovo")->isEnabled());
            QCOMPARE(entry("mnModifica")->isEnabled(), modifyEnabled);
            QCOMPARE(entry("mnElimina")->isEnabled(), modifyEnabled);
        }
        menu->hide();
    }

    void detailPane_data()
    {
        columns<bool>("modern");
        QTest::newRow("classic") << false;
        QTest::newRow("modern") << true;
    }

    void detailPane()
    {
        QFETCH(bool, modern);
        m_control->setPresentation(modern ? zntDayvex::Modern : zntDayvex::Classic);
        addAppointment(*m_data, "a", at(QDate(2000, 12, 3), 9), 90);
        m_data->ToDoS()->Add("t1", {}, "Call", "Ask for the offer\nand the dates", Date::fromDate(QDate(2000, 12, 9)), 1,
                             "P", false, Date(), Date());
        m_control->Refresh(zntPlanShowDay);
        auto *pane = m_control->findChild<DetailPane *>("frShowApp");

        QTest::mouseClick(lista()->box(0), Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(pane->isVisible());
        QCOMPARE(pane->title(), "03/12/2000-03/12 - 10:30");
        QCOMPARE(pane->text(), "09:00-10:30 Rossi: Sala A \n Ferri \n a");
        QCOMPARE(zntDayvexPrivate::get(&*m_control)->viewSelection().appointmentKey, "a");
        QVERIFY(pane->x() < daFare()->x());
        m_data->Schedules()->Remove("a"); // deleted while its pane shows: the pane goes with it
        m_control->Refresh();
        QVERIFY(!pane->isVisible());
        QCOMPARE(m_control->selectedKind(), zntDayvex::SelectedKind::None);
        addAppointment(*m_data, "a", at(QDate(2000, 12, 3), 9), 90);

        QTest::mouseClick(daFare()->viewport(), Qt::LeftButton, {}, daFare()->visualRect(daFare()->model()->index(0, 3)).center());
        QCOMPARE(pane->text(), "due to: 09/12/2000\nstate: to be done\nshort description: Call\n"
                               "---------------------------------------\ndescription: Ask for the offer\nand the dates");
        QCOMPARE(zntDayvexPrivate::get(&*m_control)->viewSelection().toDoKey, "t1");
        QCOMPARE(pane->x(), daFare()->x());
        if (modern)
            QVERIFY(pane->geometry().bottom() < daFare()->y()); // above the list: no row covered
        else // at the top of the clicked row
            QCOMPARE(pane->y(), daFare()->viewport()->mapTo(m_control.get(), QPoint(0, daFare()->rowViewportPosition(0))).y());
        QTest::mouseMove(daFare()->viewport(), QPoint(5, daFare()->viewport()->height() - 5)); // clear of the pane
        QVERIFY(!pane->isVisible());
    }

    // Clicks and keys on boxes, slots and to-dos reach the commands, whatever the menus show.
    void gesturesReachCommands()
    {
        addAppointment(*m_data, "a", at(QDate(2000, 12, 3), 9), 60);
        m_data->ToDoS()->Add("t1", {}, "Call", {}, Date(), 1, "P", false, Date(), Date());
        m_control->Refresh(zntPlanShowWeek);
        QVERIFY(lista()->selectionModel()->selectedIndexes().isEmpty()); // nothing looks selected before a click
        QStringList ran;
        for (const char *name : {"mnNuovo", "mnModifica", "mnElimina", "mnNuovaAttività", "mnModificaAttività",
                                 "mnEliminaAttività"})
            connect(entry(name), &QAction::triggered, this, [&ran, name] { ran << QString::fromUtf8(name); });

        QTest::keyClick(lista()->box(0), Qt::Key_Return); // Classic: Delete is a box's only key
        QTest::mouseClick(lista()->box(0), Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(zntDayvexPrivate::get(&*m_control)->viewSelection().appointmentKey, "a");
        daFare()->setCurrentCell(0, 3);
        QTest::keyClick(daFare(), Qt::Key_Enter);
        QTest::keyClick(daFare(), Qt::Key_Delete);
        QCOMPARE(zntDayvexPrivate::get(&*m_control)->viewSelection().toDoKey, "t1");
        m_control->setPresentation(zntDayvex::Modern);
        QTest::keyClick(lista()->box(0), Qt::Key_Return);
        m_control->setPresentation(zntDayvex::Classic);
        QCOMPARE(ran, QStringList({"mnModificaAttività", "mnEliminaAttività", "mnModifica"}));

        // The menu key opens the menu of what has the focus, as a right click would.
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(2, 2), lista()->box(0)->mapToGlobal(QPoint(2, 2)));
        QApplication::sendEvent(lista()->box(0), &menuKey);
        auto *menu = m_control->findChild<QMenu *>("mnAppuntamento");
        QVERIFY(menu->isVisible());
        QVERIFY(entry("mnElimina")->isEnabled());
        menu->hide();

        // The arrows move the date on show with the current cell, as a click would.
        auto *calendar = m_control->findChild<MonthCalendar *>("Calendar");
        QTest::mouseClick(lista()->viewport(), Qt::LeftButton, {}, cellCentre(4, 4));
        QCOMPARE(calendar->selectedDate(), QDate(2000, 11, 29));
        QTest::keyClick(lista(), Qt::Key_Right);
        QCOMPARE(calendar->selectedDate(), QDate(2000, 11, 30));

        ran.clear();
        entry("mnModifica")->setEnabled(false); // a gesture runs the command whatever the menu showed
        QTest::mouseDClick(lista()->box(0), Qt::LeftButton, {}, QPoint(5, 5));
        QTest::keyClick(lista()->box(0), Qt::Key_Delete);
        QTest::keyClick(lista()->box(0), Qt::Key_Backspace);
        QTest::mouseDClick(lista()->viewport(), Qt::LeftButton, {}, cellCentre(10, 2));
        QTest::mouseDClick(daFare()->viewport(), Qt::LeftButton, {}, QPoint(20, daFare()->viewport()->height() - 5));
        m_control->setDisableMenu(true);
        QTest::mouseDClick(lista()->viewport(), Qt::LeftButton, {}, cellCentre(10, 2));
        QCOMPARE(ran, QStringList({"mnModifica", "mnElimina", "mnNuovo", "mnNuovaAttività"}));

        // Modern month: the arrows start from the day on show, across a month's end too.
        m_control->setPresentation(zntDayvex::Modern);
        calendar->setSelectedDate(QDate(2000, 11, 30));
        m_control->Refresh(zntPlanShowMonth);
        QTest::keyClick(lista(), Qt::Key_Right);
        QCOMPARE(calendar->selectedDate(), QDate(2000, 12, 1));
        QTest::keyClick(lista(), Qt::Key_Down);
        QCOMPARE(calendar->selectedDate(), QDate(2000, 12, 8));
        // Modern week: a redraw leaves the keyboard's cell where it was.
        m_control->Refresh(zntPlanShowWeek);
        lista()->setCurrentCell(20, 4);
        m_control->Refresh();
        QCOMPARE(QPoint(lista()->currentColumn(), lista()->currentRow()), QPoint(4, 20));
        // ... and the hour labels are no stop: Left from the first day stays on it.
        lista()->setCurrentCell(20, 2);
        QTest::keyClick(lista(), Qt::Key_Left);
        QCOMPARE(QPoint(lista()->currentColumn(), lista()->currentRow()), QPoint(2, 20));
        // A box with the focus gone with a redraw leaves the focus in the grid.
        calendar->setSelectedDate(QDate(2000, 11, 29));
        m_control->Refresh();
        QApplication::setActiveWindow(m_control->window());
        lista()->box(0)->setFocus();
        QVERIFY(lista()->box(0)->hasFocus());
        m_data->Schedules()->Remove(lista()->box(0)->entry().key);
        m_control->Refresh();
        QCOMPARE(QApplication::focusWidget(), lista());
    }

    // A weekly series, less a week it leaves out and an occurrence moved on its
    // own: each week shows what is left of it, where it is.
    void seriesOccurrences_data()
    {
        QTest::addColumn<bool>("modern");
        QTest::newRow("classic") << false;
        QTest::newRow("modern") << true;
    }

    void seriesOccurrences()
    {
        QFETCH(bool, modern);
        addAppointment(*m_data, "s", at(2000, 11, 27, 9), 60);
        Schedule &series = *m_data->Schedules()->Item("s");
        series.Recurrence = "FREQ=WEEKLY;COUNT=5";
        series.ExceptionDates = "20001211T090000";
        addAppointment(*m_data, "o", at(2000, 12, 4, 11), 30);
        m_data->Schedules()->Item("o")->SeriesKey = "s";
        m_data->Schedules()->Item("o")->RecurrenceId = at(2000, 12, 4, 9);
        m_control->setPresentation(modern ? zntDayvex::Modern : zntDayvex::Classic);
        QStringList seen;
        for (const QDate day : {QDate(2000, 11, 27), QDate(2000, 12, 4), QDate(2000, 12, 11), QDate(2000, 12, 18),
                                QDate(2001, 1, 1)}) {
            m_control->setStartDay(day);
            m_control->Refresh(zntPlanShowWeek);
            for (int i = 0; i < lista()->boxCount(); ++i)
                if (lista()->box(i)->isVisible())
                    seen << lista()->box(i)->entry().key + lista()->box(i)->entry().start.toDateTime().toString(" d hh");
        }
        QCOMPARE(seen, QStringList({"s 27 09", "o 4 11", "s 18 09"}));
        m_control->setStartDay(QDate(2000, 12, 1));
        m_control->Refresh(zntPlanShowMonth);
        int lines = 0;
        for (int i = 0; i < lista()->dayListCount(); ++i)
            lines += int(std::count_if(lista()->dayListEntries(i).begin(), lista()->dayListEntries(i).end(),
                                       [](const AgendaEntry &e) { return e.key == "s"; }));
        QCOMPARE(lines, 3); // 27 November, at the top of December's grid, 18 and 25 December
    }

    // Modern's keys, pressed in the grid or the to-do list, against a host that
    // vetoes every command; Classic leaves them to the grid.
    void modernKeys_data()
    {
        // row: the current cell's (Sunday's column) in the grid; selected: the key selected after
        columns<bool, bool, QKeySequence, int, int, Date, QStringList, QString>("modern", "inToDos", "keys", "row",
                                                                                "view", "startDay", "events",
                                                                                "selected");
        const Date sunday = at(2000, 12, 3);
        const QStringList none;
        auto row = [&](const char *name, bool modern, bool inToDos, const char *keys, int cell, int view, Date day,
                       const QStringList &events, const char *selected = "") {
            QTest::newRow(name) << modern << inToDos << QKeySequence(keys) << cell << view << day << events
                                << QString(selected);
        };
        row("Ctrl+3: month", true, false, "Ctrl+3", 30, 3, sunday, none);
        row("Ctrl+1 in the to-dos: day", true, true, "Ctrl+1", 30, 1, sunday, none);
        row("Page Down: next week", true, false, "PgDown", 30, 2, at(2000, 12, 10), none);
        row("Ctrl+3, Page Up: last month", true, false, "Ctrl+3, PgUp", 30, 3, at(2000, 11, 3), none);
        row("Page Up, Ctrl+T: today", true, false, "PgUp, Ctrl+T", 30, 2, today(), none);
        row("Ctrl+N, vetoed", true, false, "Ctrl+N", 30, 2, sunday, {"BeforeScheduleAdd", "15:00 15:00"});
        // A new to-do asks with the "change" event, as the menu's entry does.
        row("Ctrl+Shift+N, vetoed", true, false, "Ctrl+Shift+N", 30, 2, sunday, {"BeforeTodoChange"});
        row("Space, vetoed", true, true, "Space", 30, 2, sunday, {"BeforeTodoSetComplete"}, "t1");
        row("Insert, vetoed", true, true, "Ins", 30, 2, sunday, {"BeforeTodoChange"});
        row("Enter on a box, vetoed", true, false, "Return", 18, 2, sunday, {"BeforeScheduleChange", "09:00 10:00"},
            "a");
        row("Delete on a box, vetoed", true, false, "Del", 19, 2, sunday, {"BeforeScheduleDelete", "09:00 10:00"}, "a");
        row("Enter on an empty slot", true, false, "Return", 30, 2, sunday, {"BeforeScheduleAdd", "15:00 15:00"});
        row("Shift+Down twice, Enter: over three slots", true, false, "Shift+Down, Shift+Down, Return", 30, 2, sunday,
            {"BeforeScheduleAdd", "15:00 16:30"});
        row("Shift+Up, Shift+Down, Shift+Down, Ctrl+N", true, false, "Shift+Up, Shift+Down, Shift+Down, Ctrl+N", 30, 2,
            sunday, {"BeforeScheduleAdd", "15:00 16:00"});
        row("Ctrl+Down: the first appointment", true, false, "Ctrl+Down", 30, 2, sunday, none, "a");
        row("Shift+F10 on a box: its menu", true, false, "Shift+F10", 18, 2, sunday, none, "a");
        row("classic: Ctrl+3", false, false, "Ctrl+3", 10, 2, sunday, none);
        row("classic: Space", false, true, "Space", 10, 2, sunday, none);
        row("classic: Enter on a box", false, false, "Return", 2, 2, sunday, none);
    }

    void modernKeys()
    {
        QFETCH(bool, modern);
        QFETCH(bool, inToDos);
        QFETCH(QKeySequence, keys);
        QFETCH(int, row);
        addAppointment(*m_data, "a", at(2000, 12, 3, 9, 0), 60);
        m_data->ToDoS()->Add("t1", {}, "Call", {}, Date(), 1, "P", false, Date(), Date());
        m_control->setPresentation(modern ? zntDayvex::Modern : zntDayvex::Classic);
        m_control->Refresh(zntPlanShowWeek);
        QWidget *target = inToDos ? static_cast<QWidget *>(daFare()) : lista();
        if (inToDos)
            daFare()->setCurrentCell(0, 3);
        else
            lista()->setCurrentCell(row, 8);
        QApplication::setActiveWindow(m_control.get());
        target->setFocus();
        m_host.log.clear();
        m_host.editSchedule = [this](std::shared_ptr<Schedule> &proposed) {
            m_host.log << proposed->start().toString("hh:mm ") + proposed->end().toString("hh:mm");
        };
        for (int i = 0; i < keys.count(); ++i)
            QTest::keySequence(target, QKeySequence(keys[i]));
        QTEST(int(m_control->CurrentView()), "view");
        QTEST(m_control->StartDay().datePart(), "startDay");
        QTEST(m_host.log, "events");
        QTEST(m_control->selectedKey(), "selected");
        QVERIFY(!m_data->ToDoS()->Item("t1")->Done && m_data->Schedules()->find("a"));
        // A box the keyboard reached shows it.
        if (auto *box = qobject_cast<AppointmentBox *>(QApplication::focusWidget()))
            QCOMPARE(lista()->viewport()->grab().toImage().pixelColor(box->geometry().topLeft() + QPoint(1, 5)),
                     lista()->palette().color(QPalette::Highlight));
    }

    // Every part a reader can reach has a name; boxes and cells say what and when.
    void accessibleNames()
    {

        addAppointment(*m_data, "Dentist", at(QDate(2000, 11, 28), 9), 30);
        m_data->Schedules()->Item("Dentist")->Place = "Via Roma 3";
        m_data->ToDoS()->Add("t1", {}, "Call the bank", {}, Date(), 2, "Casa", true, Date(), Date());
        m_control->Refresh(zntPlanShowWeek);
        QAccessibleInterface *box = QAccessible::queryAccessibleInterface(lista()->box(0));
        QCOMPARE(box->text(QAccessible::Name), "Dentist, Tuesday 28 November, 09:00 to 09:30, Via Roma 3");
        QAccessibleInterface *cell = QAccessible::queryAccessibleInterface(lista())->tableInterface()->cellAt(3, 4);
        QCOMPARE(cell->text(QAccessible::Name), "Wednesday 29 November, 09:30");
        cell = QAccessible::queryAccessibleInterface(lista())->tableInterface()->cellAt(2, 3);
        QCOMPARE(cell->text(QAccessible::Name), "Tuesday 28 November, 09:00, " + box->text(QAccessible::Name));
        QAccessibleInterface *todo = QAccessible::queryAccessibleInterface(daFare())->tableInterface()->cellAt(0, 3);
        QCOMPARE(todo->text(QAccessible::Name), "Call the bank, priority 2, Casa, done");
        m_control->Refresh(zntPlanShowMonth);
        cell = QAccessible::queryAccessibleInterface(lista())->tableInterface()->cellAt(0, 3);
        QCOMPARE(cell->text(QAccessible::Name), "Tuesday 28 November 2000, 1 appointment");
        // Last: with no reader active, a table keeps the cell interfaces it handed out.
        QStringList unnamed;
        std::function<void(QAccessibleInterface *, int)> walk = [&](QAccessibleInterface *node, int depth) {
            if (!node || depth > 30)
                return;
            const QAccessible::State state = node->state();
            if (state.focusable && !state.invisible && node->text(QAccessible::Name).trimmed().isEmpty())
                unnamed << QString("%1 %2").arg(node->object() ? node->object()->metaObject()->className() : "?",
                                                 node->object() ? node->object()->objectName() : "");
            for (int i = 0; i < node->childCount(); ++i)
                walk(node->child(i), depth + 1);
        };
        walk(QAccessible::queryAccessibleInterface(m_control.get()), 0);
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(", ")));
    }

    // Modern: a night across two days is listed on both; the second shows it
    // going on, not its start again.
    void monthNightGoesOn()
    {
        m_control->setPresentation(zntDayvex::Modern);
        addAppointment(*m_data, "night", at(QDate(2000, 12, 1), 22), 30);
        m_data->Schedules()->Item("night")->EndDate = at(QDate(2000, 12, 2), 6);
        m_control->Refresh(zntPlanShowMonth);
        AgendaGrid *grid = lista();
        QCOMPARE(grid->dayListCount(), 2);
        const auto shortLine = [grid](int list) {
            return grid->dayList(list)->model()->index(0, 0).data(DayList::ShortLineRole).toString();
        };
        QVERIFY2(shortLine(0).startsWith("22:00 "), qPrintable(shortLine(0)));
        QVERIFY2(shortLine(1).startsWith(QString::fromUtf8("\u2192 ")), qPrintable(shortLine(1)));
    }

    void monthSelection()
    {
        addAppointment(*m_data, "friday", at(QDate(2000, 12, 1), 9), 30);
        addAppointment(*m_data, "saturday", at(QDate(2000, 12, 2), 9), 30);
        m_control->Refresh(zntPlanShowMonth);
        AgendaGrid *grid = lista();
        QCOMPARE(grid->dayListCount(), 2);
        DayList *friday = grid->dayList(0);
        DayList *saturday = grid->dayList(1);
        const QPoint firstLine = friday->visualRect(friday->model()->index(0, 0)).center();
        QTest::mouseClick(friday->viewport(), Qt::LeftButton, {}, firstLine);
        QTest::mouseClick(saturday->viewport(), Qt::LeftButton, {}, firstLine);
        QVERIFY(friday->selectionModel()->selectedIndexes().isEmpty());
        QCOMPARE(saturday->selectionModel()->selectedIndexes().size(), 1);

        // Delete acts on the line the keyboard selected, not on the one clicked before.
        addAppointment(*m_data, "saturday late", at(QDate(2000, 12, 2), 18), 30);
        m_control->Refresh();
        saturday = grid->dayList(1);
        QTest::mouseClick(saturday->viewport(), Qt::LeftButton, {}, firstLine);
        QTest::keyClick(saturday, Qt::Key_Down);
        QTest::keyClick(saturday, Qt::Key_Delete);
        QCOMPARE(zntDayvexPrivate::get(&*m_control)->viewSelection().appointmentKey, "saturday late");

        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, cellCentre(3, 2)); // an empty day
        QVERIFY(grid->selectionModel()->selectedIndexes().isEmpty());
        QCOMPARE(grid->hasHeadingRow(), false);
    }

    // Modern: Ctrl+Down and Ctrl+Up go through the month's appointments in time,
    // from the grid's current day or from a day's list, and stop at either end.
    void monthStepsThroughAppointments()
    {
        addAppointment(*m_data, "friday", at(QDate(2000, 12, 1), 9), 30);
        addAppointment(*m_data, "saturday late", at(QDate(2000, 12, 2), 18), 30);
        addAppointment(*m_data, "saturday", at(QDate(2000, 12, 2), 9), 30);
        m_control->setPresentation(zntDayvex::Modern);
        m_control->Refresh(zntPlanShowMonth);
        QApplication::setActiveWindow(m_control.get());
        AgendaGrid *grid = lista();
        for (int row = 0; row < grid->rowCount(); ++row)
            for (int column = 0; column < grid->columnCount(); ++column)
                if (grid->monthDayAt(row, column) == at(QDate(2000, 12, 3)))
                    grid->setCurrentCell(row, column);
        grid->setFocus();
        const auto selectedAfter = [this, grid](Qt::Key key) {
            QTest::keyClick(QApplication::focusWidget(), key, Qt::ControlModifier);
            int lines = 0; // one selected line across the days
            for (int i = 0; i < grid->dayListCount(); ++i)
                lines += int(grid->dayList(i)->selectionModel()->selectedIndexes().size());
            return lines == 1 ? m_control->selectedKey() : QStringLiteral("%1 lines selected").arg(lines);
        };
        QCOMPARE(selectedAfter(Qt::Key_Up), "saturday late"); // back from Sunday
        QVERIFY(qobject_cast<DayList *>(QApplication::focusWidget()));
        QCOMPARE(selectedAfter(Qt::Key_Down), "saturday late");
        QCOMPARE(selectedAfter(Qt::Key_Up), "saturday");
        QCOMPARE(selectedAfter(Qt::Key_Up), "friday");
        QCOMPARE(selectedAfter(Qt::Key_Up), "friday");
        QCOMPARE(selectedAfter(Qt::Key_Down), "saturday");
        QVERIFY(m_control->findChild<DetailPane *>("frShowApp")->isVisible());
    }

    void capsPanelFollowsCapsLock()
    {
        bool on = true;
        setCapsLockSource([&on] { return on; });
        auto *caps = m_control->findChild<StatusLine *>("StatusBar")->panel(0);
        QTest::keyClick(m_control.get(), Qt::Key_CapsLock);
        QVERIFY(caps->isEnabled());
        on = false;
        QTest::keyClick(m_control.get(), Qt::Key_CapsLock);
        QVERIFY(!caps->isEnabled());
        QCOMPARE(caps->text(), "CAPS");
        setCapsLockSource({});
    }

    void boxesArePaintedByTheGrid()
    {
        addAppointment(*m_data, "a", at(QDate(2000, 12, 3), 9), 120);
        m_data->Schedules()->Item("a")->Color = 0x00c000; // green, as 0x00BBGGRR
        m_control->Refresh(zntPlanShowDay);
        AgendaGrid *grid = lista();
        const QRect box = grid->box(0)->geometry();
        const QPoint corner = box.bottomRight() - QPoint(3, 3); // inside the border, below the text
        QCOMPARE(grid->viewport()->grab().toImage().pixelColor(corner), QColor(0, 0xc0, 0));

        // A new colour reaches the screen at the next Refresh, and a removed box leaves no trace.
        m_data->Schedules()->Item("a")->Color = 0x0000c0;
        m_control->Refresh();
        QCOMPARE(grid->viewport()->grab().toImage().pixelColor(corner), QColor(0xc0, 0, 0));
        m_data->Schedules()->Remove("a");
        m_control->Refresh();
        QVERIFY(grid->viewport()->grab().toImage().pixelColor(corner) != QColor(0xc0, 0, 0));
    }

    void boxTextFollowsItsFont_data()
    {
        columns<double>("scale");
        QTest::newRow("larger") << 2.5;
        QTest::newRow("smaller") << 0.6;
    }

    // Boxes share the lines fitted for a text, a size and a font: a box whose font
    // changes fits its text anew, and finds the first lines again when it changes back.
    void boxTextFollowsItsFont()
    {
        QFETCH(double, scale);
        addAppointment(*m_data, "a description long enough to need several lines in the box", at(QDate(2000, 12, 3), 9),
                       180);
        m_control->Refresh(zntPlanShowWeek);
        AppointmentBox *box = lista()->box(0);
        const QFont first = box->font();
        const QStringList before = box->shownText().lines;
        QFont changed = first;
        changed.setPointSizeF(first.pointSizeF() * scale);
        box->setFont(changed);
        const QStringList after = box->shownText().lines;
        QVERIFY(after != before);
        const QFontMetricsF metrics(changed);
        for (const QString &line : after)
            QVERIFY2(metrics.horizontalAdvance(line) <= box->width() - 6, qPrintable(line));
        box->setFont(first);
        QCOMPARE(box->shownText().lines, before);
    }

    void refreshShowsChangesMadeInPlace_data()
    {
        columns<int, QString>("view", "change");
        for (const int view : {zntPlanShowDay, zntPlanShowWeek, zntPlanShowMonth}) {
            for (const char *change : {"description", "time", "moved in", "removed", "added", "to-do"})
                QTest::addRow("%s, view %d", change, view) << view << QString::fromLatin1(change);
        }
    }

    // The host changes records without telling the control: the next Refresh shows
    // exactly what a drawing from scratch would, whatever was kept from the last one.
    void refreshShowsChangesMadeInPlace()
    {
        QFETCH(int, view);
        QFETCH(QString, change);
        const QDate sunday(2000, 12, 3);
        addAppointment(*m_data, "a", at(sunday, 9), 60);
        addAppointment(*m_data, "b", at(sunday, 11), 30);
        addAppointment(*m_data, "far", at(sunday.addMonths(3), 10), 30);
        m_data->ToDoS()->Add("1", {}, "first", {}, Date(), 1, "P", false, Date(), Date());
        m_control->Refresh(zntPlanShowType(view));
        const QStringList before = shownLines();
        QCOMPARE(before.size(), 2);
        if (view != zntPlanShowMonth)
            lista()->setCurrentCell(4, 2);

        const std::shared_ptr<Schedule> a = m_data->Schedules()->Item("a");
        if (change == "description") {
            a->Description = QStringLiteral("changed in place");
        } else if (change == "time") {
            a->StartDate = at(sunday, 14);
            a->EndDate = at(sunday, 15);
        } else if (change == "moved in") {
            const std::shared_ptr<Schedule> far = m_data->Schedules()->Item("far");
            far->StartDate = at(sunday, 10);
            far->EndDate = at(sunday, 12);
        } else if (change == "removed") {
            m_data->Schedules()->Remove("b");
        } else if (change == "added") {
            addAppointment(*m_data, "c", at(sunday, 8), 30);
        } else {
            m_data->ToDoS()->Item("1")->ShortDesc = QStringLiteral("renamed");
        }
        m_control->Refresh();

        QStringList expected;
        for (const auto &s : appointmentsStartingIn(*m_data->Schedules(), viewRange(view, Date::fromDate(sunday), true)))
            expected << appointmentLine(s->StartDate, s->EndDate, m_control->MultiUserEnabled(), s->Owner, s->Place, s->Contact, s->Description);
        QCOMPARE(shownLines(), expected);
        QCOMPARE(daFare()->cellText(0, ToDoGrid::DescriptionColumn), change == "to-do" ? "renamed" : "first");
        QCOMPARE(lista()->currentRow(), -1); // a Refresh leaves no slot selected
    }

private:
    std::unique_ptr<zntDayvex> m_control;
    std::shared_ptr<DayvexData> m_data;
    ScriptedHost m_host;
    AgendaGrid *lista() const { return m_control->findChild<AgendaGrid *>("Lista"); }
    ToDoGrid *daFare() const { return m_control->findChild<ToDoGrid *>("DaFare"); }
    QAction *entry(const char *name) const { return m_control->findChild<QAction *>(QString::fromUtf8(name)); }
    // Every appointment line on show, in drawing order.
    QStringList shownLines() const
    {
        QStringList lines;
        for (int i = 0; i < lista()->boxCount(); ++i)
            lines << lista()->box(i)->entry().line();
        for (int i = 0; i < lista()->dayListCount(); ++i) {
            for (int line = 0; line < lista()->dayList(i)->count(); ++line)
                lines << lista()->dayList(i)->lineText(line);
        }
        return lines;
    }
    QPoint cellCentre(int row, int column) const
    {
        return lista()->visualRect(lista()->model()->index(row, column)).center();
    }
};

QTEST_MAIN(tst_Views)
#include "tst_views.moc"
