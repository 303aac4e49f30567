#include <dayvextest.h>

#include <dayvex/control/propertytable.h>

#include <QLabel>
#include <QSignalSpy>
#include <QVBoxLayout>

// What a Qt host expects of the control beside its own API: property change
// signals, size hints a layout can use, refused values in the log.
class tst_QtApi : public QObject
{
    Q_OBJECT
private slots:
    void init() { resetSharedSettings(); }

    // The saved properties and the ones a form can set are the same list, so a
    // property added to one is not forgotten in the other.
    void designablePropertiesAreTheSavedOnes()
    {
        QStringList saved, designable;
        for (const ControlProperty &row : controlProperties())
            saved << row.name;
        const QMetaObject &meta = zntDayvex::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
            if (meta.property(i).isDesignable())
                designable << meta.property(i).name();
        saved.sort();
        designable.sort();
        QCOMPARE(designable, saved);
    }

    void notifySignals_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("start time") << QByteArray("DayStartTime") << QVariant("07:30") << true;
        QTest::newRow("start time refused") << QByteArray("DayStartTime") << QVariant("25:99") << false;
        QTest::newRow("step") << QByteArray("DayStepMinutes") << QVariant(15) << true;
        QTest::newRow("step refused") << QByteArray("DayStepMinutes") << QVariant(3) << false;
        QTest::newRow("day") << QByteArray("StartDay") << QVariant(QDate(2027, 3, 1)) << true;
        QTest::newRow("alarms") << QByteArray("GlobalAlarmsEnable") << QVariant(false) << true;
        QTest::newRow("owner") << QByteArray("DefaultOwner") << QVariant("Rossi") << true;
        QTest::newRow("menus") << QByteArray("DisableMenu") << QVariant(true) << true;
    }

    void notifySignals()
    {
        QFETCH(QByteArray, name);
        QFETCH(QVariant, value);
        QFETCH(bool, accepted);
        zntDayvex control;
        const QMetaProperty property = control.metaObject()->property(control.metaObject()->indexOfProperty(name));
        QSignalSpy notified(&control, property.notifySignal());
        QSignalSpy changed(&control, &zntDayvex::PropertyChanged);
        if (!accepted)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(name + " refuses"));
        property.write(&control, value);
        QCOMPARE(notified.size(), accepted ? 1 : 0);
        QCOMPARE(changed.size(), accepted ? 1 : 0);
        if (accepted)
            QCOMPARE(notified.at(0).at(0), value);
    }

    void currentViewChanged()
    {
        zntDayvex control;
        control.resize(900, 600);
        QSignalSpy spy(&control, &zntDayvex::currentViewChanged);
        control.Refresh(zntPlanShowMonth);
        control.Refresh(zntPlanShowMonth);
        control.Refresh(zntPlanShowDay);
        QCOMPARE(spy.size(), 2);
        QCOMPARE(spy.at(1).at(0).value<qint16>(), qint16(zntPlanShowDay));
    }

    // Under a label in a column, the control takes the room and never less than its minimum.
    void sizeHintsInALayout()
    {
        QWidget form;
        auto *column = new QVBoxLayout(&form);
        column->addWidget(new QLabel("Agenda"));
        auto *control = new zntDayvex;
        column->addWidget(control);
        form.resize(400, 300);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QVERIFY(control->sizeHint().width() > control->minimumSizeHint().width());
        QVERIFY(control->height() >= control->minimumSizeHint().height());
        QVERIFY(control->height() > form.height() / 2);
    }
};

QTEST_MAIN(tst_QtApi)
#include "tst_qtapi.moc"
