#include <dayvextest.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/store/localstore.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <limits>
#include <sys/resource.h>

namespace {
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// What a store opened afresh on path loads.
QString reopened(const QString &path)
{
    auto data = std::make_shared<DayvexData>();
    LocalStore store(data);
    return store.open(path) == LocalStore::Opened::Loaded ? contents(*data) : QStringLiteral("(a new file)");
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Runs statements on path through a connection of the test's own, as another program would.
void runSql(const QString &path, const QStringList &statements)
{
    {
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "test");
        db.setDatabaseName(path);
        for (const QString &sql : statements)
            QVERIFY2(db.open() && QSqlQuery(db).exec(sql), qPrintable(sql));
    }
    QSqlDatabase::removeDatabase("test");
}

std::shared_ptr<Schedule> addSchedule(DayvexData &data, const QString &key, const QString &place = QString())
{
    return data.Schedules()->Add(key, "", at(2024, 5, 6, 9), at(2024, 5, 6, 10), "", "", "", "about " + key, place, Date());
}

// The child of crashWhileWriting: adds, changes and removes appointments one
// journal write at a time, as the control does before each after-event,
// reporting each as the host would hear of it.
int writeBurst(const QString &path)
{
    auto data = std::make_shared<DayvexData>();
    LocalStore store(data);
    store.open(path);
    for (int i = 0;; ++i) {
        data->journalChange(addSchedule(*data, QString::number(i)), false);
        std::printf("add %d\n", i);
        if (i % 3 == 2) {
            const auto changed = data->Schedules()->Item(QString::number(i - 1));
            changed->Description = QStringLiteral("v%1").arg(i);
            data->journalChange(changed, false);
            std::printf("change %d v%d\n", i - 1, i);
        } else if (const auto removed = data->Schedules()->find(QString::number(i - 2)); removed && i % 5 == 4) {
            data->Schedules()->Remove(removed->Key);
            data->journalChange(removed, true);
            std::printf("remove %d\n", i - 2);
        }
        std::fflush(stdout);
    }
}
QStringList journalWarnings;

// The child of diskFills: files may grow only a little past their size, as on
// a disk about to fill, and a write past that fails (SIGXFSZ ignored, so the
// write returns EFBIG instead of ending the process). Adds appointments as the
// control does until a write fails, reporting each that was kept and the
// error; then room comes back and the next change is journalled, no save.
int fillDisk(const QString &path)
{
    auto data = std::make_shared<DayvexData>();
    LocalStore store(data);
    store.open(path);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) { journalWarnings << text; });
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit roomless{rlim_t(QFileInfo(path).size() + 64 * 1024), limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &roomless);
    const QString text(2000, QLatin1Char('x'));
    int i = 0;
    for (; i < 1000 && journalWarnings.isEmpty(); ++i) {
        const auto added = addSchedule(*data, QString::number(i));
        added->Body = text;
        data->journalChange(added, false);
        if (journalWarnings.isEmpty())
            std::printf("kept %d\n", i);
    }
    std::printf("failed %d: %s\n", i - 1, qPrintable(journalWarnings.value(0)));
    setrlimit(RLIMIT_FSIZE, &limit);
    const auto first = data->Schedules()->Item("0");
    first->Description = "after";
    data->journalChange(first, false);
    std::printf("changed\n");
    std::fflush(stdout);
    return 0;
}
} // namespace

class tst_LocalStore : public QObject
{
    Q_OBJECT
public:
    enum Way { Save, Journal };
    Q_ENUM(Way)

private slots:
    void init() // each test and row with a file of its own
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_path = m_dir->filePath("agenda.sqlite");
    }

    void roundTrip_data()
    {
        columns<QString, QByteArray, QVariant>("record", "field", "value");
        const QString scripts = QString::fromUtf8("Réunion 会议 اجتماع Встреча 🎉");
        const QString control = QString::fromUtf8("a\0b\tc\r\nd\x1b\x7f", 12);
        const auto date = [](double value) { return QVariant::fromValue(Date(value)); };
        QTest::newRow("scripts") << "Schedule" << QByteArray("Description") << QVariant(scripts);
        QTest::newRow("control characters") << "Schedule" << QByteArray("Body") << QVariant(control);
        QTest::newRow("lone surrogate") << "Schedule" << QByteArray("Tag") << QVariant(QString(QChar(0xD800)) + "x");
        QTest::newRow("extra lines") << "Schedule" << QByteArray("Extra") << QVariant("ATTENDEE;CN=Zoë:mailto:z@e.org\r\nX-A:1");
        QTest::newRow("before 1900") << "Schedule" << QByteArray("StartDate") << date(-600000.3125);
        QTest::newRow("after 3000") << "Schedule" << QByteArray("EndDate") << date(2900000.0416666665);
        QTest::newRow("NaN") << "Schedule" << QByteArray("ReminderDate") << date(NaN);
        QTest::newRow("infinity") << "Schedule" << QByteArray("StartDate") << date(-qInf());
        QTest::newRow("colour") << "Schedule" << QByteArray("Color") << QVariant(qint32(0x00C08040));
        QTest::newRow("to-do priority") << "ToDo" << QByteArray("Priority") << QVariant::fromValue<qint16>(-32768);
        QTest::newRow("to-do done") << "ToDo" << QByteArray("Done") << QVariant(true);
        QTest::newRow("to-do done date") << "ToDo" << QByteArray("DateDone") << date(45000.999988425923);
        QTest::newRow("to-do extra") << "ToDo" << QByteArray("Extra") << QVariant("X-A:1\r\nX-B:2");
        QTest::newRow("user") << "User" << QByteArray("Key") << QVariant(scripts);
        QTest::newRow("place") << "Place" << QByteArray("Key") << QVariant(scripts);
        QTest::newRow("category") << "Category" << QByteArray("Tag") << QVariant(control);
        QTest::newRow("project") << "ActiveProject" << QByteArray("Key") << QVariant(scripts);
    }

    // Each field goes into a new file and comes back from it exactly, beside
    // a record of every kind with its defaults.
    void roundTrip()
    {
        QFETCH(QString, record);
        QFETCH(QByteArray, field);
        QFETCH(QVariant, value);
        auto data = std::make_shared<DayvexData>();
        auto fill = [&](const auto &list, auto entry, const QString &key) {
            const QMetaObject &meta = std::decay_t<decltype(*entry)>::staticMetaObject;
            entry->Key = key;
            if (record == QString::fromLatin1(meta.className()).section("::", -1))
                QVERIFY(meta.property(meta.indexOfProperty(field)).writeOnGadget(entry.get(), value));
            list->restore(entry, key);
            list->restore(std::make_shared<std::decay_t<decltype(*entry)>>(), QString());
        };
        fill(data->Schedules(), std::make_shared<Schedule>(), "s1");
        fill(data->ToDoS(), std::make_shared<ToDo>(), "t1");
        fill(data->Users(), std::make_shared<User>(), "");
        fill(data->Schedules()->Places(), std::make_shared<Place>(), "");
        fill(data->Schedules()->Categories(), std::make_shared<Category>(), "c");
        fill(data->ToDoS()->ActiveProjects(), std::make_shared<ActiveProject>(), "");
        const QString written = contents(*data);

        LocalStore store(data);
        QCOMPARE(store.open(m_path), LocalStore::Opened::Created);
        QCOMPARE(reopened(m_path), written);
    }

    void writes_data()
    {
        columns<QString, Way>("change", "way");
        for (const Way way : {Save, Journal}) {
            const char *name = way == Save ? "save" : "journal";
            for (const char *change : {"add", "add first", "change", "remove", "change to-do", "remove to-do"})
                QTest::addRow("%s, %s", change, name) << QString::fromLatin1(change) << way;
        }
    }

    // A change to a loaded agenda, written by save() or by the journal, is what a later open reads.
    void writes()
    {
        QFETCH(QString, change);
        QFETCH(Way, way);
        {
            auto first = std::make_shared<DayvexData>();
            for (int i = 1; i <= 3; ++i)
                addSchedule(*first, QString::number(i), "Room " + QString::number(i));
            first->ToDoS()->Add("t1", "", "call", "", Date(), 1, "", false, Date(), Date());
            LocalStore(first).open(m_path);
        }
        auto data = std::make_shared<DayvexData>();
        LocalStore store(data);
        QCOMPARE(store.open(m_path), LocalStore::Opened::Loaded);
        QCOMPARE(data->Schedules()->Count(), 3);

        std::shared_ptr<Schedule> schedule = data->Schedules()->Item("2");
        const std::shared_ptr<ToDo> todo = data->ToDoS()->Item("t1");
        if (change == "add") {
            schedule = addSchedule(*data, "4", "Hall");
        } else if (change == "add first") {
            schedule = std::make_shared<Schedule>(Schedule{.Key = "0", .StartDate = at(2024, 5, 5)});
            data->Schedules()->AddSorted(schedule);
        }
        // A journal writes only the record it is told of.
        if (change.endsWith("to-do"))
            todo->Done = true;
        else
            schedule->StartDate = Date(NaN);
        if (change == "remove")
            data->Schedules()->Remove("2");
        if (change == "remove to-do")
            data->ToDoS()->Remove("t1");
        const bool removed = change.startsWith("remove");
        if (way == Save)
            store.save();
        else if (change.endsWith("to-do"))
            data->journalChange(todo, removed);
        else
            data->journalChange(schedule, removed);
        QCOMPARE(reopened(m_path), contents(*data));
    }

    // A file of the first layout, before a field existed, gains the sync's tables
    // and the field's column and keeps the rest. While tracked, each change is
    // queued in its own write, and not at all when that write fails: the change
    // stays in memory, and a save says it failed.
    void olderFileAndQueueOfChanges()
    {
        auto data = std::make_shared<DayvexData>();
        addSchedule(*data, "1")->Body = "long text";
        LocalStore(data).open(m_path);
        runSql(m_path, {"ALTER TABLE schedules DROP COLUMN Body", "DROP TABLE pending", "DROP TABLE resources",
                      "DROP TABLE syncvalues", "PRAGMA user_version = 1"});
        data->Schedules()->Item("1")->Body.clear();
        QCOMPARE(reopened(m_path), contents(*data));

        auto loaded = std::make_shared<DayvexData>();
        LocalStore store(loaded);
        store.open(m_path);
        store.setTracksChanges(true);
        const auto first = loaded->Schedules()->Item("1");
        first->Tag = "uid-1";
        loaded->journalChange(first, false);
        loaded->journalChange(addSchedule(*loaded, "2"), false);
        loaded->Schedules()->Remove("1");
        loaded->journalChange(first, true);
        runSql(m_path, {"DROP TABLE schedules"});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("journal of an appointment: error .*schedules"));
        const auto failed = addSchedule(*loaded, "3");
        loaded->journalChange(failed, false);
        QCOMPARE(loaded->Schedules()->Item("3"), failed);
        QCOMPARE(errorNumber([&] { store.save(); }), LocalStore::WriteError);
        store.close();

        LocalStore again(std::make_shared<DayvexData>());
        runSql(m_path, {"CREATE TABLE schedules(id INTEGER PRIMARY KEY, pos REAL NOT NULL)"});
        again.open(m_path);
        QVERIFY(again.tracksChanges());
        QStringList queued;
        for (const auto &change : again.pendingChanges())
            queued << QString("%1 %2 %3 %4").arg(change.kind).arg(change.key, change.uid).arg(change.removed);
        QCOMPARE(queued, (QStringList{"S 1 uid-1 0", "S 2  0", "S 1 uid-1 1"}));
    }

    void refused_data()
    {
        columns<QString, qint32>("file", "error");
        QTest::newRow("newer schema") << "newer" << LocalStore::NewerFileError;
        QTest::newRow("not SQLite") << "garbage" << LocalStore::UnreadableFileError;
        QTest::newRow("damaged page") << "damaged" << LocalStore::UnreadableFileError;
        QTest::newRow("another program's") << "foreign" << LocalStore::UnreadableFileError;
        QTest::newRow("duplicate keys") << "duplicate" << LocalStore::UnreadableFileError;
        QTest::newRow("negative version") << "PRAGMA user_version = -2000000000" << LocalStore::UnreadableFileError;
        QTest::newRow("queue's table gone") << "DROP TABLE pending" << LocalStore::UnreadableFileError;
        QTest::newRow("sync's table gone") << "DROP TABLE syncvalues" << LocalStore::UnreadableFileError;
        QTest::newRow("a column's name gone") << "hidden" << LocalStore::UnreadableFileError;
    }

    // A file the store cannot read is refused untouched, and the data stays as it was.
    void refused()
    {
        QFETCH(QString, file);
        QFETCH(qint32, error);
        if (file == "garbage") {
            writeFile(m_path, QByteArray("BEGIN:VCALENDAR\r\n").repeated(300));
        } else if (file == "foreign") {
            runSql(m_path, {"CREATE TABLE notes(text)", "INSERT INTO notes VALUES('keep me')"});
        } else {
            auto old = std::make_shared<DayvexData>();
            for (int i = 1; i <= 2000; ++i)
                addSchedule(*old, QString::number(i), QString(200, QChar('x')));
            LocalStore(old).open(m_path);
            if (file == "newer")
                runSql(m_path, {QStringLiteral("PRAGMA user_version = %1").arg(LocalStore::SchemaVersion + 1)});
            if (file == "duplicate")
                runSql(m_path, {"UPDATE schedules SET Key = '1' WHERE Key = '2'"});
            if (file == "hidden") { // the rows keep a field the table no longer names
                const auto utf16 = [](const QString &text) { return QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2); };
                QByteArray bytes = bytesOf(m_path);
                QVERIFY(bytes.contains(utf16(", \"Recurrence\" TEXT")));
                writeFile(m_path, bytes.replace(utf16(", \"Recurrence\" TEXT"), utf16("/* \"Recurrence\" T*/")));
            }
            if (file.startsWith("DROP") || file.startsWith("PRAGMA"))
                runSql(m_path, {"PRAGMA journal_mode = DELETE", file}); // opening must not write it back to WAL
            if (file == "damaged") {
                QByteArray bytes = bytesOf(m_path);
                bytes.replace(bytes.size() / 2, 4096, QByteArray(4096, '\xA5'));
                writeFile(m_path, bytes);
            }
        }
        const QByteArray before = bytesOf(m_path);
        auto data = std::make_shared<DayvexData>();
        const QString mine = (addSchedule(*data, "mine"), contents(*data));
        LocalStore store(data);
        QCOMPARE(errorNumber([&] { store.open(m_path); }), error);
        QVERIFY(!store.isOpen() && contents(*data) == mine && bytesOf(m_path) == before);
    }

    // A disk that fills during the journal's writes: the write that meets it
    // fails with a reason that says so, the store goes on, and the next write
    // once there is room again catches up: nothing the host heard of is
    // missing from the file, the failed change included.
    void diskFills()
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--fill", m_path});
        QVERIFY(child.waitForFinished(120000));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        const QList<QByteArray> lines = child.readAllStandardOutput().trimmed().split('\n');
        QVERIFY2(lines.size() >= 3 && lines.last() == "changed", lines.join('\n'));
        const QByteArray failure = lines[lines.size() - 2];
        QVERIFY2(failure.startsWith("failed ") && QRegularExpression("full|I/O").match(QString::fromUtf8(failure)).hasMatch(),
                 failure);
        const int failed = failure.split(' ')[1].chopped(1).toInt();
        QCOMPARE(failed, lines.size() - 2); // every write before it was kept
        auto data = std::make_shared<DayvexData>();
        LocalStore store(data);
        QCOMPARE(store.open(m_path), LocalStore::Opened::Loaded);
        for (int i = 0; i <= failed; ++i)
            QVERIFY2(data->Schedules()->find(QString::number(i)), qPrintable(QString::number(i)));
        QCOMPARE(data->Schedules()->Item("0")->Description, QString("after"));
    }

    // A writer killed in the middle of a burst leaves a file that opens and holds
    // every change it had reported written.
    void crashWhileWriting()
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--burst", m_path});
        QByteArray output;
        while (output.count('\n') < 300 && child.waitForReadyRead(60000))
            output += child.readAllStandardOutput();
        QVERIFY(output.count('\n') >= 300);
        child.kill();
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        output += child.readAllStandardOutput();

        QMap<QString, QString> expected; // key to description; an empty one for removed
        for (const QByteArray &line : output.left(output.lastIndexOf('\n')).split('\n')) {
            const QList<QByteArray> words = line.split(' ');
            if (words[0] == "add")
                expected[words[1]] = "about " + words[1];
            else if (words[0] == "change")
                expected[words[1]] = words[2];
            else
                expected[words[1]].clear();
        }
        auto data = std::make_shared<DayvexData>();
        LocalStore store(data);
        QCOMPARE(store.open(m_path), LocalStore::Opened::Loaded);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            const auto found = data->Schedules()->find(it.key());
            QCOMPARE(found ? found->Description : QString(), it.value());
        }
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--burst") == 0)
        return writeBurst(QString::fromLocal8Bit(argv[2]));
    if (argc == 3 && qstrcmp(argv[1], "--fill") == 0)
        return fillDisk(QString::fromLocal8Bit(argv[2]));
    tst_LocalStore test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_localstore.moc"
