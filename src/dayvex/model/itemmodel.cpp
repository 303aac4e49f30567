#include "dayvexdata.h"

#include <QColor>
#include <QLocale>
#include <QMetaProperty>

#include <array>

namespace dayvex {

namespace {

// Columns in the order a person reads a record, not the declaration order.
constexpr std::array<const char *, 12> AppointmentFields = {
    "Key", "StartDate", "EndDate", "Description", "Place", "Category",
    "Owner", "Contact", "ContactCode", "ReminderDate", "Color", "Tag"};
constexpr std::array<const char *, 11> ToDoFields = {
    "Key", "ShortDesc", "DueTo", "Priority", "Project", "Done",
    "DateDone", "Owner", "LongDesc", "ReminderDate", "Tag"};
constexpr int FieldRole = Qt::UserRole + 1;

const QMetaObject &gadgetOf(AgendaItemModel::Records records)
{
    return records == AgendaItemModel::Records::Appointments ? Schedule::staticMetaObject : ToDo::staticMetaObject;
}

int fieldCount(AgendaItemModel::Records records)
{
    return records == AgendaItemModel::Records::Appointments ? int(AppointmentFields.size())
                                                             : int(ToDoFields.size());
}

const char *fieldName(AgendaItemModel::Records records, int column)
{
    return records == AgendaItemModel::Records::Appointments ? AppointmentFields[size_t(column)]
                                                             : ToDoFields[size_t(column)];
}

// A Date as Qt reads it: an invalid QDateTime for the empty date, NaN or a day
// outside the years 100 to 9999, which a host may have stored.
QVariant typed(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<Date>()) {
        const Date date = value.value<Date>();
        return date.isValid() && !date.isEmpty() ? date.toDateTime() : QDateTime();
    }
    return value;
}

} // namespace

AgendaItemModel::AgendaItemModel(std::shared_ptr<DayvexData> data, Records records, QObject *parent)
    : QAbstractTableModel(parent), m_data(std::move(data)), m_records(records)
{
    if (m_data)
        m_watch = connect(m_data->changes(), &DataChanges::changed, this, &AgendaItemModel::reload);
    reload();
}

AgendaItemModel::~AgendaItemModel() = default;

void AgendaItemModel::reload()
{
    beginResetModel();
    m_rows.clear();
    m_keys.clear();
    if (m_data) {
        auto take = [this](const auto &collection) {
            m_rows.reserve(size_t(collection.Count()));
            for (const auto &record : collection) {
                m_rows.push_back(record);
                m_keys.push_back(record->Key);
            }
        };
        if (m_records == Records::Appointments)
            take(*m_data->Schedules());
        else
            take(*m_data->ToDoS());
    }
    endResetModel();
}

int AgendaItemModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int AgendaItemModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : fieldCount(m_records);
}

QString AgendaItemModel::fieldAt(int column) const
{
    return column >= 0 && column < fieldCount(m_records) ? QString::fromLatin1(fieldName(m_records, column))
                                                          : QString();
}

QString AgendaItemModel::keyAt(int row) const
{
    return row >= 0 && row < int(m_keys.size()) ? m_keys[size_t(row)] : QString();
}

int AgendaItemModel::rowOf(const QString &key) const
{
    const QString folded = key.toCaseFolded();
    for (size_t row = 0; row < m_keys.size(); ++row)
        if (m_keys[row].toCaseFolded() == folded)
            return int(row);
    return -1;
}

QVariant AgendaItemModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    int column = index.column();
    if (role >= FieldRole && role < FieldRole + fieldCount(m_records)) {
        column = role - FieldRole;
        role = Qt::EditRole;
    }
    const QMetaObject &gadget = gadgetOf(m_records);
    const QMetaProperty field = gadget.property(gadget.indexOfProperty(fieldName(m_records, column)));
    const QVariant value = typed(field.readOnGadget(m_rows[size_t(index.row())].get()));
    const bool isColour = m_records == Records::Appointments && qstrcmp(field.name(), "Color") == 0;
    switch (role) {
    case Qt::EditRole:
        return value;
    case Qt::DisplayRole:
        if (value.metaType() == QMetaType::fromType<QDateTime>())
            return value.toDateTime().isValid() ? QLocale().toString(value.toDateTime(), QLocale::ShortFormat)
                                                : QString();
        return value.toString();
    case Qt::DecorationRole:
        if (isColour) {
            // The default colour, 0, has no swatch.
            const QColor colour = static_cast<const Schedule *>(m_rows[size_t(index.row())].get())->color();
            return colour.isValid() ? QVariant(colour) : QVariant();
        }
        return QVariant();
    default:
        return QVariant();
    }
}

QVariant AgendaItemModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || section < 0)
        return QVariant();
    if (orientation == Qt::Horizontal)
        return section < fieldCount(m_records) ? QVariant(fieldAt(section)) : QVariant();
    return section < rowCount() ? QVariant(section + 1) : QVariant();
}

QHash<int, QByteArray> AgendaItemModel::roleNames() const
{
    QHash<int, QByteArray> roles = QAbstractTableModel::roleNames();
    for (int column = 0; column < fieldCount(m_records); ++column)
        roles.insert(FieldRole + column, QByteArray(fieldName(m_records, column)));
    return roles;
}

} // namespace dayvex
