#include "codec.h"
#include "ipcinstances.h"
#include "peerlist.h"
#include "qtreewidgetitemipc.h"

#include <QMutexLocker>
#include <QSignalSpy>
#include <QtTest>

#include <vector>

Q_DECLARE_METATYPE(std::vector<int>)

namespace {

Message peer(const char* params, const char* directory = "")
{
    Message record("peer", Params(params));
    if (*directory)
        record.add_child(Message("directory", Params(directory)));
    return record;
}

Message peerWithId(int id, const char* params = "")
{
    Message record("peer", Params(params));
    record.params().set_int("id", id);
    record.params().set_string("name", "Remote " + std::to_string(id));
    return record;
}

Message fromXmls(const QString& text)
{
    Message msg;
    std::string error;
    const std::string bytes = text.toStdString();
    if (!ipc::decode(ipc::Encoding::Xmls, bytes.data(), bytes.size(), msg, error))
        qFatal("bad xmls in test: %s", error.c_str());
    return msg;
}

void answer(const std::string& seq, Message msg)
{
    msg.params().set_string("seq", seq);
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(msg);
}

void feedPeers(const std::vector<Message>& peers)
{
    Message list("peerList");
    for (const Message& record : peers)
        list.add_child(record);
    answer("peerList", list);
}

void feedIds(const std::vector<int>& ids)
{
    std::vector<Message> peers;
    for (int id : ids)
        peers.push_back(peerWithId(id));
    feedPeers(peers);
}

// Profile 2 is the default; 3 is on the telephone line.
void feedProfiles(const char* defaultName = "Studio Link")
{
    Message list("profileList");
    const struct {
        int id;
        const char* name;
        const char* channel;
        bool isDefault;
    } profiles[] = {{1, "Factory IP", "rtp_udp_mux", false},
                    {2, defaultName, "rtp_udp_mux", true},
                    {3, "Phone Line", "pots", false}};
    for (const auto& entry : profiles) {
        Message& profile = list.add_child("profile");
        profile.params().set_int("id", entry.id);
        profile.params().set_bool("default", entry.isDefault);
        Message& settings = profile.add_child("settings");
        settings.params().set_string("name", entry.name);
        settings.params().set_string("channel", entry.channel);
    }
    // A profile without settings names nothing.
    list.add_child("profile").params().set_int("id", 8);
    answer("profileList", list);
}

void feedEncoder(const char* descr)
{
    Message encoder("currentEncoder");
    encoder.params().set_string("descr", descr);
    answer("currentEncoder", encoder);
}

QStringList rowOrder(const PeerList& list)
{
    QStringList names;
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
        names << list.peerTree->topLevelItem(i)->text(0);
    return names;
}

QStringList names(const std::vector<int>& ids)
{
    QStringList out;
    for (int id : ids)
        out << QStringLiteral("Remote %1").arg(id);
    return out;
}

QStringList details(const QTreeWidgetItem* row)
{
    QStringList out;
    for (int i = 0; i < row->childCount(); ++i)
        out << row->child(i)->text(0);
    return out;
}

QImage iconImage(const QIcon& icon)
{
    return icon.pixmap(16, 16).toImage();
}

bool showActive(QWidget* window)
{
    window->show();
    QApplication::setActiveWindow(window);
    return QTest::qWaitForWindowActive(window);
}

void select(PeerList& list, int id)
{
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i) {
        auto* row = static_cast<QTreeWidgetItemIPC*>(list.peerTree->topLevelItem(i));
        if (row->params().get_int("id", 0) == id)
            list.peerTree->setCurrentItem(row);
    }
}

} // namespace

class TestPeerList : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void mergePlacesOnlyNewRows_data();
    void mergePlacesOnlyNewRows();
    void onlyChangedRecordsRerender();
    void firstRowBecomesCurrent();
    void rowRendering_data();
    void rowRendering();
    void detailRowsAreReusedAndTrimmed();
    void profileListRerendersEveryRow();
    void encoderChangeRerendersActiveRowsOnly();
    void tunnelStatusRerendersRows();
    void buttonsFollowSelectionAndPots_data();
    void buttonsFollowSelectionAndPots();
    void enabledButtonTakesFocusWhenShown();
    void anyActiveChangedOnlyOnChange();
    void requestsForSelection_data();
    void requestsForSelection();
    void potsCommands();
    void title_data();
    void title();
    void attributeOfSelected();
    void enterPressesFocusedButton();
    void arrowsMoveInTree();
    void expansionMakesRowCurrent();

private:
    std::vector<Message> m_sent;
};

void TestPeerList::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
}

void TestPeerList::cleanupTestCase()
{
    g_ipcClient.setRequestTap(nullptr);
}

void TestPeerList::init()
{
    m_sent.clear();
    feedProfiles();
    feedEncoder("Opus Stereo 128 kb/s");
}

void TestPeerList::mergePlacesOnlyNewRows_data()
{
    QTest::addColumn<std::vector<int>>("before");
    QTest::addColumn<std::vector<int>>("after");
    QTest::addColumn<std::vector<int>>("rows");

    QTest::newRow("reordered records stay put") << std::vector<int>{1, 2, 3} << std::vector<int>{3, 1, 2}
                                                << std::vector<int>{1, 2, 3};
    QTest::newRow("new first goes on top") << std::vector<int>{1, 2} << std::vector<int>{5, 1, 2}
                                           << std::vector<int>{5, 1, 2};
    QTest::newRow("new after 7 goes under 7") << std::vector<int>{2, 7, 9} << std::vector<int>{9, 7, 4, 2}
                                              << std::vector<int>{2, 7, 4, 9};
    QTest::newRow("new last") << std::vector<int>{1, 2} << std::vector<int>{1, 2, 3} << std::vector<int>{1, 2, 3};
    QTest::newRow("removed") << std::vector<int>{1, 2, 3} << std::vector<int>{1, 3} << std::vector<int>{1, 3};
    QTest::newRow("replaced in place") << std::vector<int>{1, 2, 3} << std::vector<int>{1, 4, 3}
                                       << std::vector<int>{1, 4, 3};
    QTest::newRow("all gone") << std::vector<int>{1, 2} << std::vector<int>{} << std::vector<int>{};
    QTest::newRow("two new in a row") << std::vector<int>{1} << std::vector<int>{1, 6, 5}
                                      << std::vector<int>{1, 6, 5};
}

void TestPeerList::mergePlacesOnlyNewRows()
{
    QFETCH(std::vector<int>, before);
    QFETCH(std::vector<int>, after);
    QFETCH(std::vector<int>, rows);

    PeerList list;
    feedIds(before);
    QCOMPARE(rowOrder(list), names(before));
    std::map<QString, QTreeWidgetItem*> kept;
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
        kept[list.peerTree->topLevelItem(i)->text(0)] = list.peerTree->topLevelItem(i);

    feedIds(after);
    QCOMPARE(rowOrder(list), names(rows));
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = list.peerTree->topLevelItem(i);
        const auto old = kept.find(row->text(0));
        if (old != kept.end())
            QCOMPARE(row, old->second);
    }
}

void TestPeerList::onlyChangedRecordsRerender()
{
    PeerList list;
    feedPeers({peerWithId(1), peerWithId(2)});
    list.peerTree->topLevelItem(0)->setText(0, "untouched");
    list.peerTree->topLevelItem(1)->setText(0, "stale");

    feedPeers({peerWithId(1), peerWithId(2, "active:b=true state_ui=Calling")});
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("untouched"));
    QCOMPARE(list.peerTree->topLevelItem(1)->text(0), QString("Remote 2\nCalling"));

    // A change in a child counts as a change of the record.
    Message listed = peerWithId(1);
    listed.add_child(Message("directory", Params("online:b=true")));
    feedPeers({listed, peerWithId(2, "active:b=true state_ui=Calling")});
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("Remote 1"));
}

void TestPeerList::firstRowBecomesCurrent()
{
    PeerList list;
    QSignalSpy selected(&list, &PeerList::newPeerIDSelected);
    feedIds({3, 1});
    QCOMPARE(list.peerTree->currentItem(), list.peerTree->topLevelItem(0));
    QCOMPARE(selected.count(), 1);
    QCOMPARE(selected.at(0).at(0).toInt(), 3);

    feedIds({3, 1, 4});
    QCOMPARE(list.peerTree->currentItem(), list.peerTree->topLevelItem(0));
    QCOMPARE(selected.count(), 1);
}

void TestPeerList::rowRendering_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("tunnel");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QString>("colour");

    const QString noTunnel;
    const QString ip = "id:i=1 name=Studio addr=10.0.0.1 profile:i=1 ";
    const QString braid = "id:i=3 name=Van addr=198.51.100.23 profile:i=1 plait:b=true use_plait:b=true "
                          "unit=00:1b:7c:0a:51:9f sid=7 ";
    const QStringList braidHead = {"Address\t198.51.100.23", "MAC Address\t00:1b:7c:0a:51:9f", "Braid Enable\tYes"};
    const QString tunnel = "<m n=\"status\"><m n=\"sess\"><i k=\"sid\">4</i><s k=\"state\">ACTIVE</s></m>"
                           "<m n=\"sess\"><i k=\"sid\">7</i>%1</m></m>";

    QTest::newRow("idle: name only despite state_ui")
        << ip + "state_ui=Idle" << "" << noTunnel << "Studio"
        << QStringList{"Address\t10.0.0.1", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("idle with a channel state")
        << ip + "state_ui=Idle chan_state=\"Line busy\"" << "" << noTunnel << "Studio\nIdle (Line busy)"
        << QStringList{"Address\t10.0.0.1", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("equal states shown once")
        << ip + "active:b=true state_ui=Connected chan_state=Connected transmitting:b=true receiving:b=true "
                "rx_codec=AAC-LD"
        << "" << noTunnel << "Studio\nConnected"
        << QStringList{"Address\t10.0.0.1", "Profile\tFactory IP", "Transmitting\tOpus Stereo 128 kb/s",
                       "Receiving\tAAC-LD"}
        << "curve_arrow_lr" << "";
    QTest::newRow("differing channel state in parentheses, sending only")
        << ip + "active:b=true state_ui=Connecting chan_state=Negotiating transmitting:b=true rx_codec=AAC-LD"
        << "" << noTunnel << "Studio\nConnecting (Negotiating)"
        << QStringList{"Address\t10.0.0.1", "Profile\tFactory IP", "Transmitting\tOpus Stereo 128 kb/s",
                       "Receiving\tNo"}
        << "curve_arrow_l" << "";
    QTest::newRow("receiving only")
        << ip + "active:b=true state_ui=Connected receiving:b=true rx_codec=G.722" << "" << noTunnel
        << "Studio\nConnected"
        << QStringList{"Address\t10.0.0.1", "Profile\tFactory IP", "Transmitting\tNo", "Receiving\tG.722"}
        << "curve_arrow_r" << "";
    QTest::newRow("active, no audio either way")
        << ip + "active:b=true state_ui=Ringing" << "" << noTunnel << "Studio\nRinging"
        << QStringList{"Address\t10.0.0.1", "Profile\tFactory IP", "Transmitting\tNo", "Receiving\tNo"} << "x"
        << "";
    QTest::newRow("telephone channel")
        << "id:i=2 name=News addr=\"+1 555 0142\" channel=pots profile:i=1" << "" << noTunnel << "News"
        << QStringList{"Phone Number\t+1 555 0142", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("telephone through the profile")
        << "id:i=2 name=News addr=\"+1 555 0142\" profile:i=3" << "" << noTunnel << "News"
        << QStringList{"Phone Number\t+1 555 0142", "Profile\tPhone Line"} << "black_arrow_right" << "";
    QTest::newRow("unknown profile falls back to the default")
        << "id:i=2 name=News addr=a profile:i=9" << "" << noTunnel << "News"
        << QStringList{"Address\ta", "Profile\tStudio Link"} << "black_arrow_right" << "";
    QTest::newRow("profile without settings is unknown")
        << "id:i=2 name=News addr=a profile:i=8" << "" << noTunnel << "News"
        << QStringList{"Address\ta", "Profile\tStudio Link"} << "black_arrow_right" << "";
    QTest::newRow("incoming caller has no profile")
        << "id:i=9 name=Caller addr=a incoming:b=true active:b=true state_ui=Ringing" << "" << noTunnel
        << "Caller\nRinging" << QStringList{"Address\ta", "Transmitting\tNo", "Receiving\tNo"} << "x" << "";
    QTest::newRow("braid possible but off")
        << "id:i=4 name=Booth addr=b profile:i=1 plait:b=true use_plait:b=false unit=00:1b:7c:0a:33:02"
        << "" << tunnel.arg("<s k=\"state\">ACTIVE</s>") << "Booth"
        << QStringList{"Address\tb", "Braid Enable\tNo", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("braid on, no session") << braid << "" << noTunnel << "Van"
                                          << braidHead + QStringList{"Braid Status\tNot Active", "Profile\tFactory IP"}
                                          << "black_arrow_right" << "";
    QTest::newRow("braid session of another sid")
        << braid << "" << "<m n=\"status\"><m n=\"sess\"><i k=\"sid\">4</i><s k=\"state\">ACTIVE</s></m></m>" << "Van"
        << braidHead + QStringList{"Braid Status\tNot Active", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("remote without sid matches nothing")
        << "id:i=3 name=Van addr=198.51.100.23 profile:i=1 plait:b=true use_plait:b=true unit=00:1b:7c:0a:51:9f"
        << "" << tunnel.arg("<s k=\"state\">ACTIVE</s>") << "Van"
        << braidHead + QStringList{"Braid Status\tNot Active", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("braid active in any case")
        << braid + "active:b=true state_ui=Connected chan_state=Connected" << ""
        << tunnel.arg("<s k=\"state\">Active</s>") << "Van\nConnected (Braid)"
        << braidHead
               + QStringList{"Braid Status\tActive", "Profile\tFactory IP", "Transmitting\tNo", "Receiving\tNo"}
        << "x" << "";
    QTest::newRow("braid active while idle")
        << braid << "" << tunnel.arg("<s k=\"state\">ACTIVE</s>") << "Van (Braid)"
        << braidHead + QStringList{"Braid Status\tACTIVE", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("braid searching lists addresses")
        << braid << ""
        << tunnel.arg("<s k=\"state\">searching</s><m n=\"search\"><s k=\"addr\">198.51.100.23:9010</s></m>"
                      "<m n=\"search\"><s k=\"addr\">203.0.113.77:9010</s></m>")
        << "Van"
        << braidHead
               + QStringList{"Braid Status\tsearching\n\t198.51.100.23:9010\n\t203.0.113.77:9010",
                             "Profile\tFactory IP"}
        << "black_arrow_right" << "";
    QTest::newRow("braid searching without addresses")
        << braid + "active:b=true state_ui=Connecting" << "" << tunnel.arg("<s k=\"state\">SEARCHING</s>")
        << "Van\nBraid SEARCHING"
        << braidHead
               + QStringList{"Braid Status\tSEARCHING", "Profile\tFactory IP", "Transmitting\tNo", "Receiving\tNo"}
        << "x" << "";
    QTest::newRow("braid retired with reason")
        << braid + "active:b=true state_ui=Connected" << ""
        << tunnel.arg("<s k=\"state\">Retired</s><s k=\"reason\">Far end gone</s>") << "Van\nBraid Retired: Far end gone"
        << braidHead
               + QStringList{"Braid Status\tRetired (Far end gone)", "Profile\tFactory IP", "Transmitting\tNo",
                             "Receiving\tNo"}
        << "x" << "";
    QTest::newRow("braid retired without reason")
        << braid << "" << tunnel.arg("<s k=\"state\">RETIRED</s>") << "Van\nBraid RETIRED"
        << braidHead + QStringList{"Braid Status\tRETIRED", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("braid in another state")
        << braid << "" << tunnel.arg("<s k=\"state\">STARTING</s>") << "Van\nBraid STARTING"
        << braidHead + QStringList{"Braid Status\tSTARTING", "Profile\tFactory IP"} << "black_arrow_right" << "";

    const QStringList listedRows = {"Address\tstudio-a.relaybook", "Profile\tStudio Link", "Remote State\tAvailable",
                                    "Product\tORVANE Rack", "NAT Type\tFull Cone"};
    const QString listed = "id:i=1 name=\"Studio A\" addr=studio-a.relaybook profile:i=2";
    const QString entry = "state=Available product=\"ORVANE Rack\" nat_type=\"Full Cone\" ";
    QTest::newRow("directory: can connect") << listed << entry + "online:b=true can_connect=yes" << noTunnel
                                            << "Studio A" << listedRows << "asterisk_green" << "black";
    QTest::newRow("directory: busy") << listed << entry + "online:b=true can_connect=busy" << noTunnel << "Studio A"
                                     << listedRows << "asterisk_yellow" << "black";
    QTest::newRow("directory: traversal failed") << listed << entry + "online:b=true can_connect=ts_fail" << noTunnel
                                                 << "Studio A" << listedRows << "asterisk_red" << "black";
    QTest::newRow("directory: offline") << listed << entry + "online:b=false can_connect=yes" << noTunnel
                                        << "Studio A" << listedRows << "asterisk_gray" << "grey";
    QTest::newRow("directory: in a call")
        << listed + " active:b=true state_ui=Connected transmitting:b=true receiving:b=true rx_codec=Opus"
        << entry + "online:b=false can_connect=busy" << noTunnel << "Studio A\nConnected"
        << QStringList{"Address\tstudio-a.relaybook", "Profile\tStudio Link", "Transmitting\tOpus Stereo 128 kb/s",
                       "Receiving\tOpus", "Remote State\tAvailable", "Product\tORVANE Rack", "NAT Type\tFull Cone"}
        << "curve_arrow_lr" << "grey";
}

void TestPeerList::rowRendering()
{
    QFETCH(QString, record);
    QFETCH(QString, directory);
    QFETCH(QString, tunnel);
    QFETCH(QString, text);
    QFETCH(QStringList, rows);
    QFETCH(QString, icon);
    QFETCH(QString, colour);

    PeerList list;
    list.updateProfileList();
    list.updateCurrentEncoder();
    if (!tunnel.isEmpty())
        list.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", fromXmls(tunnel));
    feedPeers({peer(record.toUtf8().constData(), directory.toUtf8().constData())});

    QCOMPARE(list.peerTree->topLevelItemCount(), 1);
    const QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
    QCOMPARE(row->text(0), text);
    QCOMPARE(details(row), rows);
    QCOMPARE(iconImage(row->icon(0)), iconImage(QIcon(":/icons/" + icon + ".png")));

    if (colour.isEmpty()) {
        QCOMPARE(row->foreground(0).style(), Qt::NoBrush);
    } else {
        const QColor expected = colour == "black" ? QColor(0, 0, 0) : QColor(128, 128, 128);
        QCOMPARE(row->foreground(0).color(), expected);
        for (int i = 0; i < row->childCount(); ++i) {
            QCOMPARE(row->child(i)->foreground(0).color(), expected);
            QCOMPARE(row->child(i)->foreground(1).color(), expected);
        }
    }
    for (int i = 0; i < row->childCount(); ++i) {
        const QFont font = row->child(i)->font(0);
        QCOMPARE(font.family(), QString("arial"));
        QCOMPARE(font.pointSize(), 7);
        QVERIFY(!font.bold() && !font.italic());
    }
}

void TestPeerList::detailRowsAreReusedAndTrimmed()
{
    PeerList list;
    list.updateProfileList();
    feedPeers({peer("id:i=1 name=A addr=x profile:i=1 active:b=true state_ui=Connected")});
    QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
    QCOMPARE(row->childCount(), 4);
    QTreeWidgetItem* first = row->child(0);

    feedPeers({peer("id:i=1 name=A addr=y profile:i=1")});
    QCOMPARE(row->childCount(), 2);
    QCOMPARE(row->child(0), first);
    QCOMPARE(details(row), (QStringList{"Address\ty", "Profile\tFactory IP"}));
}

void TestPeerList::profileListRerendersEveryRow()
{
    PeerList list;
    list.updateProfileList();
    feedPeers({peer("id:i=1 name=A addr=x profile:i=0"), peer("id:i=2 name=B addr=y profile:i=2")});
    QCOMPARE(list.peerTree->topLevelItem(0)->child(1)->text(0), QString("Profile\tStudio Link"));

    feedProfiles("Renamed");
    QCOMPARE(list.peerTree->topLevelItem(0)->child(1)->text(0), QString("Profile\tRenamed"));
    QCOMPARE(list.peerTree->topLevelItem(1)->child(1)->text(0), QString("Profile\tRenamed"));
}

void TestPeerList::encoderChangeRerendersActiveRowsOnly()
{
    PeerList list;
    list.updateCurrentEncoder();
    feedPeers({peer("id:i=1 name=A active:b=true transmitting:b=true state_ui=Connected"), peer("id:i=2 name=B")});
    QTreeWidgetItem* active = list.peerTree->topLevelItem(0);
    QTreeWidgetItem* idle = list.peerTree->topLevelItem(1);
    QCOMPARE(active->child(2)->text(0), QString("Transmitting\tOpus Stereo 128 kb/s"));

    idle->setText(0, "stale");
    active->setText(0, "stale");
    feedEncoder("Opus Stereo 128 kb/s");
    QCOMPARE(active->text(0), QString("stale"));

    feedEncoder("G.722 Mono 64 kb/s");
    QCOMPARE(active->text(0), QString("A\nConnected"));
    QCOMPARE(active->child(2)->text(0), QString("Transmitting\tG.722 Mono 64 kb/s"));
    QCOMPARE(idle->text(0), QString("stale"));
}

void TestPeerList::tunnelStatusRerendersRows()
{
    PeerList list;
    feedPeers({peer("id:i=3 name=Van plait:b=true use_plait:b=true sid=7")});
    QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
    QCOMPARE(row->text(0), QString("Van"));

    // An answer that failed carries no node and changes nothing.
    Message failed = fromXmls("<m n=\"resp\"><b k=\"fail\">true</b></m>");
    answer("statusTunnel", failed);
    QCOMPARE(row->text(0), QString("Van"));

    answer("statusTunnel", fromXmls("<m n=\"resp\"><m n=\"node\"><m n=\"sess\"><i k=\"sid\">7</i>"
                                    "<s k=\"state\">SEARCHING</s></m></m></m>"));
    QCOMPARE(row->text(0), QString("Van\nBraid SEARCHING"));

    {
        QMutexLocker lock(g_ipcClient.mutex());
        g_ipcClient.process_unso_id("cfgStatus:netmgr.tunnel",
                                    fromXmls("<m n=\"status\"><m n=\"sess\"><i k=\"sid\">7</i>"
                                             "<s k=\"state\">ACTIVE</s></m></m>"));
    }
    QCOMPARE(row->text(0), QString("Van (Braid)"));
}

void TestPeerList::buttonsFollowSelectionAndPots_data()
{
    QTest::addColumn<QString>("selectedRecord");
    QTest::addColumn<QString>("otherRecord");
    QTest::addColumn<bool>("connect");
    QTest::addColumn<bool>("potsVisible");
    QTest::addColumn<bool>("potsEnabled");

    QTest::newRow("idle selected") << "id:i=1 name=A" << "id:i=2 name=B" << true << false << false;
    QTest::newRow("active selected") << "id:i=1 name=A active:b=true" << "id:i=2 name=B" << false << false << false;
    QTest::newRow("idle selected, other active") << "id:i=1 name=A" << "id:i=2 name=B active:b=true" << true
                                                 << false << false;
    QTest::newRow("telephone call up") << "id:i=1 name=A" << "id:i=2 name=B channel=pots active:b=true state=connected"
                                       << true << true << true;
    QTest::newRow("telephone call being set up")
        << "id:i=1 name=A" << "id:i=2 name=B channel=pots active:b=true state=training" << true << true << false;
    QTest::newRow("telephone through the profile")
        << "id:i=1 name=A" << "id:i=2 name=B profile:i=3 active:b=true state=connected" << true << true << true;
    QTest::newRow("telephone line idle") << "id:i=1 name=A" << "id:i=2 name=B channel=pots state=connected" << true
                                         << false << false;
    QTest::newRow("connected state on another channel")
        << "id:i=1 name=A" << "id:i=2 name=B active:b=true state=connected" << true << false << false;
}

void TestPeerList::buttonsFollowSelectionAndPots()
{
    QFETCH(QString, selectedRecord);
    QFETCH(QString, otherRecord);
    QFETCH(bool, connect);
    QFETCH(bool, potsVisible);
    QFETCH(bool, potsEnabled);

    PeerList list;
    list.updateProfileList();
    feedPeers({peer(selectedRecord.toUtf8().constData()), peer(otherRecord.toUtf8().constData())});
    select(list, 1);
    QCOMPARE(list.buttonConnect->isEnabled(), connect);
    QCOMPARE(list.buttonDisconnect->isEnabled(), !connect);
    QCOMPARE(!list.buttonRateDrop->isHidden(), potsVisible);
    QCOMPARE(!list.buttonRetrain->isHidden(), potsVisible);
    if (potsVisible) {
        QCOMPARE(list.buttonRateDrop->isEnabled(), potsEnabled);
        QCOMPARE(list.buttonRetrain->isEnabled(), potsEnabled);
    }

    // The call on the selected remote comes and goes with the next list.
    const QString flipped = selectedRecord.contains("active") ? "id:i=1 name=A" : selectedRecord + " active:b=true";
    feedPeers({peer(flipped.toUtf8().constData()), peer(otherRecord.toUtf8().constData())});
    QCOMPARE(list.buttonConnect->isEnabled(), !connect);
    QCOMPARE(list.buttonDisconnect->isEnabled(), connect);
}

void TestPeerList::enabledButtonTakesFocusWhenShown()
{
    PeerList list;
    QVERIFY(showActive(&list));
    list.paneAboutToShow();
    QVERIFY(list.buttonConnect->hasFocus());
    feedPeers({peer("id:i=1 name=A active:b=true")});
    QVERIFY(list.buttonDisconnect->hasFocus());
    feedPeers({peer("id:i=1 name=A")});
    QVERIFY(list.buttonConnect->hasFocus());

    // A screen that is not on show leaves the focus where it is.
    list.paneAboutToHide();
    feedPeers({peer("id:i=1 name=A active:b=true")});
    QVERIFY(!list.buttonDisconnect->hasFocus());
    list.paneAboutToShow();
    QVERIFY(list.buttonDisconnect->hasFocus());
}

void TestPeerList::anyActiveChangedOnlyOnChange()
{
    PeerList list;
    QSignalSpy changed(&list, &PeerList::anyActiveChanged);
    feedPeers({peer("id:i=1 name=A"), peer("id:i=2 name=B")});
    QCOMPARE(changed.count(), 0);

    feedPeers({peer("id:i=1 name=A"), peer("id:i=2 name=B active:b=true")});
    QCOMPARE(changed.count(), 1);
    QVERIFY(list.getAnyActive());

    feedPeers({peer("id:i=1 name=A active:b=true"), peer("id:i=2 name=B active:b=true state=connected")});
    QCOMPARE(changed.count(), 1);

    feedPeers({peer("id:i=1 name=A")});
    QCOMPARE(changed.count(), 2);
    QVERIFY(!list.getAnyActive());
}

void TestPeerList::requestsForSelection_data()
{
    QTest::addColumn<bool>("detailRow");
    QTest::addColumn<bool>("connect");

    QTest::newRow("connect from the row") << false << true;
    QTest::newRow("connect from a detail row") << true << true;
    QTest::newRow("disconnect from the row") << false << false;
    QTest::newRow("disconnect from a detail row") << true << false;
}

void TestPeerList::requestsForSelection()
{
    QFETCH(bool, detailRow);
    QFETCH(bool, connect);

    PeerList list;
    feedPeers({peer("id:i=1 name=A addr=x"), peer("id:i=42 name=B addr=y")});
    QTreeWidgetItem* row = list.peerTree->topLevelItem(1);
    QSignalSpy selected(&list, &PeerList::newPeerIDSelected);
    list.peerTree->setCurrentItem(detailRow ? row->child(0) : row);
    QCOMPARE(selected.count(), 1);
    QCOMPARE(selected.at(0).at(0).toInt(), 42);

    m_sent.clear();
    connect ? list.connectPeer() : list.disconnectPeer();
    QCOMPARE(m_sent.size(), std::size_t(1));
    const char* name = connect ? "connect" : "disconnect";
    QCOMPARE(m_sent[0].name, std::string(name));
    Params expected;
    expected.set_int("id", 42);
    expected.set_string("seq", name);
    QVERIFY(m_sent[0].params() == expected);
}

void TestPeerList::potsCommands()
{
    PeerList list;
    // Nothing selected: connect and disconnect send nothing, the line commands still go.
    list.connectPeer();
    list.disconnectPeer();
    QVERIFY(m_sent.empty());

    list.rateDrop();
    list.retrain();
    QCOMPARE(m_sent.size(), std::size_t(2));
    QVERIFY(m_sent[0].params() == Params("channel=pots command=rateDrop seq=channelCommand"));
    QVERIFY(m_sent[1].params() == Params("channel=pots command=retrain seq=channelCommand"));
    QCOMPARE(m_sent[0].name, std::string("channelCommand"));
}

void TestPeerList::title_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("sip");
    QTest::addColumn<QString>("title");

    QTest::newRow("neither answer") << "-" << "-" << "Select Remote ORVANE Unit";
    QTest::newRow("both disabled") << "enabled:b=false connected:b=true" << "enabled:b=false online:b=true"
                                   << "Select Remote ORVANE Unit";
    QTest::newRow("directory online with NAT")
        << "enabled=true connected=true nat_type=\"Full Cone\"" << "-" << "Relaybook Online (Full Cone)";
    QTest::newRow("directory online") << "enabled:b=true connected:b=true" << "-" << "Relaybook Online";
    QTest::newRow("directory offline") << "enabled:b=true nat_type=Symmetric" << "-" << "Relaybook Offline";
    QTest::newRow("SIP online with status") << "-" << "enabled:b=true online:b=true status=Registered"
                                            << "SIP Online (Registered)";
    QTest::newRow("SIP offline") << "enabled:b=false" << "enabled:b=true" << "SIP Offline";
    QTest::newRow("both") << "enabled:b=true connected:b=true"
                          << "enabled:b=true online:b=false status=\"403 Forbidden\""
                          << "Relaybook Online\nSIP Offline (403 Forbidden)";
}

void TestPeerList::title()
{
    QFETCH(QString, directory);
    QFETCH(QString, sip);
    QFETCH(QString, title);

    PeerList list;
    list.labelTitle->setText("previous");
    const QString missing = "-";
    // The cache keeps earlier answers, so "no answer" is an answer that is not enabled.
    answer("directoryServer", Message("directoryServer", Params(directory == missing ? "" : directory.toUtf8().constData())));
    answer("sipProxy", Message("sipProxy", Params(sip == missing ? "" : sip.toUtf8().constData())));
    QCOMPARE(list.labelTitle->text(), title);
}

void TestPeerList::attributeOfSelected()
{
    PeerList list;
    feedPeers({peer("id:i=1 name=\"Studio A\" addr=x"), peer("id:i=2 name=\"OB Van\" addr=y")});
    QCOMPARE(list.getAttrOfSelected("name"), QString("Studio A"));
    list.peerTree->setCurrentItem(list.peerTree->topLevelItem(1)->child(0));
    QCOMPARE(list.getAttrOfSelected("name"), QString("OB Van"));
    QCOMPARE(list.getAttrOfSelected("id"), QString("2"));
    QCOMPARE(list.getAttrOfSelected("missing"), QString());
}

void TestPeerList::enterPressesFocusedButton()
{
    PeerList list;
    QVERIFY(showActive(&list));
    feedPeers({peer("id:i=5 name=A")});
    list.paneAboutToShow();
    QVERIFY(list.buttonConnect->hasFocus());

    m_sent.clear();
    list.handleKey(Qt::Key_Enter, true, false);
    list.handleKey(Qt::Key_Enter, false, false);
    QCOMPARE(m_sent.size(), std::size_t(1));
    QCOMPARE(m_sent[0].name, std::string("connect"));
    QCOMPARE(m_sent[0].params().get_int("id", 0), 5);

    list.handleKey(Qt::Key_F3, true, false);
    list.handleKey(Qt::Key_F3, false, false);
    QCOMPARE(m_sent.size(), std::size_t(1));
}

void TestPeerList::arrowsMoveInTree()
{
    PeerList list;
    QVERIFY(showActive(&list));
    feedIds({1, 2, 3});
    list.paneAboutToShow();
    QSignalSpy selected(&list, &PeerList::newPeerIDSelected);

    list.handleKey(Qt::Key_Down, true, false);
    list.handleKey(Qt::Key_Down, false, false);
    QTRY_COMPARE(list.peerTree->currentItem(), list.peerTree->topLevelItem(1));
    QCOMPARE(selected.count(), 1);
    QCOMPARE(selected.at(0).at(0).toInt(), 2);

    list.handleKey(Qt::Key_Up, true, false);
    QTRY_COMPARE(list.peerTree->currentItem(), list.peerTree->topLevelItem(0));
    // The buttons keep the focus for Enter.
    QVERIFY(list.buttonConnect->hasFocus());
}

void TestPeerList::expansionMakesRowCurrent()
{
    PeerList list;
    feedIds({1, 2});
    QTreeWidgetItem* second = list.peerTree->topLevelItem(1);
    second->setExpanded(true);
    QCOMPARE(list.peerTree->currentItem(), second);
}

QTEST_MAIN(TestPeerList)
#include "test_peerlist.moc"
