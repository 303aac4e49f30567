#pragma once

#include <dayvex/dayvex_export.h>

#include <QtGlobal>

#include <vector>

namespace dayvex {

// Rows of the to-do list: each to-do, in collection order, goes before the first
// row whose priority is greater than or equal to its own, so among equal
// priorities the later to-do comes first. Returns collection indexes by row.
DAYVEX_CORE_EXPORT std::vector<int> todoRowOrder(const std::vector<qint16> &priorities);

} // namespace dayvex
