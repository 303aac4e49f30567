#pragma once

#include <dayvex/dayvex_export.h>

#include <QByteArray>
#include <QLoggingCategory>
#include <QString>
#include <QtGlobal>

#include <exception>

namespace dayvex {

/// The logging category "dayvex": refused property values, failed host handlers
/// and errors nothing could take. Debug messages are off unless a host turns
/// them on ("dayvex.debug=true" in QT_LOGGING_RULES).
DAYVEX_CORE_EXPORT const QLoggingCategory &lcDayvex();

/// An automation error as a host sees it: a number, a description and the
/// component that raised it.
class DAYVEX_CORE_EXPORT Error : public std::exception
{
public:
    /// Numbers of the platform's run-time errors that the object model raises.
    enum PlatformNumber : qint32 {
        InvalidArgument = 5,        ///< Invalid procedure call or argument: a bad position, key or date.
        Overflow = 6,               ///< A number or date out of range.
        SubscriptOutOfRange = 9,    ///< Subscript out of range.
        DuplicateKey = 457,         ///< A key already associated with an element of the collection.
        AutomationError = 440,      ///< A host's handler failed with something other than an Error.
    };
    /// Base of the component's own errors (hexadecimal 80040000 as a signed 32-bit value).
    static constexpr qint32 ObjectErrorBase = qint32(0x80040000u);
    static const QString ComponentSource; ///< "zntDayvex.ocx": the source of the component's own errors.
    static const QString PlatformSource;  ///< "Dayvex": the source of the platform's run-time errors.

    /// An error with number, description and source; what() reads "source (number): description".
    Error(qint32 number, const QString &description, const QString &source);

    qint32 number() const noexcept { return m_number; }             ///< The error number.
    QString description() const { return m_description; }           ///< The text describing the error.
    QString source() const { return m_source; }                     ///< The component that raised it.
    /// "source (number): description", in UTF-8.
    const char *what() const noexcept override { return m_what.constData(); }

    /// Error 5, "Invalid procedure call or argument", followed by ": detail" when detail is given.
    static Error invalidArgument(const QString &detail = {});
    /// Error 6, "Overflow", followed by ": detail" when detail is given.
    static Error overflow(const QString &detail = {});
    /// Error 9, "Subscript out of range", followed by ": detail" when detail is given.
    static Error subscriptOutOfRange(const QString &detail = {});
    /// Error 457 with the platform's text for a duplicate key.
    static Error duplicateKey();
    /// A host's handler of event failed: its own Error keeps its number and source
    /// and gains the event's name (once, however many handlers it passed).
    static Error inHandler(const char *event, const Error &thrown);
    /// A host's handler of event failed with anything but an Error: an automation error (440) saying what.
    static Error inHandler(const char *event, const QString &what);
    /// An error of this component: the object-error base plus offset, source "zntDayvex.ocx".
    static Error objectError(qint32 offset, const QString &description);

private:
    qint32 m_number;
    QString m_description;
    QString m_source;
    QByteArray m_what;
};

/// Raises event to the host's handlers through raise. Whatever a handler throws
/// leaves as a dayvex::Error naming the event, so that the step raising it stops
/// before its change and whoever logs it can say where it came from.
template <typename Raise>
void callHostHandler(const char *event, Raise raise)
{
    try {
        raise();
    } catch (const Error &error) {
        throw Error::inHandler(event, error);
    } catch (const std::exception &error) {
        throw Error::inHandler(event, QString::fromLocal8Bit(error.what()));
    } catch (...) {
        throw Error::inHandler(event, QStringLiteral("an exception of an unknown type"));
    }
}

/// Runs step where nothing up the stack can take its error (a user's click,
/// a resize, a timer): an error, the component's or a host handler's, is logged
/// under who and goes no further; no exception may cross Qt's event loop.
template <typename Step>
void runLoggingErrors(const char *who, Step step)
{
    try {
        step();
    } catch (const Error &error) {
        qCWarning(lcDayvex, "%s: error %d: %s", who, int(error.number()), qPrintable(error.description()));
    } catch (const std::exception &error) {
        qCWarning(lcDayvex, "%s: %s", who, error.what());
    } catch (...) {
        qCWarning(lcDayvex, "%s: an exception of an unknown type", who);
    }
}

} // namespace dayvex
