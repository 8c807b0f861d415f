#include "localwebserver.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>

namespace {

// A page, the logo or the TLS certificate and key, from the resources.
QByteArray resource(const char* name)
{
    QFile file(QStringLiteral(":/testserver/") + name);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void answer(QTcpSocket* socket, const QByteArray& status, const QByteArray& extraHeaders, const QByteArray& body,
            const QByteArray& type = "text/html; charset=utf-8")
{
    socket->write("HTTP/1.1 " + status + "\r\nContent-Type: " + type + "\r\nContent-Length: " + QByteArray::number(body.size()) +
                  "\r\nConnection: close\r\n" + extraHeaders + "\r\n" + body);
    socket->disconnectFromHost();
}

} // namespace

LocalWebServer::LocalWebServer(bool tls, QObject* parent)
    : QTcpServer(parent)
    , m_tls(tls)
{
    Q_INIT_RESOURCE(testserver);
}

QUrl LocalWebServer::url(const QString& path) const
{
    return QUrl(QStringLiteral("%1://127.0.0.1:%2%3").arg(m_tls ? "https" : "http").arg(serverPort()).arg(path));
}

bool LocalWebServer::slowOpen() const
{
    return m_slow && m_slow->state() == QAbstractSocket::ConnectedState;
}

void LocalWebServer::incomingConnection(qintptr descriptor)
{
    QTcpSocket* socket = m_tls ? new QSslSocket(this) : new QTcpSocket(this);
    socket->setSocketDescriptor(descriptor);
    if (auto* tls = qobject_cast<QSslSocket*>(socket)) {
        tls->setLocalCertificate(QSslCertificate(resource("localhost.crt")));
        tls->setPrivateKey(QSslKey(resource("localhost.key"), QSsl::Rsa));
        tls->startServerEncryption();
    }
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readRequest(socket); });
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
}

void LocalWebServer::readRequest(QTcpSocket* socket)
{
    // Browsers send a request's head in one piece on the loopback; wait for the rest otherwise.
    const QByteArray head = socket->peek(socket->bytesAvailable());
    if (!head.contains("\r\n\r\n"))
        return;
    socket->readAll();
    const QList<QByteArray> lines = head.left(head.indexOf("\r\n\r\n")).split('\n');
    const QString path = QString::fromLatin1(lines.value(0).split(' ').value(1));
    QByteArray authorization;
    for (const QByteArray& line : lines) {
        if (line.toLower().startsWith("authorization:"))
            authorization = line.mid(line.indexOf(':') + 1).trimmed();
    }
    m_requests << path;
    if (path == QLatin1String("/slow")) {
        m_slow = socket;
        return;
    }
    const QByteArray login = "Basic " + QByteArray(kUser).append(':').append(kPassword).toBase64();
    if (path == QLatin1String("/login") && authorization != login) {
        answer(socket, "401 Unauthorized", "WWW-Authenticate: Basic realm=\"Press Centre\"\r\n", resource("refused.html"));
    } else if (path == QLatin1String("/login")) {
        ++m_authorised;
        answer(socket, "200 OK", QByteArray(), resource("online.html"));
    }
    // Cacheable for an hour: only a cache that outlives the page could spare the next request.
    else if (path == QLatin1String("/logo.svg"))
        answer(socket, "200 OK", "Cache-Control: max-age=3600\r\n", resource("logo.svg"), "image/svg+xml");
    else
        answer(socket, "200 OK", QByteArray(), path == QLatin1String("/script") ? resource("script.html")
                                                                : QString::fromUtf8(resource("portal.html")).arg(path.toHtmlEscaped()).toUtf8());
}
