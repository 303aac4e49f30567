#include "error.h"

namespace dayvex {

Q_LOGGING_CATEGORY(lcDayvex, "dayvex", QtInfoMsg)

const QString Error::ComponentSource = QStringLiteral("zntDayvex.ocx");
const QString Error::PlatformSource = QStringLiteral("Dayvex");

Error::Error(qint32 number, const QString &description, const QString &source)
    : m_number(number)
    , m_description(description)
    , m_source(source)
    , m_what(QStringLiteral("%1 (%2): %3").arg(source).arg(number).arg(description).toUtf8())
{
}

static QString withDetail(const char *text, const QString &detail)
{
    const QString base = QString::fromLatin1(text);
    return detail.isEmpty() ? base : base + QStringLiteral(": ") + detail;
}

Error Error::invalidArgument(const QString &detail)
{
    return Error(InvalidArgument, withDetail("Invalid procedure call or argument", detail),
                 PlatformSource);
}

Error Error::overflow(const QString &detail)
{
    return Error(Overflow, withDetail("Overflow", detail), PlatformSource);
}

Error Error::subscriptOutOfRange(const QString &detail)
{
    return Error(SubscriptOutOfRange, withDetail("Subscript out of range", detail), PlatformSource);
}

Error Error::duplicateKey()
{
    return Error(DuplicateKey,
                 QStringLiteral("This key is already associated with an element of this collection"),
                 PlatformSource);
}

Error Error::inHandler(const char *event, const Error &thrown)
{
    const QString prefix = QString::fromLatin1(event) + QStringLiteral(": ");
    // Raised through several handlers, the name is said once.
    if (thrown.description().startsWith(prefix))
        return thrown;
    return Error(thrown.number(), prefix + thrown.description(), thrown.source());
}

Error Error::inHandler(const char *event, const QString &what)
{
    return Error(AutomationError, QString::fromLatin1(event) + QStringLiteral(": Automation error: ") + what,
                 PlatformSource);
}

Error Error::objectError(qint32 offset, const QString &description)
{
    return Error(ObjectErrorBase + offset, description, ComponentSource);
}

} // namespace dayvex
