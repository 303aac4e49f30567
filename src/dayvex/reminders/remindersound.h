#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>

#include <memory>

namespace dayvex {

// The reminder sound. The default asks Qt Multimedia for an output device and
// plays a WAV file with QSoundEffect; a host can route the sound elsewhere and
// tests count what is played.
class ReminderSound
{
public:
    virtual ~ReminderSound() = default;
    virtual bool hasOutputDevice() const;
    // Plays fileName and returns when it has ended; the event loop runs meanwhile.
    // An empty, missing or broken file plays nothing and returns at once.
    virtual void play(const QString &fileName);
};

// nullptr puts the default back.
void setReminderSound(std::shared_ptr<ReminderSound> sound);
ReminderSound &reminderSound();

// The length of a WAV file in milliseconds, from its header; -1 when it is none.
qint64 wavDurationMs(const QString &fileName);

} // namespace dayvex
