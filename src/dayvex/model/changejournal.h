#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>

#include <memory>

namespace dayvex {

/// Hears of each appointment and to-do the control adds, changes or removes,
/// just before the host's after-event: what keeps a copy of the records (a
/// store) implements. A DayvexData holds one at most; see DayvexData::setJournal.
class DAYVEX_CORE_EXPORT ChangeJournal
{
public:
    virtual ~ChangeJournal() = default;
    /// record was added or changed, or removed when removed is set. Throws dayvex::Error when it cannot keep it.
    virtual void recordChanged(const std::shared_ptr<Schedule> &record, bool removed) = 0;
    /// As for an appointment.
    virtual void recordChanged(const std::shared_ptr<ToDo> &record, bool removed) = 0;
};

} // namespace dayvex
