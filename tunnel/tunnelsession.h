#ifndef TUNNELSESSION_H
#define TUNNELSESSION_H

#include "ifcbutton.h"
#include "tunneldirectionstats.h"

#include <QObject>
#include <QPointer>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class Message;
class QWidget;
class TunnelConnection;

// The current session of the bonded tunnel: its state, per-direction statistics and delays, and
// its network connections with one button per connection and direction.
class TunnelSession : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(TunnelSession)

public:
    using Connections = std::map<std::string, std::unique_ptr<TunnelConnection>>;
    // The widget holding the buttons may go first (the screen is closing): the pointers follow.
    using Buttons = std::map<std::string, QPointer<IFCButton>>;

    TunnelSession(int sid, const std::string& addr, QObject* parent = nullptr);
    ~TunnelSession() override;

    // State and connection texts from a status "sess".
    void updateSessionStatus(const Message& sess);
    // Delays from a "tun_stats" "sess"; true when any value changed.
    bool updateDelays(const Message& sess);
    // Rates, connections and buttons from a "tun_stats" "sess"; true when the set or the order
    // of the connections changed.
    bool updateStats(const Message& sess);
    void updateTxCodec(const Message& codec);
    // Deletes every button and every connection.
    void clear();
    void showTx();
    void showRx();
    void log() const;

    int sid() const { return m_sid; }
    const std::string& addr() const { return m_addr; }
    int maxAllowedDelayTx() const { return max_allowed_delay_tx; }
    int maxAllowedDelayRx() const { return max_allowed_delay_rx; }
    TunnelDirectionStats& tx() { return m_tx; }
    TunnelDirectionStats& rx() { return m_rx; }
    const TunnelDirectionStats& tx() const { return m_tx; }
    const TunnelDirectionStats& rx() const { return m_rx; }
    const Connections& connections() const { return m_connections; }
    const Buttons& txButtons() const { return m_txButtons; }
    const Buttons& rxButtons() const { return m_rxButtons; }
    QWidget* ifcWidget() const { return m_ifc_widget; }
    void setIfcWidget(QWidget* widget) { m_ifc_widget = widget; }
    const std::vector<int>& txGraphList() const { return m_txGraph; }
    const std::vector<int>& rxGraphList() const { return m_rxGraph; }
    bool isActive() const { return m_active; }
    bool isEncrypted() const { return m_encrypted; }
    bool isProtected() const { return m_protected; }
    const std::string& state() const { return m_state; }

private:
    // The connection of a "conn", created when new; null when the "conn" lacks li or ri.
    TunnelConnection* findOrCreateConnection(const Message& conn);
    // Creates or relabels the connection's button in `buttons`; true when it was created.
    bool placeButton(Buttons& buttons, const TunnelConnection& connection, const std::string& first,
                     const std::string& second, int position);
    // Deletes the buttons of uids not in `seen`; true when any went.
    static bool pruneButtons(Buttons& buttons, const std::set<std::string>& seen);
    // Deletes the connections the latest update did not mention; true when any went.
    bool pruneConnections();
    static void showButtons(const Buttons& shown, const Buttons& hidden);

    int max_allowed_delay_tx = -1;
    int max_allowed_delay_rx = -1;
    TunnelDirectionStats m_tx;
    TunnelDirectionStats m_rx;
    Connections m_connections;
    Buttons m_txButtons;
    Buttons m_rxButtons;
    QWidget* m_ifc_widget = nullptr;
    int m_sid;
    std::string m_addr;
    std::vector<int> m_txGraph;
    std::vector<int> m_rxGraph;
    bool m_active = false;
    bool m_encrypted = false;
    bool m_protected = false;
    std::string m_state;
};

#endif
