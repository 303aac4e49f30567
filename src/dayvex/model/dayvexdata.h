#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/alarms.h>
#include <dayvex/model/changejournal.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <QAbstractTableModel>
#include <QObject>

#include <vector>

#include <memory>

namespace dayvex {

/// Tells of changes to a DayvexData's appointments, to-dos and users: one
/// changed() per turn of the event loop, however many changes it held.
class DAYVEX_CORE_EXPORT DataChanges : public QObject
{
    Q_OBJECT
public:
    /// A notifier with no parent; DayvexData owns its own.
    DataChanges() = default;

    /// Announces a change at the next turn of the event loop, once for all
    /// changes until then.
    void post();

signals:
    /// Records were added or removed through the collections, the host called
    /// DayvexData::markChanged(), or a part was replaced, since the last turn.
    void changed();

private:
    bool m_pending = false;
};

/// The agenda a host hands to the control: appointments, to-dos and users, and
/// the control's own list of pending alarms. Each part is created on first read;
/// the host may set shared parts (one Schedules in several containers).
class DAYVEX_CORE_EXPORT DayvexData
{
public:
    /// An agenda with no parts yet: each is created on its first read.
    DayvexData();
    DayvexData(const DayvexData &) = delete;            ///< Not copyable: share it through a pointer.
    DayvexData &operator=(const DayvexData &) = delete; ///< Not copyable: share it through a pointer.
    /// Releases the alarms, users, appointments and to-dos, in that order.
    ~DayvexData();

    /// Releases the alarms, users, appointments and to-dos, in that order. The
    /// next read yields new empty parts; a host holding the old ones keeps them.
    void Clear();

    /// The users, created empty on first read.
    std::shared_ptr<dayvex::Users> Users();
    /// Sets the users, which may be shared; null makes the next read create new ones.
    void setUsers(std::shared_ptr<dayvex::Users> users);
    /// The appointments, created empty on first read.
    std::shared_ptr<dayvex::Schedules> Schedules();
    /// Sets the appointments, which may be shared; null makes the next read create new ones.
    void setSchedules(std::shared_ptr<dayvex::Schedules> schedules);
    /// The to-dos, created empty on first read.
    std::shared_ptr<dayvex::ToDoS> ToDoS();
    /// Sets the to-dos, which may be shared; null makes the next read create new ones.
    void setToDoS(std::shared_ptr<dayvex::ToDoS> todos);

    /// The notifier of changes to the appointments, to-dos and users. Adding and
    /// removing through the collections, Clear() and the part setters are seen;
    /// a host that changes a record's fields in place calls markChanged().
    DataChanges *changes() const { return m_changes.get(); }
    /// Tells changes() that records were changed in place.
    void markChanged() { m_changes->post(); }

    /// The journal told of the control's changes to records, or null. The
    /// journal is not owned: whoever sets it clears it before it goes away.
    void setJournal(ChangeJournal *journal) { m_journal = journal; }
    /// The journal, or null.
    ChangeJournal *journal() const { return m_journal; }
    /// Internal to the component: tells the journal, if any, of a record the
    /// control changed. Its failure is logged: the change stays in memory.
    void journalChange(const std::shared_ptr<Schedule> &record, bool removed);
    /// Internal to the component: as for an appointment.
    void journalChange(const std::shared_ptr<ToDo> &record, bool removed);

    /// Internal to the component: the pending alarms, created empty on first read.
    std::shared_ptr<dayvex::Alarms> Alarms();
    /// Internal to the component: sets the pending alarms.
    void setAlarms(std::shared_ptr<dayvex::Alarms> alarms);

private:
    template <typename Part>
    const std::shared_ptr<Part> &watched(std::shared_ptr<Part> &part, int &watch);
    template <typename Part>
    void replace(std::shared_ptr<Part> &part, int &watch, std::shared_ptr<Part> with);

    std::unique_ptr<DataChanges> m_changes;
    ChangeJournal *m_journal = nullptr;
    int m_usersWatch = 0;
    int m_schedulesWatch = 0;
    int m_todosWatch = 0;
    // Declared in reverse release order: destruction releases alarms first.
    std::shared_ptr<dayvex::ToDoS> m_todos;
    std::shared_ptr<dayvex::Schedules> m_schedules;
    std::shared_ptr<dayvex::Users> m_users;
    std::shared_ptr<dayvex::Alarms> m_alarms;
};

/// The appointments or the to-dos of a DayvexData as a table, for a host's own
/// item views, proxies and QML: one row per record in collection order, one
/// column per field. Dates read as QDateTime (an empty date as an invalid one),
/// the colour as QColor under Qt::DecorationRole; QML sees each field under a
/// role of its name. It follows the data's changes() with a model reset.
class DAYVEX_CORE_EXPORT AgendaItemModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// Which records the model shows.
    enum class Records {
        Appointments, ///< The Schedules.
        ToDos,        ///< The ToDoS.
    };
    Q_ENUM(Records)

    /// A model of data's records of that kind; data may be null for an empty model.
    AgendaItemModel(std::shared_ptr<DayvexData> data, Records records, QObject *parent = nullptr);
    ~AgendaItemModel() override;

    /// The number of records, or 0 under a valid parent.
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    /// The number of fields, or 0 under a valid parent.
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    /// A field of a record: text for display, the typed value for editing and
    /// for the field's own role.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// The field names across the top, row numbers down the side.
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    /// Qt's roles and one role per field, named as the field.
    QHash<int, QByteArray> roleNames() const override;

    /// The field shown in column, such as "StartDate"; empty outside the columns.
    QString fieldAt(int column) const;
    /// The key of the record in row; empty outside the rows.
    QString keyAt(int row) const;
    /// The row of the record stored under key (case ignored), or -1.
    int rowOf(const QString &key) const;

    /// Reads the records again and resets the model: what a change announcement does.
    void reload();

private:
    std::shared_ptr<DayvexData> m_data;
    Records m_records;
    std::vector<std::shared_ptr<const void>> m_rows;
    std::vector<QString> m_keys;
    QMetaObject::Connection m_watch;
};

} // namespace dayvex
