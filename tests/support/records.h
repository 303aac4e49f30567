#pragma once

// Records compared whole, field by field: shared by the tests and the fuzz
// targets, which have no QtTest.

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <QMetaProperty>
#include <QStringList>

// Every field of a record, a date by its exact value.
template <typename Record>
QString fieldsOf(const Record &record)
{
    QStringList out;
    const QMetaObject &meta = Record::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QVariant value = meta.property(i).readOnGadget(&record);
        out << QString::fromLatin1(meta.property(i).name()) + QLatin1Char('=')
                   + (value.metaType() == QMetaType::fromType<dayvex::Date>()
                          ? QString::number(value.value<dayvex::Date>().value(), 'g', 17)
                          : value.toString());
    }
    return out.join(QLatin1Char('|'));
}

// Every field of every record of every list, in list order: what a failed
// import, a refused file or a cancelling host must leave exactly as it was.
inline QString contents(dayvex::DayvexData &data)
{
    QStringList out;
    const auto all = [&out](const auto &...lists) {
        ((out << QStringLiteral("--"), [&] { for (const auto &r : *lists) out << fieldsOf(*r); }()), ...);
    };
    all(data.Schedules(), data.ToDoS(), data.Users(), data.Schedules()->Places(), data.Schedules()->Categories(),
        data.ToDoS()->ActiveProjects());
    return out.join(QLatin1Char('\n'));
}
