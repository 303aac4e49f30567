#include "webdav.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSslError>

namespace dayvex::webdav {

namespace {

bool isLoopback(const QString &host)
{
    if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        return true;
    QHostAddress address;
    return address.setAddress(host) && address.isLoopback();
}

QString statusText(int status)
{
    switch (status) {
    case 401:
        return QStringLiteral("the server refused the user name or password (401)");
    case 403:
        return QStringLiteral("the server refused access (403)");
    case 404:
        return QStringLiteral("the server has no such calendar or resource (404)");
    default:
        return QStringLiteral("the server answered %1").arg(status);
    }
}

} // namespace

QString refusedUrl(const QUrl &url)
{
    if (!url.isValid() || url.host().isEmpty())
        return QStringLiteral("\"%1\" is not a server address").arg(url.toDisplayString(QUrl::RemoveUserInfo));
    if (!url.userInfo().isEmpty())
        return QStringLiteral("the address may not hold a user name or password; give them apart");
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("https"))
        return {};
    if (scheme == QLatin1String("http")) {
        if (isLoopback(url.host()))
            return {};
        return QStringLiteral("plain http is only allowed to this machine (127.0.0.1, ::1, localhost); "
                              "use https for %1")
            .arg(url.host());
    }
    return QStringLiteral("the scheme \"%1\" is not supported; use https").arg(url.scheme());
}

MultistatusReader::MultistatusReader(std::function<void(Response &)> onResponse, qsizetype maxValue)
    : m_onResponse(std::move(onResponse)), m_maxValue(maxValue)
{
}

bool MultistatusReader::fail(const QString &why)
{
    if (m_error.isEmpty())
        m_error = why;
    return false;
}

bool MultistatusReader::feed(const QByteArray &bytes)
{
    if (!m_error.isEmpty())
        return false;
    m_xml.addData(bytes);
    while (!m_xml.atEnd()) {
        m_xml.readNext();
        if (m_xml.hasError()) {
            if (m_xml.error() == QXmlStreamReader::PrematureEndOfDocumentError)
                return true; // more is to come
            return fail(QStringLiteral("the server's reply is not well-formed XML (line %1: %2)")
                            .arg(m_xml.lineNumber())
                            .arg(m_xml.errorString()));
        }
        if (!step())
            return false;
    }
    return true;
}

bool MultistatusReader::finish()
{
    if (!m_error.isEmpty())
        return false;
    if (!m_started)
        return fail(QStringLiteral("the server's reply holds no multistatus"));
    if (!m_path.isEmpty() || (m_xml.hasError() && m_xml.error() == QXmlStreamReader::PrematureEndOfDocumentError))
        return fail(QStringLiteral("the server's reply ends in the middle"));
    return true;
}

bool MultistatusReader::step()
{
    const auto name = [this] { return m_xml.namespaceUri().toString() + QLatin1Char('|') + m_xml.name().toString(); };
    const auto at = [this](int fromEnd) { return m_path.size() > fromEnd ? m_path.at(m_path.size() - 1 - fromEnd) : QString(); };
    const QString multistatus = Response::key(Dav, "multistatus");
    const QString response = Response::key(Dav, "response");
    const QString propstat = Response::key(Dav, "propstat");
    const QString prop = Response::key(Dav, "prop");
    switch (m_xml.tokenType()) {
    case QXmlStreamReader::DTD:
        return fail(QStringLiteral("the server's reply declares a DTD: refused"));
    case QXmlStreamReader::EntityReference:
        return fail(QStringLiteral("the server's reply uses an undeclared entity: refused"));
    case QXmlStreamReader::StartElement: {
        const QString element = name();
        if (m_path.isEmpty()) {
            if (element != multistatus)
                return fail(QStringLiteral("the server's reply is not a WebDAV multistatus"));
            m_started = true;
        } else if (element == response && at(0) == multistatus) {
            m_response = Response();
        } else if (element == propstat && at(0) == response) {
            m_props.clear();
            m_propHrefs.clear();
            m_components.clear();
            m_types.clear();
            m_propStatus.clear();
        } else if (at(1) == prop && at(2) == propstat) {
            // inside one property: its hrefs, components and resource types
            if (element == Response::key(Dav, "href"))
                m_text.clear();
            else if (element == Response::key(CalDav, "comp"))
                m_components << m_xml.attributes().value(QLatin1String("name")).toString().toUpper();
            else if (at(0) == Response::key(Dav, "resourcetype"))
                m_types << element;
        } else if (at(0) == prop) {
            m_props.insert(element, QString());
        }
        if (m_path.size() > 16)
            return fail(QStringLiteral("the server's reply nests too deeply"));
        m_path << element;
        m_text.clear();
        return true;
    }
    case QXmlStreamReader::Characters:
        if (m_path.isEmpty())
            return true;
        if (m_text.size() + m_xml.text().size() > m_maxValue)
            return fail(QStringLiteral("a value in the server's reply is larger than %1 bytes").arg(m_maxValue));
        m_text += m_xml.text();
        return true;
    case QXmlStreamReader::EndElement: {
        const QString element = m_path.takeLast();
        if (element == response && at(0) == multistatus) {
            m_onResponse(m_response);
        } else if (element == propstat && at(0) == response) {
            if (m_propStatus.contains(QLatin1String(" 200 ")) || m_propStatus.isEmpty()) {
                for (auto it = m_props.cbegin(); it != m_props.cend(); ++it)
                    m_response.text.insert(it.key(), it.value());
                for (auto it = m_propHrefs.cbegin(); it != m_propHrefs.cend(); ++it)
                    m_response.hrefs.insert(it.key(), it.value());
                m_response.components << m_components;
                m_response.types << m_types;
            }
        } else if (at(0) == response && element == Response::key(Dav, "href")) {
            m_response.href = m_text.trimmed();
        } else if (at(0) == response && element == Response::key(Dav, "status")) {
            m_response.status = m_text.section(QLatin1Char(' '), 1, 1).toInt();
        } else if (at(0) == propstat && element == Response::key(Dav, "status")) {
            m_propStatus = m_text;
        } else if (at(0) == prop && at(1) == propstat) {
            m_props.insert(element, m_text);
        } else if (element == Response::key(Dav, "href") && at(1) == prop && at(2) == propstat) {
            m_propHrefs[at(0)] << m_text.trimmed();
        } else if (at(0) == multistatus && element == Response::key(Dav, "sync-token")) {
            m_syncToken = m_text.trimmed();
        }
        m_text.clear();
        return true;
    }
    default:
        return true;
    }
}

Transport::Transport(QObject *parent) : QObject(parent) {}

void Transport::setNetwork(QNetworkAccessManager *network)
{
    abort();
    m_network = network;
}

void Transport::setCredentials(const QString &user, const QString &password)
{
    m_authorization = user.isEmpty() ? QByteArray()
                                     : "Basic " + (user + QLatin1Char(':') + password).toUtf8().toBase64();
}

void Transport::send(const QByteArray &method, const QUrl &url, const Headers &headers, const QByteArray &body,
                     std::function<void(Result)> done, std::function<bool(const QByteArray &, QString &)> stream)
{
    abort();
    m_method = method;
    m_url = url;
    m_headers = headers;
    m_body = body;
    m_done = std::move(done);
    m_stream = std::move(stream);
    start(0);
}

void Transport::abort()
{
    if (QNetworkReply *reply = m_reply.data()) {
        m_reply.clear();
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
}

void Transport::start(int redirects)
{
    const auto finish = [this](Result result) {
        auto done = std::move(m_done);
        m_done = nullptr;
        m_stream = nullptr;
        if (done)
            done(std::move(result));
    };
    if (const QString why = refusedUrl(m_url); !why.isEmpty()) {
        QMetaObject::invokeMethod(
            this, [finish, why] {
                Result refused;
                refused.error = why;
                finish(refused);
            },
            Qt::QueuedConnection);
        return;
    }
    if (!m_network) {
        if (!m_own)
            m_own = new QNetworkAccessManager(this);
        m_network = m_own;
    }
    QNetworkRequest request(m_url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    // A server may think long before its first byte (Radicale renders a whole
    // calendar-query first); silence longer than this is a server out of reach.
    request.setTransferTimeout(120000);
    if (!m_authorization.isEmpty())
        request.setRawHeader("Authorization", m_authorization);
    for (const auto &[header, value] : m_headers)
        request.setRawHeader(header, value);
    if (!m_body.isEmpty() && !request.hasRawHeader("Content-Type"))
        request.setRawHeader("Content-Type", "application/xml; charset=utf-8");

    QNetworkReply *reply = m_network->sendCustomRequest(request, m_method, m_body);
    m_reply = reply;
    auto received = std::make_shared<qint64>(0);
    auto body = std::make_shared<QByteArray>();
    auto tls = std::make_shared<QStringList>();
    auto refused = std::make_shared<QString>();

    connect(reply, &QNetworkReply::sslErrors, this, [tls](const QList<QSslError> &errors) {
        // Never ignored: the handshake then fails, and the reasons are told.
        for (const QSslError &error : errors)
            *tls << error.errorString();
    });
    connect(reply, &QNetworkReply::readyRead, this, [this, reply, received, body, refused] {
        const QByteArray chunk = reply->readAll();
        *received += chunk.size();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        QString why;
        if (*received > m_limit)
            why = QStringLiteral("the server's reply is larger than %1 bytes: refused").arg(m_limit);
        else if (m_stream && status >= 200 && status < 300)
            m_stream(chunk, why);
        else if (body->size() < 64 * 1024 || (status >= 200 && status < 300))
            body->append(chunk);
        if (!why.isEmpty()) {
            *refused = why;
            reply->abort();
        }
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, redirects, body, tls, refused, finish] {
        if (m_reply != reply)
            return;
        m_reply.clear();
        reply->deleteLater();
        Result result;
        result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        result.etag = reply->rawHeader("ETag");
        result.contentType = reply->rawHeader("Content-Type");
        if (!refused->isEmpty()) {
            result.error = *refused;
            finish(std::move(result));
            return;
        }
        if (!tls->isEmpty() || reply->error() == QNetworkReply::SslHandshakeFailedError) {
            result.status = 0;
            result.error = QStringLiteral("the secure connection to %1 failed: %2")
                               .arg(m_url.host(), tls->isEmpty() ? reply->errorString() : tls->join(QLatin1String("; ")));
            finish(std::move(result));
            return;
        }
        if (result.status >= 300 && result.status < 400 && result.status != 304) {
            const QUrl target = m_url.resolved(QUrl::fromEncoded(reply->rawHeader("Location")));
            const bool sameOrigin = target.scheme() == m_url.scheme() && target.host() == m_url.host()
                && target.port() == m_url.port();
            if (!sameOrigin)
                result.error = QStringLiteral("the server redirected to another host (%1): refused")
                                   .arg(target.toDisplayString(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery));
            else if (redirects >= 5)
                result.error = QStringLiteral("the server redirected too many times");
            else {
                m_url = target;
                start(redirects + 1);
                return;
            }
            finish(std::move(result));
            return;
        }
        if (result.status == 0) {
            // No answer: the server is down, unknown or out of reach.
            result.unreachable = true;
            result.error = QStringLiteral("%1 cannot be reached: %2").arg(m_url.host(), reply->errorString());
            finish(std::move(result));
            return;
        }
        if (result.status >= 500)
            result.unreachable = result.status == 502 || result.status == 503 || result.status == 504;
        if (result.status >= 400 && result.status != 412 && result.status != 404)
            result.error = statusText(result.status);
        result.body = std::move(*body);
        finish(std::move(result));
    });
}

} // namespace dayvex::webdav
