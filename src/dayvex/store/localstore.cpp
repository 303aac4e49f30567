#include "localstore.h"

#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QMetaProperty>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>

#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace dayvex {

namespace {

// "Dayv" in the file's header: tells our files from other SQLite databases.
constexpr int ApplicationId = 0x44617976;

Error storeError(qint32 number, const QString &what) { return Error(number, what, Error::ComponentSource); }

Error failed(const QString &doing, const QSqlError &error)
{
    return storeError(LocalStore::WriteError, QStringLiteral("%1: %2").arg(doing, error.text()));
}

Error unreadable(const QString &path, const QString &why)
{
    return storeError(LocalStore::UnreadableFileError,
                      QStringLiteral("%1 is not a Dayvex store or is damaged: %2").arg(path, why));
}

// How a property's value sits in its column.
enum class Storage { Text, Integer, Boolean, Date, Blob };

struct Column
{
    QMetaProperty property;
    Storage storage;
};

Storage storageOf(QMetaType type)
{
    if (type == QMetaType::fromType<dayvex::Date>())
        return Storage::Date;
    switch (type.id()) {
    case QMetaType::QString:
        return Storage::Text;
    case QMetaType::Bool:
        return Storage::Boolean;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::LongLong:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return Storage::Integer;
    default:
        return Storage::Blob; // any other type, streamed as a QVariant
    }
}

QString sqlType(Storage storage)
{
    switch (storage) {
    case Storage::Text:
        return QStringLiteral("TEXT");
    case Storage::Integer:
    case Storage::Boolean:
        return QStringLiteral("INTEGER");
    case Storage::Date:
        return QStringLiteral("REAL");
    case Storage::Blob:
        break;
    }
    return QStringLiteral("BLOB");
}

QVariant toSql(const QVariant &value, Storage storage)
{
    switch (storage) {
    case Storage::Date: {
        // SQLite turns a NaN into NULL: it is kept as text instead.
        const double number = value.value<dayvex::Date>().value();
        return std::isnan(number) ? QVariant(QStringLiteral("NaN")) : QVariant(number);
    }
    case Storage::Text:
        return value;
    case Storage::Integer:
        return value.toLongLong();
    case Storage::Boolean:
        return int(value.toBool());
    case Storage::Blob:
        break;
    }
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value;
    return bytes;
}

// The property's value from its column; invalid for NULL (the record keeps its
// default), and throws a reason for what no property can hold.
QVariant fromSql(const QVariant &value, const Column &column)
{
    if (value.isNull())
        return {};
    const QMetaType type = column.property.metaType();
    switch (column.storage) {
    case Storage::Date:
        if (value.typeId() == QMetaType::QString) {
            if (value.toString() != QLatin1String("NaN"))
                throw QStringLiteral("%1 holds \"%2\"").arg(QLatin1String(column.property.name()), value.toString());
            return QVariant::fromValue(dayvex::Date(std::numeric_limits<double>::quiet_NaN()));
        }
        return QVariant::fromValue(dayvex::Date(value.toDouble()));
    case Storage::Text:
        return value.toString();
    case Storage::Boolean:
        return value.toLongLong() != 0;
    case Storage::Integer: {
        QVariant converted = value;
        if (converted.convert(type))
            return converted;
        break;
    }
    case Storage::Blob: {
        QVariant read;
        QDataStream in(value.toByteArray());
        in >> read;
        if (in.status() == QDataStream::Ok && read.convert(type))
            return read;
        break;
    }
    }
    throw QStringLiteral("%1 cannot hold what its column holds").arg(QLatin1String(column.property.name()));
}

bool sameValue(const QVariant &a, const QVariant &b, Storage storage)
{
    if (storage == Storage::Date) {
        const double x = a.value<dayvex::Date>().value();
        const double y = b.value<dayvex::Date>().value();
        return x == y || (std::isnan(x) && std::isnan(y));
    }
    return a == b;
}

// A record as the file holds it. The copy tells what changed since; holding
// the record keeps its address from being reused by another.
template <typename T>
struct Row
{
    qint64 id;
    double pos;
    std::shared_ptr<T> record;
    T copy;
};

// One table per kind of record: its id, its position in the list and a column per property.
template <typename T>
struct Table
{
    QString name;
    bool keyed = true; // stored in its list under its Key
    std::vector<Column> columns;
    std::unordered_map<const T *, Row<T>> rows;
    QSqlQuery insert;
    QSqlQuery update;
    QSqlQuery remove;
    using Record = T;
    Table(const Table &) = delete;

    Table()
    {
        // Users and projects are kept without keys in their lists.
        constexpr std::pair<const char *, bool> layout = std::is_same_v<T, Schedule> ? std::pair{"schedules", true}
            : std::is_same_v<T, ToDo>                                                 ? std::pair{"todos", true}
            : std::is_same_v<T, User>                                                 ? std::pair{"users", false}
            : std::is_same_v<T, Place>                                                ? std::pair{"places", true}
            : std::is_same_v<T, Category>                                             ? std::pair{"categories", true}
                                                                                      : std::pair{"projects", false};
        name = QLatin1String(layout.first);
        keyed = layout.second;
        const QMetaObject &meta = T::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
            columns.push_back({meta.property(i), storageOf(meta.property(i).metaType())});
    }

    bool same(const T &a, const T &b) const
    {
        for (const Column &column : columns) {
            if (!sameValue(column.property.readOnGadget(&a), column.property.readOnGadget(&b), column.storage))
                return false;
        }
        return true;
    }

    // The columns' names, each followed by suffix, comma-separated.
    QString columnList(const QString &suffix = QString()) const
    {
        QStringList out;
        for (const Column &column : columns)
            out << QLatin1Char('"') + QLatin1String(column.property.name()) + QLatin1Char('"') + suffix;
        return out.join(QLatin1Char(','));
    }
};

// The lists a store reads and writes, from a DayvexData or new.
struct Parts
{
    std::shared_ptr<Schedules> schedules;
    std::shared_ptr<ToDoS> todos;
    std::shared_ptr<Users> users;

    static Parts of(DayvexData &data) { return {data.Schedules(), data.ToDoS(), data.Users()}; }

    static Parts fresh()
    {
        Parts parts{std::make_shared<Schedules>(), std::make_shared<ToDoS>(), std::make_shared<Users>()};
        parts.schedules->setCategories(std::make_shared<Categories>());
        parts.todos->setActiveProjects(std::make_shared<ActiveProjects>());
        return parts;
    }

    template <typename T>
    KeyedCollection<T> &list() const
    {
        if constexpr (std::is_same_v<T, Schedule>)
            return *schedules;
        else if constexpr (std::is_same_v<T, ToDo>)
            return *todos;
        else if constexpr (std::is_same_v<T, User>)
            return *users;
        else if constexpr (std::is_same_v<T, Place>)
            return *schedules->Places();
        else if constexpr (std::is_same_v<T, Category>)
            return *schedules->Categories();
        else
            return *todos->ActiveProjects();
    }
};

// Positions for the records not yet stored (NaN) between their stored
// neighbours; false when the neighbours leave no room between them.
bool placeNew(std::vector<double> &pos)
{
    const size_t n = pos.size();
    for (size_t i = 0; i < n;) {
        if (!std::isnan(pos[i])) {
            ++i;
            continue;
        }
        size_t j = i;
        while (j < n && std::isnan(pos[j]))
            ++j;
        const double count = double(j - i);
        const double lo = i > 0 ? pos[i - 1] : (j < n ? pos[j] - count - 1 : 0.0);
        const double hi = j < n ? pos[j] : lo + count + 1;
        const double step = (hi - lo) / (count + 1);
        for (size_t m = i; m < j; ++m) {
            pos[m] = lo + step * double(m - i + 1);
            if (!(pos[m] > (m > 0 ? pos[m - 1] : -std::numeric_limits<double>::infinity()) && pos[m] < hi))
                return false;
        }
        i = j;
    }
    return true;
}

int nextConnection = 0;

// A null QString binds as SQL NULL; the queue's columns hold texts, maybe empty.
QString notNull(const QString &text) { return text.isNull() ? QStringLiteral("") : text; }

} // namespace

class LocalStore::Impl
{
public:
    Impl(LocalStore *owner, std::shared_ptr<DayvexData> plan) : self(owner), data(std::move(plan)) {}

    LocalStore *self;
    std::shared_ptr<DayvexData> data;
    QString path;
    QString connection;
    QSqlDatabase db;
    std::tuple<Table<Schedule>, Table<ToDo>, Table<User>, Table<Place>, Table<Category>, Table<ActiveProject>> tables;
    // What the open transaction changes in the rows, applied once it is committed.
    std::vector<std::function<void()>> staged;
    bool tracking = false;  // changes are queued for a server
    bool fromServer = false; // what is being written came from the server: not queued
    // A journal write failed (a full disk): the host heard of a change the file
    // lacks, so the next write compares everything, as save() does.
    bool behind = false;
    QSqlQuery queue;

    template <typename F>
    void forEachTable(F f)
    {
        std::apply([&](auto &...table) { (f(table), ...); }, tables);
    }

    QSqlQuery exec(const QString &sql)
    {
        QSqlQuery query(db);
        if (!query.exec(sql))
            throw failed(sql, query.lastError());
        return query;
    }

    // The first value of a statement that only reads; a failure means a file we cannot read.
    QVariant readOne(const QString &sql)
    {
        QSqlQuery query(db);
        if (!query.exec(sql) || !query.next())
            throw unreadable(path, query.lastError().text());
        return query.value(0);
    }

    template <typename Step>
    void inTransaction(Step step)
    {
        if (!isOpen())
            throw storeError(WriteError, QStringLiteral("the store is not open"));
        staged.clear();
        if (!db.transaction())
            throw failed(QStringLiteral("cannot begin a transaction on %1").arg(path), db.lastError());
        try {
            step();
            if (!db.commit())
                throw failed(QStringLiteral("cannot commit to %1").arg(path), db.lastError());
        } catch (...) {
            db.rollback();
            staged.clear();
            throw;
        }
        for (const auto &apply : staged)
            apply();
        staged.clear();
    }

    bool isOpen() const { return db.isOpen(); }

    Opened open(const QString &file);
    void close();
    void createTables();
    // Brings a file of version from forward, one step per version.
    void migrate(int from)
    {
        for (int step = from; step < SchemaVersion; ++step) {
            if (step == 0)
                createTables();
            if (step == 1)
                createSyncTables();
        }
    }
    void createSyncTables()
    {
        exec(QStringLiteral("CREATE TABLE pending(seq INTEGER PRIMARY KEY AUTOINCREMENT, kind TEXT NOT NULL, "
                            "key TEXT NOT NULL, uid TEXT NOT NULL, series TEXT NOT NULL, removed INTEGER NOT NULL)"));
        exec(QStringLiteral("CREATE TABLE resources(uid TEXT PRIMARY KEY, href TEXT NOT NULL, etag TEXT NOT NULL, "
                            "fingerprint TEXT NOT NULL)"));
        exec(QStringLiteral("CREATE TABLE syncvalues(name TEXT PRIMARY KEY, value TEXT NOT NULL)"));
    }
    // Queues a change of an appointment or to-do when the store tracks them.
    template <typename T>
    void queueChange(const T &record, bool removed)
    {
        if constexpr (std::is_same_v<T, Schedule> || std::is_same_v<T, ToDo>) {
            if (!tracking || fromServer)
                return;
            queue.bindValue(0, QString(QLatin1Char(std::is_same_v<T, Schedule> ? 'S' : 'T')));
            queue.bindValue(1, notNull(record.Key));
            queue.bindValue(2, notNull(record.Tag));
            if constexpr (std::is_same_v<T, Schedule>)
                queue.bindValue(3, notNull(record.SeriesKey));
            else
                queue.bindValue(3, notNull(QString()));
            queue.bindValue(4, int(removed));
            if (!queue.exec())
                throw failed(QStringLiteral("cannot queue a change for the server"), queue.lastError());
        }
    }
    void prepare();
    template <typename T>
    void load(Table<T> &table, KeyedCollection<T> &list);
    template <typename T>
    void sync(Table<T> &table, const KeyedCollection<T> &list);
    template <typename T>
    void bindFields(QSqlQuery &query, const Table<T> &table, const T &record, double pos);
    template <typename T>
    void insert(Table<T> &table, const std::shared_ptr<T> &record, double pos);
    template <typename T>
    void update(Table<T> &table, Row<T> &row, double pos);
    template <typename T>
    void remove(Table<T> &table, const T *record, qint64 id);
    template <typename T>
    void journal(const std::shared_ptr<T> &record, bool removed);
    void syncLookups(const Parts &parts)
    {
        sync(std::get<Table<User>>(tables), parts.list<User>());
        sync(std::get<Table<Place>>(tables), parts.list<Place>());
        sync(std::get<Table<Category>>(tables), parts.list<Category>());
        sync(std::get<Table<ActiveProject>>(tables), parts.list<ActiveProject>());
    }
};

void LocalStore::Impl::createTables()
{
    forEachTable([this](auto &table) {
        exec(QStringLiteral("CREATE TABLE %1(id INTEGER PRIMARY KEY, pos REAL NOT NULL)").arg(table.name));
        exec(QStringLiteral("CREATE INDEX %1_pos ON %1(pos)").arg(table.name));
    });
}

LocalStore::Opened LocalStore::Impl::open(const QString &file)
{
    path = file;
    const QString folder = QFileInfo(file).absolutePath();
    if (!QDir().mkpath(folder))
        throw storeError(WriteError, QStringLiteral("cannot create the folder %1").arg(folder));
    connection = QStringLiteral("dayvex.store.%1").arg(++nextConnection);
    db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
    if (!db.isValid())
        throw storeError(WriteError, QStringLiteral("Qt's SQLite driver (QSQLITE) is not installed"));
    db.setDatabaseName(file);
    if (!db.open())
        throw failed(QStringLiteral("cannot open %1").arg(file), db.lastError());

    // Nothing is written until the file is known to be ours, sound and not newer.
    const int version = readOne(QStringLiteral("PRAGMA user_version")).toInt();
    const int application = readOne(QStringLiteral("PRAGMA application_id")).toInt();
    const int objects = readOne(QStringLiteral("SELECT count(*) FROM sqlite_master")).toInt();
    if (version > SchemaVersion)
        throw storeError(NewerFileError, QStringLiteral("%1 was written by a newer version of Dayvex (store "
                                                        "version %2; this one reads up to %3)")
                                             .arg(file).arg(version).arg(SchemaVersion));
    if (objects > 0 && application != ApplicationId)
        throw unreadable(file, QStringLiteral("another program's database"));
    if (version < 0) // no version of ours, and no count of steps to bring it forward
        throw unreadable(file, QStringLiteral("store version %1").arg(version));
    if (objects > 0) {
        const QString check = readOne(QStringLiteral("PRAGMA quick_check")).toString();
        if (check != QLatin1String("ok"))
            throw unreadable(file, check);
    }
    const bool created = objects == 0;

    if (created)
        exec(QStringLiteral("PRAGMA encoding = 'UTF-16le'")); // QString's own, so any text comes back as it went
    // Bringing the file forward and reading it form one transaction: a file
    // that fails to load is left as it was.
    const Parts loaded = Parts::fresh();
    inTransaction([&] {
        migrate(version);
        // A property added to a record since the file was written becomes a column.
        forEachTable([this](auto &table) {
            QSqlQuery info = exec(QStringLiteral("PRAGMA table_info(%1)").arg(table.name));
            QSet<QString> present;
            while (info.next())
                present.insert(info.value(1).toString());
            for (const Column &column : table.columns) {
                const QString name = QLatin1String(column.property.name());
                if (present.contains(name))
                    continue;
                exec(QStringLiteral("ALTER TABLE %1 ADD COLUMN \"%2\" %3").arg(table.name, name, sqlType(column.storage)));
                // A new column is empty. One that is not shows rows with more
                // fields than their table declares: a damaged schema, whose
                // fields would otherwise come out under the wrong names.
                if (readOne(QStringLiteral("SELECT count(*) FROM %1 WHERE \"%2\" IS NOT NULL").arg(table.name, name)).toInt() != 0)
                    throw unreadable(path, QStringLiteral("%1 holds more fields than its columns").arg(table.name));
            }
        });
        if (version != SchemaVersion) {
            exec(QStringLiteral("PRAGMA user_version = %1").arg(SchemaVersion));
            exec(QStringLiteral("PRAGMA application_id = %1").arg(ApplicationId));
        }
        if (!created)
            forEachTable([&](auto &table) { load(table, loaded.list<typename std::decay_t<decltype(table)>::Record>()); });
        // Within the transaction: a file without the tables these need is
        // damaged, and is refused before anything of it has changed.
        try {
            prepare();
        } catch (const Error &error) {
            if (created)
                throw;
            throw unreadable(file, error.description());
        }
    });
    exec(QStringLiteral("PRAGMA journal_mode = WAL"));
    exec(QStringLiteral("PRAGMA synchronous = FULL")); // a change whose write returned survives a power cut

    if (created) {
        const Parts parts = Parts::of(*data);
        inTransaction([&] { forEachTable([&](auto &table) { sync(table, parts.list<typename std::decay_t<decltype(table)>::Record>()); }); });
        return Opened::Created;
    }
    data->setUsers(loaded.users);
    data->setSchedules(loaded.schedules);
    data->setToDoS(loaded.todos);
    return Opened::Loaded;
}

void LocalStore::Impl::prepare()
{
    queue = QSqlQuery(db);
    if (!queue.prepare(QStringLiteral("INSERT INTO pending(kind,key,uid,series,removed) VALUES(?,?,?,?,?)")))
        throw failed(QStringLiteral("cannot prepare the queue's statement"), db.lastError());
    tracking = exec(QStringLiteral("SELECT value FROM syncvalues WHERE name='tracking'")).next();
    forEachTable([this](auto &table) {
        table.insert = QSqlQuery(db);
        table.update = QSqlQuery(db);
        table.remove = QSqlQuery(db);
        const QString names = table.columnList();
        const QString marks = QStringList(qsizetype(table.columns.size()), QStringLiteral("?")).join(QLatin1Char(','));
        const QString sets = table.columnList(QStringLiteral("=?"));
        if (!table.insert.prepare(QStringLiteral("INSERT INTO %1(pos,%2) VALUES(?,%3)").arg(table.name, names, marks))
            || !table.update.prepare(QStringLiteral("UPDATE %1 SET pos=?,%2 WHERE id=?").arg(table.name, sets))
            || !table.remove.prepare(QStringLiteral("DELETE FROM %1 WHERE id=?").arg(table.name)))
            throw failed(QStringLiteral("cannot prepare the statements of %1").arg(table.name), db.lastError());
    });
}

template <typename T>
void LocalStore::Impl::load(Table<T> &table, KeyedCollection<T> &list)
{
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT id,pos,%1 FROM %2 ORDER BY pos,id")
                        .arg(table.columnList(), table.name)))
        throw unreadable(path, query.lastError().text());
    try {
        while (query.next()) {
            auto record = std::make_shared<T>();
            for (size_t i = 0; i < table.columns.size(); ++i) {
                const QVariant value = fromSql(query.value(int(i) + 2), table.columns[i]);
                if (value.isValid())
                    table.columns[i].property.writeOnGadget(record.get(), value);
            }
            list.restore(record, table.keyed ? record->Key : QString());
            table.rows.emplace(record.get(), Row<T>{query.value(0).toLongLong(), query.value(1).toDouble(), record, *record});
        }
    } catch (const QString &why) {
        throw unreadable(path, QStringLiteral("%1 of %2").arg(why, table.name));
    } catch (const Error &error) {
        throw unreadable(path, QStringLiteral("%1 in %2").arg(error.description(), table.name));
    }
    if (query.lastError().isValid())
        throw unreadable(path, query.lastError().text());
}

template <typename T>
void LocalStore::Impl::bindFields(QSqlQuery &query, const Table<T> &table, const T &record, double pos)
{
    int at = 0;
    query.bindValue(at++, pos);
    for (const Column &column : table.columns)
        query.bindValue(at++, toSql(column.property.readOnGadget(&record), column.storage));
}

template <typename T>
void LocalStore::Impl::insert(Table<T> &table, const std::shared_ptr<T> &record, double pos)
{
    bindFields(table.insert, table, *record, pos);
    if (!table.insert.exec())
        throw failed(QStringLiteral("cannot add to %1").arg(table.name), table.insert.lastError());
    // The row's id before the queue's own insert: SQLite's last id is the connection's.
    Row<T> row{table.insert.lastInsertId().toLongLong(), pos, record, *record};
    queueChange(*record, false);
    staged.push_back([&table, row = std::move(row)] { table.rows.insert_or_assign(row.record.get(), row); });
}

template <typename T>
void LocalStore::Impl::update(Table<T> &table, Row<T> &row, double pos)
{
    bindFields(table.update, table, *row.record, pos);
    table.update.bindValue(int(table.columns.size()) + 1, row.id);
    if (!table.update.exec())
        throw failed(QStringLiteral("cannot change %1").arg(table.name), table.update.lastError());
    if (!table.same(row.copy, *row.record)) // a move in the list alone is nothing to a server
        queueChange(*row.record, false);
    staged.push_back([&row, pos, copy = *row.record] {
        row.pos = pos;
        row.copy = copy;
    });
}

template <typename T>
void LocalStore::Impl::remove(Table<T> &table, const T *record, qint64 id)
{
    table.remove.bindValue(0, id);
    if (!table.remove.exec())
        throw failed(QStringLiteral("cannot remove from %1").arg(table.name), table.remove.lastError());
    if (const auto row = table.rows.find(record); row != table.rows.end())
        queueChange(row->second.copy, true);
    staged.push_back([&table, record] { table.rows.erase(record); });
}

template <typename T>
void LocalStore::Impl::sync(Table<T> &table, const KeyedCollection<T> &list)
{
    // The stored positions, in list order; when the list was reordered since,
    // every record is given its index.
    std::vector<double> pos;
    pos.reserve(size_t(list.Count()));
    bool ordered = true;
    double last = -std::numeric_limits<double>::infinity();
    for (const auto &record : list) {
        const auto row = table.rows.find(record.get());
        pos.push_back(row == table.rows.end() ? std::numeric_limits<double>::quiet_NaN() : row->second.pos);
        if (row != table.rows.end()) {
            ordered = ordered && pos.back() > last;
            last = pos.back();
        }
    }
    if (!ordered || !placeNew(pos)) {
        for (size_t i = 0; i < pos.size(); ++i)
            pos[i] = double(i + 1);
    }
    std::unordered_set<const T *> seen;
    size_t i = 0;
    for (const auto &record : list) {
        seen.insert(record.get());
        const auto row = table.rows.find(record.get());
        if (row == table.rows.end())
            insert(table, record, pos[i]);
        else if (row->second.pos != pos[i] || !table.same(row->second.copy, *record))
            update(table, row->second, pos[i]);
        ++i;
    }
    for (const auto &[record, row] : table.rows) {
        if (!seen.contains(record))
            remove(table, record, row.id);
    }
}

template <typename T>
void LocalStore::Impl::journal(const std::shared_ptr<T> &record, bool removed)
{
    const Parts parts = Parts::of(*data);
    Table<T> &table = std::get<Table<T>>(tables);
    if (behind) {
        inTransaction([&] { forEachTable([&](auto &all) { sync(all, parts.list<typename std::decay_t<decltype(all)>::Record>()); }); });
        behind = false;
        return;
    }
    behind = true; // until the write below commits
    inTransaction([&] {
        const auto row = table.rows.find(record.get());
        if (removed) {
            if (row != table.rows.end())
                remove(table, record.get(), row->second.id);
        } else if (row == table.rows.end()) {
            sync(table, parts.list<T>()); // a new record: its neighbours give its position
        } else if (!table.same(row->second.copy, *record)) {
            update(table, row->second, row->second.pos);
        }
        syncLookups(parts);
    });
    behind = false;
}

void LocalStore::Impl::close()
{
    if (data && data->journal() == self)
        data->setJournal(nullptr);
    forEachTable([](auto &table) {
        table.rows.clear();
        table.insert = QSqlQuery();
        table.update = QSqlQuery();
        table.remove = QSqlQuery();
    });
    staged.clear();
    queue = QSqlQuery();
    tracking = false;
    behind = false;
    if (!connection.isEmpty()) {
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(connection);
        connection.clear();
    }
    path.clear();
}

LocalStore::LocalStore(std::shared_ptr<DayvexData> data) : d(std::make_unique<Impl>(this, std::move(data))) {}

LocalStore::~LocalStore() { d->close(); }

QString LocalStore::defaultPath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
        .filePath(QStringLiteral("agenda.sqlite"));
}

LocalStore::Opened LocalStore::open(const QString &path)
{
    d->close();
    try {
        const Opened opened = d->open(path);
        d->data->setJournal(this);
        return opened;
    } catch (...) {
        d->close();
        throw;
    }
}

bool LocalStore::isOpen() const { return d->isOpen(); }

QString LocalStore::path() const { return d->path; }

void LocalStore::close() { d->close(); }

void LocalStore::save()
{
    const Parts parts = Parts::of(*d->data);
    d->inTransaction([&] {
        d->forEachTable([&](auto &table) { d->sync(table, parts.list<typename std::decay_t<decltype(table)>::Record>()); });
    });
    d->behind = false;
}

void LocalStore::recordChanged(const std::shared_ptr<Schedule> &record, bool removed) { d->journal(record, removed); }

void LocalStore::recordChanged(const std::shared_ptr<ToDo> &record, bool removed) { d->journal(record, removed); }

} // namespace dayvex

namespace dayvex {

void LocalStore::setTracksChanges(bool on)
{
    d->inTransaction([&] {
        d->exec(on ? QStringLiteral("INSERT OR REPLACE INTO syncvalues(name,value) VALUES('tracking','1')")
                   : QStringLiteral("DELETE FROM syncvalues WHERE name='tracking'"));
        if (!on)
            d->exec(QStringLiteral("DELETE FROM pending"));
    });
    d->tracking = on;
}

bool LocalStore::tracksChanges() const { return d->isOpen() && d->tracking; }

std::vector<LocalStore::PendingChange> LocalStore::pendingChanges() const
{
    std::vector<PendingChange> out;
    if (!d->isOpen())
        return out;
    QSqlQuery query = d->exec(QStringLiteral("SELECT seq,kind,key,uid,series,removed FROM pending ORDER BY seq"));
    while (query.next())
        out.push_back({query.value(0).toLongLong(), char(query.value(1).toString().at(0).toLatin1()),
                       query.value(2).toString(), query.value(3).toString(), query.value(4).toString(),
                       query.value(5).toInt() != 0});
    return out;
}

qint64 LocalStore::pendingCount() const
{
    if (!d->isOpen())
        return 0;
    QSqlQuery query = d->exec(QStringLiteral("SELECT count(*) FROM pending"));
    return query.next() ? query.value(0).toLongLong() : 0;
}

std::vector<LocalStore::SyncedResource> LocalStore::syncedResources() const
{
    std::vector<SyncedResource> out;
    if (!d->isOpen())
        return out;
    QSqlQuery query = d->exec(QStringLiteral("SELECT uid,href,etag,fingerprint FROM resources"));
    while (query.next())
        out.push_back({query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                       query.value(3).toString()});
    return out;
}

QString LocalStore::syncValue(const QString &name) const
{
    if (!d->isOpen())
        return {};
    QSqlQuery query(d->db);
    query.prepare(QStringLiteral("SELECT value FROM syncvalues WHERE name=?"));
    query.bindValue(0, name);
    return query.exec() && query.next() ? query.value(0).toString() : QString();
}

void LocalStore::commitSync(const SyncCommit &commit)
{
    const Parts parts = Parts::of(*d->data);
    d->fromServer = true;
    const auto run = [&](const QString &sql, const QVariantList &values) {
        QSqlQuery query(d->db);
        if (!query.prepare(sql))
            throw failed(sql, query.lastError());
        for (int i = 0; i < values.size(); ++i)
            query.bindValue(i, values[i]);
        if (!query.exec())
            throw failed(sql, query.lastError());
    };
    try {
        d->inTransaction([&] {
            d->forEachTable([&](auto &table) { d->sync(table, parts.list<typename std::decay_t<decltype(table)>::Record>()); });
            if (commit.resetResources)
                d->exec(QStringLiteral("DELETE FROM resources"));
            for (const QString &uid : commit.forgotten)
                run(QStringLiteral("DELETE FROM resources WHERE uid=?"), {uid});
            for (const SyncedResource &resource : commit.resources)
                run(QStringLiteral("INSERT OR REPLACE INTO resources(uid,href,etag,fingerprint) VALUES(?,?,?,?)"),
                    {notNull(resource.uid), notNull(resource.href), notNull(resource.etag), notNull(resource.fingerprint)});
            for (const PendingChange &change : commit.queued)
                run(QStringLiteral("INSERT INTO pending(kind,key,uid,series,removed) VALUES(?,?,?,?,?)"),
                    {QString(QLatin1Char(change.kind)), notNull(change.key), notNull(change.uid), notNull(change.seriesKey),
                     int(change.removed)});
            for (const qint64 seq : commit.done)
                run(QStringLiteral("DELETE FROM pending WHERE seq=?"), {seq});
            for (const auto &[name, value] : commit.values) {
                if (value.isEmpty())
                    run(QStringLiteral("DELETE FROM syncvalues WHERE name=?"), {name});
                else
                    run(QStringLiteral("INSERT OR REPLACE INTO syncvalues(name,value) VALUES(?,?)"), {name, value});
            }
        });
    } catch (...) {
        d->fromServer = false;
        throw;
    }
    d->fromServer = false;
}

} // namespace dayvex
