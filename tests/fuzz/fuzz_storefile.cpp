// A store file, damaged, handed to LocalStore::open. The input names some
// changes made through SQL, as another program or an older build might have
// left the file, then bytes overwritten at places in it. The store must read
// the file, or refuse it with one of its errors and leave the file and the
// data as they were; a file it read once it reads again the same.

#include "fuzzinput.h"
#include "records.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/platform/error.h>
#include <dayvex/store/localstore.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>

#include <cstdlib>

using namespace dayvex;

namespace {

QString folder()
{
    static QTemporaryDir dir(QDir::temp().filePath(QStringLiteral("dayvex-fuzz-store-XXXXXX")));
    return dir.path();
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile::remove(path + QStringLiteral("-wal"));
    QFile::remove(path + QStringLiteral("-shm"));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
}

// A small store of every kind of record, in pages of 512 bytes so that a
// change of a few bytes meets its structure often.
QByteArray baseFile()
{
    const QString path = QDir(folder()).filePath(QStringLiteral("base.sqlite"));
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("base"));
        db.setDatabaseName(path);
        if (!db.open() || !QSqlQuery(db).exec(QStringLiteral("PRAGMA page_size = 512"))
            || !QSqlQuery(db).exec(QStringLiteral("VACUUM")))
            abort();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("base"));
    auto data = std::make_shared<DayvexData>();
    data->Schedules()->Add(QStringLiteral("1"), QString(), Date(46000.375), Date(46000.4375), QStringLiteral("u1"),
                           QString(), QString(), QStringLiteral("Réunion"), QStringLiteral("Room"), Date());
    auto series = data->Schedules()->Add(QStringLiteral("2"), QString(), Date(46001.5), Date(46001.5625),
                                         QStringLiteral("u1"), QString(), QString(), QStringLiteral("weekly"),
                                         QString(), Date(46001.49));
    series->Recurrence = QStringLiteral("FREQ=WEEKLY;COUNT=5");
    series->ExceptionDates = QStringLiteral("20260108T120000");
    series->Extra = QStringLiteral("X-A:1");
    data->ToDoS()->Add(QStringLiteral("t1"), QString(), QStringLiteral("call"), QString(), Date(46002), 1,
                       QString(), false, Date(), Date());
    {
        LocalStore store(data);
        store.open(path);
        store.setTracksChanges(true);
        series->Description = QStringLiteral("changed");
        store.save();
        store.commitSync({{{QStringLiteral("u1"), QStringLiteral("/c/u1.ics"), QStringLiteral("\"e\""),
                            QStringLiteral("f")}},
                          {},
                          {},
                          {{QStringLiteral("token"), QStringLiteral("t")}}});
    }
    return bytesOf(path);
}

// Changes another program might make: what the loader must take or refuse.
const char *const Tweaks[] = {
    "PRAGMA user_version = 3",
    "PRAGMA user_version = 1",
    "PRAGMA user_version = 0",
    "PRAGMA user_version = -1",
    "PRAGMA application_id = 7",
    "UPDATE schedules SET StartDate = 'soon'",
    "UPDATE schedules SET StartDate = 'NaN', EndDate = NULL",
    "UPDATE schedules SET Key = '1'",
    "UPDATE schedules SET pos = NULL",
    "UPDATE schedules SET Color = 'red'",
    "UPDATE schedules SET Color = 1e300",
    "UPDATE schedules SET Description = x'00ff'",
    "UPDATE todos SET Priority = 99999999999",
    "UPDATE todos SET Done = 'yes'",
    "UPDATE users SET pos = pos * -1",
    "ALTER TABLE schedules DROP COLUMN Body",
    "ALTER TABLE schedules RENAME COLUMN Key TO Kee",
    "DROP TABLE todos",
    "DROP TABLE pending",
    "DROP INDEX schedules_pos",
    "DELETE FROM sqlite_sequence",
    "CREATE TABLE places2(x)",
    "CREATE VIEW v AS SELECT * FROM schedules",
    "CREATE TRIGGER t BEFORE INSERT ON schedules BEGIN SELECT RAISE(ABORT, 'no'); END",
    "INSERT INTO pending(kind,key,uid,series,removed) VALUES('', '', '', '', 1)",
    "UPDATE pending SET kind = NULL",
    "PRAGMA journal_mode = DELETE",
    "PRAGMA journal_mode = WAL",
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication app(*argc, *argv);
    qputenv("QT_LOGGING_RULES", "*.warning=false");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QByteArray base = baseFile();
    static const QString path = QDir(folder()).filePath(QStringLiteral("agenda.sqlite"));
    FuzzInput in(data, size);
    writeBytes(path, base);
    for (int n = in.byte() % 4; n > 0; --n) {
        const uint8_t pick = in.byte();
        if (pick >= sizeof(Tweaks) / sizeof(*Tweaks))
            continue;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("tweak"));
            db.setDatabaseName(path);
            if (db.open())
                QSqlQuery(db).exec(QString::fromLatin1(Tweaks[pick]));
        }
        QSqlDatabase::removeDatabase(QStringLiteral("tweak"));
    }
    QByteArray file = bytesOf(path);
    // Then bytes overwritten: an offset in the file, a length, the bytes.
    while (!in.atEnd() && !file.isEmpty()) {
        const uint8_t how = in.byte();
        const qsizetype at = qsizetype(in.raw<uint16_t>()) % file.size();
        if (how == 0xff) {
            file.truncate(at);
            continue;
        }
        for (int n = 1 + how % 8; n > 0 && !in.atEnd(); --n)
            file[at + (n - 1) % (file.size() - at)] = char(in.byte());
    }
    writeBytes(path, file);
    const QByteArray before = bytesOf(path);

    auto mine = std::make_shared<DayvexData>();
    mine->Schedules()->Add(QStringLiteral("mine"), QString(), Date(46000), Date(46000.1), QString(), QString(),
                           QString(), QStringLiteral("mine"), QString(), Date());
    const QString unopened = contents(*mine);
    QString loaded;
    {
        LocalStore store(mine);
        try {
            store.open(path);
            loaded = contents(*mine);
        } catch (const Error &e) {
            FUZZ_CHECK(e.number() == LocalStore::NewerFileError || e.number() == LocalStore::UnreadableFileError
                       || e.number() == LocalStore::WriteError);
            FUZZ_CHECK(!e.description().isEmpty());
            FUZZ_CHECK(!store.isOpen());
            FUZZ_CHECK(contents(*mine) == unopened);
        }
    }
    if (loaded.isNull()) {
        FUZZ_CHECK(bytesOf(path) == before);
        return 0;
    }
    // Read once, read again the same.
    auto again = std::make_shared<DayvexData>();
    LocalStore store(again);
    try {
        store.open(path);
    } catch (const Error &e) {
        fprintf(stderr, "read once, refused after: %s\n", qPrintable(e.description()));
        abort();
    }
    FUZZ_CHECK(contents(*again) == loaded);
    return 0;
}
