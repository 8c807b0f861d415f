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

Message peer(const QString& params, const QString& directory = QString())
{
    Message record("peer", Params(params.toUtf8().constData()));
    if (!directory.isEmpty())
        record.add_child(Message("directory", Params(directory.toUtf8().constData())));
    return record;
}

Message fromXmls(const std::string& text)
{
    Message msg;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, text.data(), text.size(), msg, error))
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
        peers.push_back(peer(QStringLiteral("id:i=%1 name=\"Remote %1\"").arg(id)));
    feedPeers(peers);
}

// Profile 2 is the default; 3 is on the telephone line.
void feedProfiles()
{
    answer("profileList", fromXmls(R"(<m n="profileList">
      <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Factory IP</s><s k="channel">rtp_udp_mux</s></m></m>
      <m n="profile"><i k="id">2</i><b k="default">true</b>
        <m n="settings"><s k="name">Studio Link</s><s k="channel">rtp_udp_mux</s></m></m>
      <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone Line</s><s k="channel">pots</s></m></m>
    </m>)"));
}

void feedEncoder(const char* descr)
{
    Message encoder("currentEncoder");
    encoder.params().set_string("descr", descr);
    answer("currentEncoder", encoder);
}

QStringList rowTexts(const QTreeWidgetItem* parent)
{
    QStringList out;
    for (int i = 0; i < parent->childCount(); ++i)
        out << parent->child(i)->text(0);
    return out;
}

} // namespace

class TestPeerList : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void mergePlacesOnlyNewRows_data();
    void mergePlacesOnlyNewRows();
    void onlyChangedRecordsRerender();
    void rowRendering_data();
    void rowRendering();
    void tunnelStatusRerendersRows();
    void buttonsFollowSelectionAndPots_data();
    void buttonsFollowSelectionAndPots();
    void anyActiveChangedOnlyOnChange();
    void requestsGoForTheSelectedRemote();
    void title_data();
    void title();

private:
    std::vector<Message> m_sent;
};

void TestPeerList::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
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
    QTest::newRow("removed and replaced") << std::vector<int>{1, 2, 3} << std::vector<int>{4, 3}
                                          << std::vector<int>{4, 3};
}

void TestPeerList::mergePlacesOnlyNewRows()
{
    QFETCH(std::vector<int>, before);
    QFETCH(std::vector<int>, after);
    QFETCH(std::vector<int>, rows);

    PeerList list;
    feedIds(before);
    std::map<QString, QTreeWidgetItem*> kept;
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
        kept[list.peerTree->topLevelItem(i)->text(0)] = list.peerTree->topLevelItem(i);

    feedIds(after);
    QCOMPARE(list.peerTree->topLevelItemCount(), int(rows.size()));
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = list.peerTree->topLevelItem(i);
        QCOMPARE(row->text(0), QStringLiteral("Remote %1").arg(rows[i]));
        const auto old = kept.find(row->text(0));
        if (old != kept.end())
            QCOMPARE(row, old->second);
    }
}

void TestPeerList::onlyChangedRecordsRerender()
{
    PeerList list;
    list.updateProfileList();
    feedPeers({peer("id:i=1 name=A addr=x"), peer("id:i=2 name=B profile:i=1 active:b=true state_ui=Calling")});
    QTreeWidgetItem* second = list.peerTree->topLevelItem(1);
    QCOMPARE(second->childCount(), 4);
    QTreeWidgetItem* firstDetail = second->child(0);
    list.peerTree->topLevelItem(0)->setText(0, "untouched");

    feedPeers({peer("id:i=1 name=A addr=x"), peer("id:i=2 name=B addr=y profile:i=1")});
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("untouched"));
    // Detail rows are reused and the surplus dropped.
    QCOMPARE(second->child(0), firstDetail);
    QCOMPARE(rowTexts(second), (QStringList{"Address\ty", "Profile\tFactory IP"}));

    // A change in a child counts as a change of the record.
    feedPeers({peer("id:i=1 name=A addr=x", "online:b=true"), peer("id:i=2 name=B addr=y profile:i=1")});
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("A"));
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

    const QString ip = "id:i=1 name=Studio addr=10.0.0.1 profile:i=1 ";
    const QStringList ipHead = {"Address\t10.0.0.1", "Profile\tFactory IP"};
    const QStringList silent = {"Transmitting\tNo", "Receiving\tNo"};
    const QString braid = "id:i=3 name=Van addr=198.51.100.23 profile:i=1 plait:b=true use_plait:b=true "
                          "unit=00:1b:7c:0a:51:9f sid=7 ";
    const QStringList braidHead = {"Address\t198.51.100.23", "MAC Address\t00:1b:7c:0a:51:9f", "Braid Enable\tYes"};
    const QString tunnel = "<m n=\"status\"><m n=\"sess\"><i k=\"sid\">4</i><s k=\"state\">ACTIVE</s></m>"
                           "<m n=\"sess\"><i k=\"sid\">7</i>%1</m></m>";

    QTest::newRow("idle with a channel state") << ip + "state_ui=Idle chan_state=\"Line busy\"" << "" << ""
                                               << "Studio\nIdle (Line busy)" << ipHead << "black_arrow_right" << "";
    QTest::newRow("equal states shown once")
        << ip + "active:b=true state_ui=Connected chan_state=Connected transmitting:b=true receiving:b=true "
                "rx_codec=AAC-LD"
        << "" << "" << "Studio\nConnected"
        << ipHead + QStringList{"Transmitting\tOpus Stereo 128 kb/s", "Receiving\tAAC-LD"} << "curve_arrow_lr" << "";
    QTest::newRow("differing channel state in parentheses, sending only")
        << ip + "active:b=true state_ui=Connecting chan_state=Negotiating transmitting:b=true rx_codec=AAC-LD"
        << "" << "" << "Studio\nConnecting (Negotiating)"
        << ipHead + QStringList{"Transmitting\tOpus Stereo 128 kb/s", "Receiving\tNo"} << "curve_arrow_l" << "";
    QTest::newRow("active, no audio either way") << ip + "active:b=true state_ui=Ringing" << "" << ""
                                                 << "Studio\nRinging" << ipHead + silent << "x" << "";
    QTest::newRow("telephone through the profile")
        << "id:i=2 name=News addr=\"+1 555 0142\" profile:i=3" << "" << "" << "News"
        << QStringList{"Phone Number\t+1 555 0142", "Profile\tPhone Line"} << "black_arrow_right" << "";
    QTest::newRow("unknown profile falls back to the default")
        << "id:i=2 name=News addr=a profile:i=9" << "" << "" << "News"
        << QStringList{"Address\ta", "Profile\tStudio Link"} << "black_arrow_right" << "";
    QTest::newRow("braid possible but off")
        << "id:i=4 name=Booth addr=b profile:i=1 plait:b=true use_plait:b=false unit=00:1b:7c:0a:33:02" << ""
        << tunnel.arg("<s k=\"state\">ACTIVE</s>") << "Booth"
        << QStringList{"Address\tb", "Braid Enable\tNo", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("braid active in a call")
        << braid + "active:b=true state_ui=Connected chan_state=Connected" << ""
        << tunnel.arg("<s k=\"state\">Active</s>") << "Van\nConnected (Braid)"
        << braidHead + QStringList{"Braid Status\tActive", "Profile\tFactory IP"} + silent << "x" << "";
    QTest::newRow("braid active while idle")
        << braid << "" << tunnel.arg("<s k=\"state\">ACTIVE</s>") << "Van (Braid)"
        << braidHead + QStringList{"Braid Status\tACTIVE", "Profile\tFactory IP"} << "black_arrow_right" << "";
    QTest::newRow("braid searching lists addresses")
        << braid << ""
        << tunnel.arg("<s k=\"state\">searching</s><m n=\"search\"><s k=\"addr\">198.51.100.23:9010</s></m>"
                      "<m n=\"search\"><s k=\"addr\">203.0.113.77:9010</s></m>")
        << "Van"
        << braidHead + QStringList{"Braid Status\tsearching\n\t198.51.100.23:9010\n\t203.0.113.77:9010",
                                   "Profile\tFactory IP"}
        << "black_arrow_right" << "";
    QTest::newRow("braid retired with reason")
        << braid + "active:b=true state_ui=Connected" << ""
        << tunnel.arg("<s k=\"state\">Retired</s><s k=\"reason\">Far end gone</s>") << "Van\nBraid Retired: Far end gone"
        << braidHead + QStringList{"Braid Status\tRetired (Far end gone)", "Profile\tFactory IP"} + silent << "x" << "";

    const QStringList listedRows = {"Address\tstudio-a.relaybook", "Profile\tStudio Link", "Remote State\tAvailable",
                                    "Product\tORVANE Rack", "NAT Type\tFull Cone"};
    const QString listed = "id:i=1 name=\"Studio A\" addr=studio-a.relaybook profile:i=2";
    const QString entry = "state=Available product=\"ORVANE Rack\" nat_type=\"Full Cone\" ";
    const char* const directoryStates[][3] = {{"online:b=true can_connect=yes", "asterisk_green", "black"},
                                              {"online:b=true can_connect=busy", "asterisk_yellow", "black"},
                                              {"online:b=true can_connect=ts_fail", "asterisk_red", "black"},
                                              {"online:b=false can_connect=yes", "asterisk_gray", "grey"}};
    for (const auto& state : directoryStates)
        QTest::newRow(state[0]) << listed << entry + state[0] << "" << "Studio A" << listedRows << state[1] << state[2];
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
        list.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", fromXmls(tunnel.toStdString()));
    feedPeers({peer(record, directory)});

    QCOMPARE(list.peerTree->topLevelItemCount(), 1);
    const QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
    QCOMPARE(row->text(0), text);
    QCOMPARE(rowTexts(row), rows);
    QCOMPARE(row->icon(0).pixmap(16, 16).toImage(), QIcon(":/icons/" + icon + ".png").pixmap(16, 16).toImage());
    if (colour.isEmpty()) {
        QCOMPARE(row->foreground(0).style(), Qt::NoBrush);
        return;
    }
    const QColor expected = colour == "black" ? QColor(0, 0, 0) : QColor(128, 128, 128);
    QCOMPARE(row->foreground(0).color(), expected);
    for (int i = 0; i < row->childCount(); ++i)
        QCOMPARE(row->child(i)->foreground(1).color(), expected);
}

void TestPeerList::tunnelStatusRerendersRows()
{
    PeerList list;
    feedPeers({peer("id:i=3 name=Van plait:b=true use_plait:b=true sid=7")});
    QTreeWidgetItem* van = list.peerTree->topLevelItem(0);
    // An answer that failed carries no node and changes nothing.
    answer("statusTunnel", fromXmls("<m n=\"resp\"><b k=\"fail\">true</b></m>"));
    QCOMPARE(van->text(0), QString("Van"));
    answer("statusTunnel", fromXmls("<m n=\"resp\"><m n=\"node\"><m n=\"sess\"><i k=\"sid\">7</i>"
                                    "<s k=\"state\">SEARCHING</s></m></m></m>"));
    QCOMPARE(van->text(0), QString("Van\nBraid SEARCHING"));
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id("cfgStatus:netmgr.tunnel", fromXmls("<m n=\"status\"><m n=\"sess\"><i k=\"sid\">7</i>"
                                                                   "<s k=\"state\">ACTIVE</s></m></m>"));
    QCOMPARE(van->text(0), QString("Van (Braid)"));
}

void TestPeerList::buttonsFollowSelectionAndPots_data()
{
    QTest::addColumn<QString>("selectedRecord");
    QTest::addColumn<QString>("otherRecord");
    QTest::addColumn<bool>("connect");
    QTest::addColumn<bool>("potsVisible");
    QTest::addColumn<bool>("potsEnabled");

    QTest::newRow("idle selected, other active") << "id:i=1 name=A" << "id:i=2 name=B active:b=true" << true
                                                 << false << false;
    QTest::newRow("active selected") << "id:i=1 name=A active:b=true" << "id:i=2 name=B" << false << false << false;
    QTest::newRow("telephone call up") << "id:i=1 name=A" << "id:i=2 name=B channel=pots active:b=true state=connected"
                                       << true << true << true;
    QTest::newRow("telephone call being set up")
        << "id:i=1 name=A" << "id:i=2 name=B channel=pots active:b=true state=training" << true << true << false;
    QTest::newRow("telephone through the profile")
        << "id:i=1 name=A" << "id:i=2 name=B profile:i=3 active:b=true state=connected" << true << true << true;
    QTest::newRow("telephone line idle") << "id:i=1 name=A" << "id:i=2 name=B channel=pots state=connected" << true
                                         << false << false;
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
    feedPeers({peer(selectedRecord), peer(otherRecord)});
    list.peerTree->setCurrentItem(list.peerTree->topLevelItem(0));
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
    feedPeers({peer(flipped), peer(otherRecord)});
    QCOMPARE(list.buttonConnect->isEnabled(), !connect);
    QCOMPARE(list.buttonDisconnect->isEnabled(), connect);
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

void TestPeerList::requestsGoForTheSelectedRemote()
{
    PeerList list;
    // Nothing selected: connect and disconnect send nothing, the line commands still go.
    list.connectPeer();
    list.disconnectPeer();
    list.rateDrop();
    list.retrain();
    QCOMPARE(m_sent.size(), std::size_t(2));
    QCOMPARE(m_sent[0].name, std::string("channelCommand"));
    QVERIFY(m_sent[0].params() == Params("channel=pots command=rateDrop seq=channelCommand"));
    QVERIFY(m_sent[1].params() == Params("channel=pots command=retrain seq=channelCommand"));

    feedPeers({peer("id:i=7 name=A addr=x"), peer("id:i=42 name=B addr=y")});
    QSignalSpy selected(&list, &PeerList::newPeerIDSelected);
    // A detail row stands for its remote.
    list.peerTree->setCurrentItem(list.peerTree->topLevelItem(1)->child(0));
    QCOMPARE(selected.count(), 1);
    QCOMPARE(selected.at(0).at(0).toInt(), 42);
    QCOMPARE(list.getAttrOfSelected("name"), QString("B"));
    list.connectPeer();
    list.peerTree->setCurrentItem(list.peerTree->topLevelItem(0));
    list.disconnectPeer();
    QCOMPARE(m_sent.size(), std::size_t(4));
    QCOMPARE(m_sent[2].name, std::string("connect"));
    QVERIFY(m_sent[2].params() == Params("id:i=42 seq=connect"));
    QCOMPARE(m_sent[3].name, std::string("disconnect"));
    QVERIFY(m_sent[3].params() == Params("id:i=7 seq=disconnect"));
}

void TestPeerList::title_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("sip");
    QTest::addColumn<QString>("title");

    // The cache keeps earlier answers, so "no answer" is an answer that is not enabled.
    QTest::newRow("both disabled") << "enabled:b=false connected:b=true" << "enabled:b=false online:b=true"
                                   << "Select Remote ORVANE Unit";
    QTest::newRow("directory online with NAT")
        << "enabled=true connected=true nat_type=\"Full Cone\"" << "" << "Relaybook Online (Full Cone)";
    QTest::newRow("directory offline") << "enabled:b=true nat_type=Symmetric" << "" << "Relaybook Offline";
    QTest::newRow("SIP online with status") << "" << "enabled:b=true online:b=true status=Registered"
                                            << "SIP Online (Registered)";
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
    answer("directoryServer", Message("directoryServer", Params(directory.toUtf8().constData())));
    answer("sipProxy", Message("sipProxy", Params(sip.toUtf8().constData())));
    QCOMPARE(list.labelTitle->text(), title);
}

QTEST_MAIN(TestPeerList)
#include "test_peerlist.moc"
