#include "todoorder.h"

#include <algorithm>
#include <numeric>

namespace dayvex {

std::vector<int> todoRowOrder(const std::vector<qint16> &priorities)
{
    // Inserting each to-do before the first row of equal or higher priority
    // leaves the rows ascending by priority and, within one priority, the later
    // to-do first: a sort on (priority, descending index).
    std::vector<int> rows(priorities.size());
    std::iota(rows.begin(), rows.end(), 0);
    std::sort(rows.begin(), rows.end(), [&](int a, int b) {
        const qint16 pa = priorities[size_t(a)];
        const qint16 pb = priorities[size_t(b)];
        return pa != pb ? pa < pb : a > b;
    });
    return rows;
}

} // namespace dayvex
