#pragma once

// Reads a fuzzer's bytes as a stream of small values; past the end everything is zero.

#include <QString>

#include <cstdint>
#include <cstring>

class FuzzInput
{
public:
    FuzzInput(const uint8_t *data, size_t size) : m_data(data), m_size(size) {}

    bool atEnd() const { return m_pos >= m_size; }
    size_t remaining() const { return m_size - m_pos; }

    uint8_t byte() { return atEnd() ? 0 : m_data[m_pos++]; }

    template <typename T>
    T raw()
    {
        T value{};
        const size_t n = sizeof(T) < remaining() ? sizeof(T) : remaining();
        std::memcpy(&value, m_data + m_pos, n);
        m_pos += n;
        return value;
    }

    // A text of up to maxLength bytes, read as UTF-8 (invalid sequences and all).
    QString text(size_t maxLength)
    {
        size_t length = byte() % (maxLength + 1);
        if (length > remaining())
            length = remaining();
        const QString out = QString::fromUtf8(reinterpret_cast<const char *>(m_data + m_pos), qsizetype(length));
        m_pos += length;
        return out;
    }

    QByteArray rest()
    {
        const QByteArray out(reinterpret_cast<const char *>(m_data + m_pos), qsizetype(remaining()));
        m_pos = m_size;
        return out;
    }

private:
    const uint8_t *m_data;
    size_t m_size;
    size_t m_pos = 0;
};

// Stops the run with the failed invariant; libFuzzer keeps the input that did it.
#define FUZZ_CHECK(condition) \
    do { \
        if (!(condition)) { \
            fprintf(stderr, "invariant failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
            abort(); \
        } \
    } while (0)
