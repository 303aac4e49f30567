#include "todoorder.h"

#include <algorithm>

namespace dayvex {

std::vector<int> todoRowOrder(const std::vector<qint16> &priorities)
{
    // Rows are kept ascending, so the first row not below the priority is a lower bound.
    std::vector<int> rows;
    rows.reserve(priorities.size());
    for (int i = 0; i < int(priorities.size()); ++i) {
        const auto at = std::lower_bound(rows.begin(), rows.end(), priorities[size_t(i)],
                                         [&](int row, qint16 p) { return priorities[size_t(row)] < p; });
        rows.insert(at, i);
    }
    return rows;
}

} // namespace dayvex
