#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>
#include <QVariant>
#include <QVariantMap>

class QSettings;

namespace dayvex {

/// The host's store of the control's design-time properties. A value equal to
/// its default is not stored, so a reader sees the default again.
class DAYVEX_EXPORT PropertyBag
{
public:
    virtual ~PropertyBag();
    /// The value stored under name, or defaultValue when none is.
    virtual QVariant ReadProperty(const QString &name, const QVariant &defaultValue) = 0;
    /// Stores value under name; a value equal to defaultValue removes the entry instead.
    virtual void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) = 0;
};

/// Properties kept in memory, for hosts with a store of their own and for tests.
class DAYVEX_EXPORT MemoryPropertyBag : public PropertyBag
{
public:
    /// An empty bag: every read yields its default.
    MemoryPropertyBag() = default;
    /// A bag holding values, by property name.
    explicit MemoryPropertyBag(QVariantMap values) : m_values(std::move(values)) {}

    /// The value stored under name, or defaultValue when none is.
    QVariant ReadProperty(const QString &name, const QVariant &defaultValue) override;
    /// Stores value under name; a value equal to defaultValue removes the entry instead.
    void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) override;

    /// Every stored value, by property name.
    QVariantMap values() const { return m_values; }

private:
    QVariantMap m_values;
};

/// Properties kept in a group of a QSettings file.
class DAYVEX_EXPORT SettingsPropertyBag : public PropertyBag
{
public:
    /// A bag reading and writing the keys of group in settings, which must outlive it.
    explicit SettingsPropertyBag(QSettings &settings, const QString &group = QStringLiteral("zntDayvex"));

    /// The value of name in the group, or defaultValue when the settings have none.
    QVariant ReadProperty(const QString &name, const QVariant &defaultValue) override;
    /// Sets name in the group to value; a value equal to defaultValue removes the key instead.
    void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) override;

private:
    QSettings &m_settings;
    QString m_group;
};

/// Reading typed values from a bag: a value of the wrong kind (text where a
/// number belongs) throws dayvex::Error 13 naming the property; a number too
/// large for its type throws 6.
namespace bag {
/// value as a Boolean: a Boolean, "true" or "false" in any case, or a number (non-zero is true).
/// Throws Error 13 for anything else.
DAYVEX_EXPORT bool toBool(const QVariant &value, const QString &name);
/// value as a number rounded half to even; throws Error 13 when it is no number, 6 outside -32768 to 32767.
DAYVEX_EXPORT qint16 toInt16(const QVariant &value, const QString &name);
/// value as a finite number, text trimmed; throws Error 13 for a Boolean, other text, NaN or an infinity.
DAYVEX_EXPORT double toDouble(const QVariant &value, const QString &name);
/// value as text; throws Error 13 for a list, a map or anything else that has no text.
DAYVEX_EXPORT QString toText(const QVariant &value, const QString &name);
} // namespace bag

} // namespace dayvex
