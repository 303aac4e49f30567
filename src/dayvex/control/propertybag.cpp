#include <dayvex/control/zntdayvex.h>

#include <dayvex/platform/error.h>

#include <QSettings>

#include <cmath>
#include <limits>

namespace dayvex {

PropertyBag::~PropertyBag() = default;

static bool sameValue(const QVariant &value, const QVariant &defaultValue)
{
    return QVariant::compare(value, defaultValue) == QPartialOrdering::Equivalent;
}

QVariant MemoryPropertyBag::ReadProperty(const QString &name, const QVariant &defaultValue)
{
    return m_values.value(name, defaultValue);
}

void MemoryPropertyBag::WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue)
{
    if (sameValue(value, defaultValue))
        m_values.remove(name);
    else
        m_values.insert(name, value);
}

SettingsPropertyBag::SettingsPropertyBag(QSettings &settings, const QString &group)
    : m_settings(settings)
    , m_group(group)
{
}

QVariant SettingsPropertyBag::ReadProperty(const QString &name, const QVariant &defaultValue)
{
    m_settings.beginGroup(m_group);
    const QVariant value = m_settings.value(name, defaultValue);
    m_settings.endGroup();
    return value;
}

void SettingsPropertyBag::WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue)
{
    m_settings.beginGroup(m_group);
    if (sameValue(value, defaultValue))
        m_settings.remove(name); // an old value must not outlive a return to the default
    else
        m_settings.setValue(name, value);
    m_settings.endGroup();
}

namespace bag {

static Error mismatch(const QVariant &value, const QString &name, const char *expected)
{
    return Error(13, QStringLiteral("Type mismatch: property \"%1\" holds \"%2\" where %3 belongs")
                         .arg(name, value.toString(), QLatin1String(expected)),
                 Error::PlatformSource);
}

double toDouble(const QVariant &value, const QString &name)
{
    bool ok = false;
    const double number = value.typeId() == QMetaType::QString ? value.toString().trimmed().toDouble(&ok)
                                                                : value.toDouble(&ok);
    if (!ok || !std::isfinite(number) || value.typeId() == QMetaType::Bool)
        throw mismatch(value, name, "a number");
    return number;
}

qint16 toInt16(const QVariant &value, const QString &name)
{
    const double number = std::nearbyint(toDouble(value, name));
    if (number < std::numeric_limits<qint16>::min() || number > std::numeric_limits<qint16>::max())
        throw Error::overflow(QStringLiteral("property \"%1\" holds %2").arg(name).arg(number));
    return qint16(number);
}

bool toBool(const QVariant &value, const QString &name)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed().toLower();
        if (text == QLatin1String("true"))
            return true;
        if (text == QLatin1String("false"))
            return false;
    }
    bool ok = false;
    const double number = value.typeId() == QMetaType::QString ? value.toString().trimmed().toDouble(&ok)
                                                                : value.toDouble(&ok);
    if (!ok)
        throw mismatch(value, name, "a Boolean");
    return number != 0.0;
}

QString toText(const QVariant &value, const QString &name)
{
    if (!value.canConvert<QString>() || value.typeId() == QMetaType::QVariantList
        || value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QStringList)
        throw mismatch(value, name, "a text");
    return value.toString();
}

} // namespace bag

} // namespace dayvex
