#include "soundplayback.h"

#include <QAudioDevice>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QTimer>
#include <QUrl>
#include <QtEndian>

namespace dayvex {

namespace {
std::shared_ptr<ReminderSound> &currentSound()
{
    static std::shared_ptr<ReminderSound> sound;
    return sound;
}

// Past the sound's own length, the wait ends anyway.
constexpr qint64 GraceMs = 1000;
} // namespace

void setReminderSound(std::shared_ptr<ReminderSound> sound)
{
    currentSound() = std::move(sound);
}

ReminderSound &reminderSound()
{
    static ReminderSound qtSound;
    const std::shared_ptr<ReminderSound> &sound = currentSound();
    return sound ? *sound : qtSound;
}

bool ReminderSound::hasOutputDevice() const
{
    return !QMediaDevices::audioOutputs().isEmpty();
}

qint64 wavDurationMs(const QString &fileName)
{
    // A FIFO or a device could hold the tick for ever: only a regular file is a sound.
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray header = file.read(12);
    if (header.size() < 12 || !header.startsWith("RIFF") || header.mid(8, 4) != "WAVE")
        return -1;
    quint32 byteRate = 0;
    // Chunks follow one another: "fmt " gives the byte rate, "data" the length.
    while (!file.atEnd()) {
        const QByteArray chunk = file.read(8);
        if (chunk.size() < 8)
            return -1;
        const quint32 size = qFromLittleEndian<quint32>(chunk.constData() + 4);
        if (chunk.startsWith("fmt ")) {
            const QByteArray format = file.read(qMin<quint32>(size, 16));
            if (format.size() < 12)
                return -1;
            byteRate = qFromLittleEndian<quint32>(format.constData() + 8);
            file.skip(qint64(size) - format.size() + (size & 1));
        } else if (chunk.startsWith("data")) {
            return byteRate > 0 ? qint64(size) * 1000 / byteRate : -1;
        } else if (!file.skip(qint64(size) + (size & 1))) {
            return -1;
        }
    }
    return -1;
}

void ReminderSound::play(const QString &fileName)
{
    const qint64 length = wavDurationMs(fileName);
    if (fileName.isEmpty() || !QFileInfo::exists(fileName) || length < 0)
        return;
    QSoundEffect effect;
    QEventLoop loop;
    QTimer bound;
    bound.setSingleShot(true);
    QObject::connect(&bound, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&effect, &QSoundEffect::statusChanged, &loop, [&] {
        if (effect.status() == QSoundEffect::Ready)
            effect.play();
        else if (effect.status() == QSoundEffect::Error)
            loop.quit();
    });
    QObject::connect(&effect, &QSoundEffect::playingChanged, &loop, [&] {
        if (!effect.isPlaying())
            loop.quit();
    });
    effect.setSource(QUrl::fromLocalFile(fileName));
    if (effect.status() == QSoundEffect::Error)
        return;
    bound.start(int(qMin<qint64>(length + GraceMs, 60 * 1000)));
    loop.exec();
    effect.stop();
}

} // namespace dayvex
