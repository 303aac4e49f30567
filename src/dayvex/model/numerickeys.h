#pragma once

// Internal to the component: the key arithmetic shared by Schedules and ToDoS.

#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <cmath>
#include <limits>

namespace dayvex::detail {

// The largest numeric key of a collection, each key read with val() and the
// maximum held as a 32-bit integer (rounded half to even; Error::Overflow past it).
// It follows the keys as they are stored and removed, so that asking costs
// nothing; only removing the largest key makes the next question read them all.
// Rounding keeps the order, so the largest value rounded is the running maximum
// that a walk in collection order would reach.
class LargestNumericKey
{
public:
    void stored(const QString &key)
    {
        if (!m_stale)
            consider(key);
    }
    void removed(const QString &key)
    {
        if (!m_stale && m_largest > 0 && val(key) >= m_largest)
            m_stale = true;
    }

    // forEachKey(f) calls f with every stored key.
    template <typename ForEachKey>
    qint32 value(ForEachKey forEachKey)
    {
        if (m_stale) {
            m_largest = 0;
            m_largestKey.clear();
            forEachKey([this](const QString &key) { consider(key); });
            m_stale = false;
        }
        if (!(m_largest > 0))
            return 0;
        const double rounded = std::nearbyint(m_largest); // the default rounding mode is half to even
        if (rounded > std::numeric_limits<qint32>::max())
            throw Error::overflow(QStringLiteral("key \"%1\" passes 2147483647").arg(m_largestKey));
        return qint32(rounded);
    }

private:
    void consider(const QString &key)
    {
        const double value = val(key);
        if (value > m_largest) {
            m_largest = value;
            m_largestKey = key;
        }
    }

    double m_largest = 0;
    QString m_largestKey;
    bool m_stale = false;
};

} // namespace dayvex::detail
