#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>
#include <QVariant>
#include <QVariantMap>

class QSettings;

namespace dayvex {

// The host's store of the control's design-time properties. A value equal to
// its default is not stored, so a reader sees the default again.
class DAYVEX_EXPORT PropertyBag
{
public:
    virtual ~PropertyBag();
    virtual QVariant ReadProperty(const QString &name, const QVariant &defaultValue) = 0;
    virtual void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) = 0;
};

// Properties kept in memory, for hosts with a store of their own and for tests.
class DAYVEX_EXPORT MemoryPropertyBag : public PropertyBag
{
public:
    MemoryPropertyBag() = default;
    explicit MemoryPropertyBag(QVariantMap values) : m_values(std::move(values)) {}

    QVariant ReadProperty(const QString &name, const QVariant &defaultValue) override;
    void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) override;

    QVariantMap values() const { return m_values; }

private:
    QVariantMap m_values;
};

// Properties kept in a group of a QSettings file.
class DAYVEX_EXPORT SettingsPropertyBag : public PropertyBag
{
public:
    explicit SettingsPropertyBag(QSettings &settings, const QString &group = QStringLiteral("zntDayvex"));

    QVariant ReadProperty(const QString &name, const QVariant &defaultValue) override;
    void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) override;

private:
    QSettings &m_settings;
    QString m_group;
};

// Reading typed values from a bag: a value of the wrong kind (text where a
// number belongs) throws dayvex::Error 13 naming the property; a number too
// large for its type throws 6.
namespace bag {
DAYVEX_EXPORT bool toBool(const QVariant &value, const QString &name);
DAYVEX_EXPORT qint16 toInt16(const QVariant &value, const QString &name);
DAYVEX_EXPORT double toDouble(const QVariant &value, const QString &name);
DAYVEX_EXPORT QString toText(const QVariant &value, const QString &name);
} // namespace bag

} // namespace dayvex
