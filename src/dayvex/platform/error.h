#pragma once

#include <dayvex/dayvex_export.h>

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <exception>

namespace dayvex {

// An automation error as a host sees it: a number, a description and the
// component that raised it.
class DAYVEX_EXPORT Error : public std::exception
{
public:
    // Numbers of the platform's run-time errors that the object model raises.
    enum PlatformNumber : qint32 {
        InvalidArgument = 5,
        Overflow = 6,
        SubscriptOutOfRange = 9,
        DuplicateKey = 457,
    };
    // Base of the component's own errors (hexadecimal 80040000 as a signed 32-bit value).
    static constexpr qint32 ObjectErrorBase = qint32(0x80040000u);
    static const QString ComponentSource; // "zntDayvex.ocx"
    static const QString PlatformSource;  // "Dayvex"

    Error(qint32 number, const QString &description, const QString &source);

    qint32 number() const noexcept { return m_number; }
    QString description() const { return m_description; }
    QString source() const { return m_source; }
    const char *what() const noexcept override { return m_what.constData(); }

    // The platform's run-time errors with their standard texts.
    static Error invalidArgument(const QString &detail = {});
    static Error overflow(const QString &detail = {});
    static Error subscriptOutOfRange(const QString &detail = {});
    static Error duplicateKey();
    // An error of this component: the object-error base plus offset, source "zntDayvex.ocx".
    static Error objectError(qint32 offset, const QString &description);

private:
    qint32 m_number;
    QString m_description;
    QString m_source;
    QByteArray m_what;
};

// Runs step where nothing up the stack can take its error (a user's click,
// a resize): an error, the component's or a host handler's, is logged under who.
template <typename Step>
void runLoggingErrors(const char *who, Step step)
{
    try {
        step();
    } catch (const Error &error) {
        qWarning("%s: error %d: %s", who, int(error.number()), qPrintable(error.description()));
    } catch (const std::exception &error) {
        qWarning("%s: %s", who, error.what());
    }
}

} // namespace dayvex
