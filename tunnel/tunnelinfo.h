#ifndef TUNNELINFO_H
#define TUNNELINFO_H

#include "message.h"

#include <QObject>
#include <QString>

#include <memory>

class TunnelSession;

// The user interface's picture of the bonded tunnel: at most one current session, built from the
// tunnel status and the periodic tunnel notifications, with a health colour after each statistics
// notification.
class TunnelInfo : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(TunnelInfo)

public:
    explicit TunnelInfo(QObject* parent = nullptr);
    ~TunnelInfo() override;

    // Null while there is no session.
    TunnelSession* session() const { return m_session.get(); }
    // How many "sess" the latest "tun_conns" held.
    int connsSessionCount() const { return m_connsSessions; }

signals:
    void sessionCreate(int sid);
    void sessionDestroy(int sid);
    void sessionDelayUpdate(int sid);
    void sessionStatsUpdate(int sid);
    void braidStatus(const QString& state);

public slots:
    void handleUnsoTunStats(Message msg);
    void handleUnsoTunConns(Message msg);
    void handleRecvTunnelStatus(const Message& msg);
    void handleUnsoTunnelStatus(QString id, Message msg);

private:
    // The sessions of a tunnel status: the first active one becomes current.
    void applyStatus(const Message& status);
    void createSession(int sid, const std::string& addr);
    void destroySession();
    void emitHealth();

    std::unique_ptr<TunnelSession> m_session;
    int m_connsSessions = 0;
};

#endif
