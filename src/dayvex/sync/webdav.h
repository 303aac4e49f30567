#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QXmlStreamReader>

#include <functional>

class QNetworkAccessManager;

namespace dayvex::webdav {

// The namespaces of the properties read.
inline constexpr QLatin1StringView Dav("DAV:");
inline constexpr QLatin1StringView CalDav("urn:ietf:params:xml:ns:caldav");
inline constexpr QLatin1StringView CalendarServer("http://calendarserver.org/ns/");

/// Why a URL may not be used, or empty: https anywhere, plain http to a
/// loopback address only, and no user or password inside the URL.
QString refusedUrl(const QUrl &url);

/// One <response> of a multistatus: the properties found (status 200), by
/// "namespace|name", each its text, and the hrefs and component names inside.
struct Response
{
    QString href;
    int status = 0; // the response's own status (a removed member in a sync report), 0 when none
    QHash<QString, QString> text;
    QHash<QString, QStringList> hrefs; // current-user-principal, calendar-home-set
    QStringList components;            // supported-calendar-component-set
    QStringList types;                 // resourcetype's children
    bool has(QLatin1StringView ns, const char *name) const { return text.contains(key(ns, name)); }
    QString value(QLatin1StringView ns, const char *name) const { return text.value(key(ns, name)); }
    static QString key(QLatin1StringView ns, const char *name) { return QString(ns) + QLatin1Char('|') + QLatin1String(name); }
};

/// Reads a multistatus as it arrives, handing each response over as soon as
/// it is complete: memory is bounded by the largest response, not the reply.
class MultistatusReader
{
public:
    /// maxValue bounds one property's text (calendar data).
    MultistatusReader(std::function<void(Response &)> onResponse, qsizetype maxValue);
    /// Reads more of the reply; false once the reply is refused (see error()).
    bool feed(const QByteArray &bytes);
    /// Whether the whole document was read; sets error() when it was not.
    bool finish();
    QString error() const { return m_error; }
    QString syncToken() const { return m_syncToken; }

private:
    bool fail(const QString &why);
    bool step();

    QXmlStreamReader m_xml;
    std::function<void(Response &)> m_onResponse;
    qsizetype m_maxValue;
    QString m_error;
    QString m_syncToken;
    QStringList m_path; // "ns|name" of the open elements
    Response m_response;
    QHash<QString, QString> m_props; // of the open propstat
    QHash<QString, QStringList> m_propHrefs;
    QStringList m_components, m_types;
    QString m_propStatus;
    QString m_text;
    bool m_started = false;
};

/// The outcome of one request.
struct Result
{
    int status = 0;         // HTTP status; 0 when no answer came
    QString error;          // why it failed, for a person; empty when an answer came
    bool unreachable = false; // the server could not be reached: worth a retry later
    QByteArray body;        // when not streamed
    QByteArray etag;
    QByteArray contentType;
    bool ok() const { return error.isEmpty() && status >= 200 && status < 300; }
};

/// Sends WebDAV requests by the account's rules: basic authentication sent
/// with each request, redirects followed only on the same scheme, host and
/// port, TLS errors fatal with their reasons, replies bounded in size.
class Transport : public QObject
{
    Q_OBJECT
public:
    explicit Transport(QObject *parent = nullptr);
    void setNetwork(QNetworkAccessManager *network);
    void setCredentials(const QString &user, const QString &password);
    void setReplyLimit(qint64 bytes) { m_limit = bytes; }
    qint64 replyLimit() const { return m_limit; }

    using Headers = QList<std::pair<QByteArray, QByteArray>>;
    /// Sends the request; done is called once, from the event loop. With
    /// stream set, the body goes to it as it arrives (false refuses the reply,
    /// with the reason given) and Result::body stays empty.
    void send(const QByteArray &method, const QUrl &url, const Headers &headers, const QByteArray &body,
              std::function<void(Result)> done,
              std::function<bool(const QByteArray &, QString &why)> stream = {});
    /// Ends the request in flight, whose done is then never called.
    void abort();
    bool busy() const { return !m_reply.isNull(); }

private:
    void start(int redirects);

    QNetworkAccessManager *m_network = nullptr;
    QNetworkAccessManager *m_own = nullptr;
    QByteArray m_authorization;
    qint64 m_limit = 256LL * 1024 * 1024;
    QPointer<QNetworkReply> m_reply;
    // The request in flight, kept for a redirect.
    QByteArray m_method;
    QUrl m_url;
    Headers m_headers;
    QByteArray m_body;
    std::function<void(Result)> m_done;
    std::function<bool(const QByteArray &, QString &)> m_stream;
};

} // namespace dayvex::webdav
