#ifndef TESTS_BROWSER_LOCALWEBSERVER_H
#define TESTS_BROWSER_LOCALWEBSERVER_H

#include <QHostAddress>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

// A small web server on the loopback address, over plain HTTP or over TLS with a self-signed
// certificate, serving what a captive portal would:
//   /login   asks for HTTP Basic authentication (kUser, kPassword), then says the unit is online;
//   /slow    takes the request and never answers;
//   /script  runs a script that marks the page and tries to copy a field to the clipboard;
//   /logo.svg the portal's logo, which caches may keep for an hour;
//   any other path: a portal page titled after the path, with its logo, links and a text field.
class LocalWebServer : public QTcpServer {
    Q_OBJECT

public:
    static constexpr const char* kUser = "operator";
    static constexpr const char* kPassword = "Portal7";

    explicit LocalWebServer(bool tls = false, QObject* parent = nullptr);

    // Listens on 127.0.0.1 on a port the system picks.
    bool start() { return listen(QHostAddress::LocalHost, 0); }
    QUrl url(const QString& path) const;

    // The paths asked for, in order, and how many of them carried the right login.
    QStringList requests() const { return m_requests; }
    int authorised() const { return m_authorised; }
    // The connection of the last /slow request is still open.
    bool slowOpen() const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void readRequest(QTcpSocket* socket);

    bool m_tls;
    QStringList m_requests;
    int m_authorised = 0;
    QPointer<QTcpSocket> m_slow;
};

#endif
