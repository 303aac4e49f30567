#pragma once

// Internal to the component: the key arithmetic shared by Schedules and ToDoS.

#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <cmath>
#include <limits>

namespace dayvex::detail {

// The largest numeric key of a collection, each key read with val() and the
// maximum held as a 32-bit integer (rounded half to even; Error::Overflow past it).
template <typename Collection>
qint32 largestNumericKey(const Collection &collection)
{
    qint32 largest = 0;
    for (const auto &record : collection) {
        const double value = val(record->Key);
        if (value > largest) {
            const double rounded = std::nearbyint(value); // the default rounding mode is half to even
            if (rounded > std::numeric_limits<qint32>::max())
                throw Error::overflow(QStringLiteral("key \"%1\" passes 2147483647").arg(record->Key));
            largest = qint32(rounded);
        }
    }
    return largest;
}

} // namespace dayvex::detail
