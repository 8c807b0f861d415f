#ifndef PEERLIST_H
#define PEERLIST_H

#include "keypadhandler.h"
#include "message.h"
#include "panebase.h"
#include "ui_peerlist.h"

#include <QIcon>
#include <QMap>
#include <QString>
#include <QWidget>

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

class QTreeWidgetItem;
class QTreeWidgetItemIPC;

// The remote codecs configured in the unit, one expandable row each with its call state and
// details; connects and disconnects the selected one. The title doubles as the unit's own
// directory-server and SIP status.
class PeerList : public QWidget, public Ui::PeerList, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(PeerList)

public:
    explicit PeerList(QWidget* parent = nullptr);

    void handleKey(int keycode, bool pressed, bool repeat) override;
    void paneAboutToShow() override;

signals:
    void newPeerIDSelected(int peer_id);
    void anyActiveChanged();

public slots:
    void updateProfileList();
    void updateCurrentEncoder();
    void updatePeerList();
    void updateDirectoryServer();
    void handleUnsoTunnelStatus(QString id, Message msg);
    void handleRespTunnelStatus(const Message& msg);
    void connectPeer();
    void disconnectPeer();
    void rateDrop();
    void retrain();
    void handleSelectionChanged();
    void handleItemExpansion(QTreeWidgetItem* item);
    QString getAttrOfSelected(QString attr) const;
    bool getAnyActive() const { return m_anyActive; }

private:
    // Index into m_icons; the order is the order the icons are loaded in.
    enum StateIcon {
        IconSendReceive,
        IconSend,
        IconReceive,
        IconSilent,
        IconUnlisted,
        IconOffline,
        IconAvailable,
        IconFailing,
        IconBusy,
        StateIconCount
    };

    // What the tunnel says about the session that carries a remote's Braid calls.
    struct BraidSession {
        bool known = false;
        QString state;
        bool active = false;
        bool retired = false;
        QString reason;
        // "\n\t"-separated addresses a searching session tries.
        QString searchList;
    };

    void insertNewRows(const std::vector<std::pair<int, QTreeWidgetItemIPC*>>& anchoredRows);
    void setTunnelStatus(Message status);
    void updatePeerItem(QTreeWidgetItemIPC* row, const Message& peer);
    void logSessionComparisons(const std::string& peerSid) const;
    BraidSession braidSessionOf(const Params& peer) const;
    static QString statusLine(const Params& peer, const BraidSession& session);
    QStringList detailRows(const Message& peer, const QString& channel, const QString& profileName,
                           const BraidSession& session) const;
    static void setDetailCount(QTreeWidgetItem* row, int count);
    static StateIcon stateIcon(const Message& peer);
    QTreeWidgetItemIPC* rowOf(int id) const;
    QTreeWidgetItemIPC* selectedRow() const;
    void refreshRows(bool activeOnly);
    void updateButtons();
    void setButtonsFor(const QTreeWidgetItemIPC& row);
    void sendForSelected(const char* request);
    void sendPotsCommand(const char* command);

    std::array<QIcon, StateIconCount> m_icons;
    QString m_currentEncoder;
    QMap<int, QString> m_profileNames;
    QMap<int, QString> m_profileChannels;
    Message m_peerList;
    Message m_tunnelStatus;
    // The first session of each sid in m_tunnelStatus, and each remote's row by id.
    std::unordered_map<std::string, const Message*> m_sessionsBySid;
    std::unordered_map<int, QTreeWidgetItemIPC*> m_rows;
    bool m_anyActive = false;
};

#endif
