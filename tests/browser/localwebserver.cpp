#include "localwebserver.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>

namespace {

QByteArray portalPage(const QString& title)
{
    return QStringLiteral("<html><head><title>%1</title></head><body style=\"font-family: Arial, sans-serif\">"
                          "<h1><img src=\"/logo.svg\" alt=\"\" style=\"vertical-align: middle\"> Riverside Press Centre</h1>"
                          "<p>Welcome to the guest network. Sign in to reach the internet.</p><p><a id=\"signin\" "
                          "href=\"/login\">Sign in with your media pass</a></p><p><a id=\"next\" href=\"/terms\">Terms of use</a>"
                          "</p><p>Room number: <input id=\"room\" type=\"text\"></p></body></html>")
        .arg(title.toHtmlEscaped())
        .toUtf8();
}

const QByteArray kOnlinePage = "<html><head><title>Signed in</title></head><body style=\"font-family: Arial, sans-serif\">"
                               "<h1>You are online</h1><p>Internet access granted for 24 hours.</p></body></html>";
// Runs script: writes into the page, then tries to copy a field to the clipboard.
const QByteArray kScriptPage = "<html><head><title>Script</title></head><body><p id=\"ran\">no</p><input id=\"field\" "
                               "value=\"from the page\"><script>document.getElementById('ran').textContent = 'yes';"
                               "document.getElementById('field').select(); document.execCommand('copy');</script></body></html>";
const QByteArray kLogo = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"48\" height=\"48\"><rect width=\"48\" height=\"48\" "
                         "rx=\"8\" fill=\"#1f5f99\"/><path d=\"M10 34 L24 12 L38 34 Z\" fill=\"#f2b134\"/></svg>";
const QByteArray kRefusedPage = "<html><head><title>Unauthorized</title></head><body><h1>401 Unauthorized</h1></body></html>";

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
    Q_INIT_RESOURCE(testcert);
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
        QFile certificate(QStringLiteral(":/localhost.crt"));
        QFile key(QStringLiteral(":/localhost.key"));
        certificate.open(QIODevice::ReadOnly);
        key.open(QIODevice::ReadOnly);
        tls->setLocalCertificate(QSslCertificate(&certificate));
        tls->setPrivateKey(QSslKey(&key, QSsl::Rsa));
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
        answer(socket, "401 Unauthorized", "WWW-Authenticate: Basic realm=\"Press Centre\"\r\n", kRefusedPage);
    } else if (path == QLatin1String("/login")) {
        ++m_authorised;
        answer(socket, "200 OK", QByteArray(), kOnlinePage);
    }
    // Cacheable for an hour: only a cache that outlives the page could spare the next request.
    else if (path == QLatin1String("/logo.svg"))
        answer(socket, "200 OK", "Cache-Control: max-age=3600\r\n", kLogo, "image/svg+xml");
    else
        answer(socket, "200 OK", QByteArray(), path == QLatin1String("/script") ? kScriptPage : portalPage(path));
}
