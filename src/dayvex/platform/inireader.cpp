#include "inireader.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace dayvex {

namespace {

// Code points of the bytes 0x80 to 0x9F in Windows-1252; the rest is Latin-1.
constexpr char16_t Windows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

QString fromWindows1252(QByteArrayView bytes)
{
    QString out(bytes.size(), Qt::Uninitialized);
    QChar *dst = out.data();
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        *dst++ = QChar(b >= 0x80 && b < 0xA0 ? Windows1252High[b - 0x80] : char16_t(b));
    }
    return out;
}

std::optional<QString> fromUtf8Strict(QByteArrayView bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QString unquoted(QString value)
{
    value = value.trimmed();
    if (value.size() >= 2) {
        const QChar first = value.front();
        if ((first == QLatin1Char('"') || first == QLatin1Char('\'')) && value.back() == first)
            value = value.mid(1, value.size() - 2);
    }
    return value;
}

} // namespace

QString IniReader::decode(const QByteArray &bytes)
{
    QByteArrayView view(bytes);
    if (view.startsWith("\xEF\xBB\xBF"))
        view = view.sliced(3);
    if (std::optional<QString> whole = fromUtf8Strict(view))
        return *whole;
    QString out;
    out.reserve(view.size());
    while (!view.isEmpty()) {
        const qsizetype newline = view.indexOf('\n');
        const QByteArrayView line = newline < 0 ? view : view.first(newline + 1);
        const std::optional<QString> utf8 = fromUtf8Strict(line);
        out += utf8 ? *utf8 : fromWindows1252(line);
        view = view.sliced(line.size());
    }
    return out;
}

QString IniReader::readValue(const QString &path, const QString &section, const QString &key,
                             const QString &defaultValue)
{
    // Only a regular file is read: a FIFO or a device would hold the caller for ever.
    const QFileInfo info(path);
    QFile file(path);
    if (path.isEmpty() || !info.isFile() || info.size() > MaxFileSize || !file.open(QIODevice::ReadOnly)
        || file.size() > MaxFileSize)
        return defaultValue.left(MaxValueLength);
    const QString text = decode(file.read(MaxFileSize));

    const QString wantedSection = section.trimmed();
    const QString wantedKey = key.trimmed();
    bool inSection = false;
    bool sectionSeen = false;
    for (QStringView line : QStringView(text).split(QLatin1Char('\n'))) {
        line = line.trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            const qsizetype close = line.indexOf(QLatin1Char(']'));
            const QStringView name = line.mid(1, close < 0 ? -1 : close - 1).trimmed();
            // Only the first section of a name is read, as the platform does.
            if (inSection || sectionSeen)
                inSection = false;
            else
                inSection = name.compare(wantedSection, Qt::CaseInsensitive) == 0;
            sectionSeen = sectionSeen || inSection;
            continue;
        }
        if (!inSection)
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0)
            continue;
        if (line.first(equals).trimmed().compare(wantedKey, Qt::CaseInsensitive) == 0)
            return unquoted(line.sliced(equals + 1).toString()).left(MaxValueLength);
    }
    return defaultValue.left(MaxValueLength);
}

} // namespace dayvex
