#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>

#include <memory>

namespace dayvex {

/// The reminder sound. The default asks Qt Multimedia for an output device and
/// plays a WAV file with QSoundEffect; a host can route the sound elsewhere, or
/// silence it, by installing its own with setReminderSound().
class DAYVEX_EXPORT ReminderSound
{
public:
    virtual ~ReminderSound() = default;
    /// True when there is a device to play on; a reminder plays nothing otherwise.
    virtual bool hasOutputDevice() const;
    /// Plays fileName and returns when it has ended; the event loop runs meanwhile.
    /// An empty, missing or broken file plays nothing and returns at once.
    virtual void play(const QString &fileName);
};

/// Installs the sound every reminder plays through; nullptr puts the default back.
DAYVEX_EXPORT void setReminderSound(std::shared_ptr<ReminderSound> sound);

} // namespace dayvex
