#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>

namespace dayvex {

// Reads one value of an INI file the way the platform's profile reader does:
// section and key names compared without regard to case, the value taken after
// the first "=", blanks around names and values trimmed, one pair of surrounding
// quotes removed, values cut at 254 characters, and defaultValue when the file,
// the section or the key is absent. Files are read as UTF-8 (with or without a
// byte-order mark); a line that is not valid UTF-8 is read as Windows-1252. A file
// that cannot be read, or is larger than MaxFileSize, counts as missing.
class DAYVEX_CORE_EXPORT IniReader
{
public:
    static constexpr qint64 MaxFileSize = 1024 * 1024;
    static constexpr int MaxValueLength = 254;

    static QString readValue(const QString &path, const QString &section, const QString &key,
                             const QString &defaultValue);

    // Decodes bytes as UTF-8, falling back to Windows-1252 line by line.
    static QString decode(const QByteArray &bytes);
};

} // namespace dayvex
