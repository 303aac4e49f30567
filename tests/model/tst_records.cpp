#include <dayvex/model/records.h>

#include <QMetaProperty>
#include <QTest>

using namespace dayvex;

class tst_Records : public QObject
{
    Q_OBJECT
private slots:
    void interfaceOrder_data();
    void interfaceOrder();
};

void tst_Records::interfaceOrder_data()
{
    QTest::addColumn<const QMetaObject *>("meta");
    QTest::addColumn<QStringList>("members");
    QTest::newRow("Schedule") << &Schedule::staticMetaObject
                              << QStringList{"Key", "Tag", "Color", "ReminderDate", "Place", "Description",
                                             "Category", "Contact", "ContactCode", "EndDate", "StartDate", "Owner"};
    QTest::newRow("ToDo") << &ToDo::staticMetaObject
                          << QStringList{"Key", "Tag", "ReminderDate", "DateDone", "Done", "Project",
                                         "Priority", "DueTo", "LongDesc", "ShortDesc", "Owner"};
    QTest::newRow("Alarm") << &Alarm::staticMetaObject
                           << QStringList{"Key", "Tag", "AlarmChanged", "AlarmDateTime", "AlarmEventKey", "AlarmType"};
    QTest::newRow("User") << &User::staticMetaObject << QStringList{"Key", "Tag"};
}

void tst_Records::interfaceOrder()
{
    QFETCH(const QMetaObject *, meta);
    QFETCH(QStringList, members);
    QStringList names;
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i)
        names << QString::fromLatin1(meta->property(i).name());
    QCOMPARE(names, members);
}

QTEST_GUILESS_MAIN(tst_Records)
#include "tst_records.moc"
