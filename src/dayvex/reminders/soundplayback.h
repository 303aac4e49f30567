#pragma once

// The reminder sound as the alarm scan plays it. Not installed.

#include <dayvex/reminders/remindersound.h>

namespace dayvex {

// The sound installed by the host, or the default.
ReminderSound &reminderSound();

// The length of a WAV file in milliseconds, from its header; -1 when it is none.
qint64 wavDurationMs(const QString &fileName);

} // namespace dayvex
