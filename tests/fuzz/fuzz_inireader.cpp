// The language file reader on any bytes as a file: a section and a key to look
// for come first, the file's bytes after them.

#include "fuzzinput.h"

#include <dayvex/platform/inireader.h>

#include <QDir>
#include <QFile>

#include <cstdio>
#include <unistd.h>

using dayvex::IniReader;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QString path = QDir::temp().filePath(QStringLiteral("dayvex-fuzz-%1.ini").arg(getpid()));
    FuzzInput in(data, size);
    const QString section = in.text(16);
    const QString key = in.text(16);
    const QByteArray bytes = in.rest();
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(bytes);
    }
    const QString fallback = QStringLiteral("fallback");
    const QString value = IniReader::readValue(path, section, key, fallback);
    FUZZ_CHECK(value.size() <= IniReader::MaxValueLength);
    // Decoding never loses a line: as many line feeds come out as went in.
    const QString text = IniReader::decode(bytes);
    FUZZ_CHECK(text.count(QLatin1Char('\n')) == bytes.count('\n'));
    // A key the file does not hold gives the default.
    if (!key.trimmed().isEmpty() && !text.contains(key.trimmed(), Qt::CaseInsensitive))
        FUZZ_CHECK(value == fallback);
    return 0;
}
