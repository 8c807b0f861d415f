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

    // The rows' fixed texts, translated once: a list of thousands of remotes repeats them at every refresh.
    struct RowLabels {
        QString braidActive, braidRetired, braid, phoneNumber, address, macAddress, braidEnabled, braidDisabled,
            notActive, braidStatus, profile, transmitting, receiving, no, remoteState, product, natType;
    };

    static RowLabels rowLabels();
    void insertNewRows(const std::vector<std::pair<int, QTreeWidgetItemIPC*>>& anchoredRows);
    void setTunnelStatus(const Message& status);
    // What a refresh of the rows takes from the stored list: the records (again, when the profiles
    // changed the channel a remote calls on) and the texts, or the texts of all or of active remotes.
    enum class RowRefresh { RecordsAndTexts, Texts, ActiveTexts };

    void updatePeerItem(QTreeWidgetItemIPC* row, const Message& peer);
    void storePeer(QTreeWidgetItemIPC* row, const Message& peer);
    void showPeer(QTreeWidgetItemIPC* row, const Message& peer);
    int profileOf(const Params& peer) const;
    void logSessionComparisons(const std::string& peerSid) const;
    BraidSession braidSessionOf(const Params& peer) const;
    static BraidSession braidSession(const Message& session);
    QString statusLine(const Params& peer, const BraidSession& session) const;
    QStringList detailRows(const Message& peer, const QString& channel, const QString& profileName,
                           const BraidSession& session) const;
    static void setDetailCount(QTreeWidgetItem* row, int count);
    static StateIcon stateIcon(const Message& peer);
    QTreeWidgetItemIPC* rowOf(int id) const;
    QTreeWidgetItemIPC* selectedRow() const;
    void refreshRows(RowRefresh refresh);
    void updateButtons();
    void setButtonsFor(const QTreeWidgetItemIPC& row);
    void sendForSelected(const char* request);
    void sendPotsCommand(const char* command);

    const RowLabels m_labels;
    std::array<QIcon, StateIconCount> m_icons;
    QString m_currentEncoder;
    QMap<int, QString> m_profileNames;
    QMap<int, QString> m_profileChannels;
    Message m_peerList;
    // The sids of the last tunnel status in order, what its first session of each sid says, and
    // each remote's row by id.
    std::vector<std::string> m_sessionSids;
    std::unordered_map<std::string, BraidSession> m_sessionsBySid;
    std::unordered_map<int, QTreeWidgetItemIPC*> m_rows;
    bool m_anyActive = false;
};

#endif
