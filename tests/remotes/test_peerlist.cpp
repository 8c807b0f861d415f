#include "codec.h"
#include "ipcinstances.h"
#include "labellockprobe.h"
#include "logcapture.h"
#include "peerlist.h"

#include <QMutexLocker>
#include <QSignalSpy>
#include <QtTest>

namespace {

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

// A directory entry goes with the first record.
void feedPeers(const QStringList& records, const QString& directory = QString())
{
    Message list("peerList");
    for (const QString& record : records)
        list.add_child(Message("peer", Params(record.toUtf8().constData())));
    if (!directory.isEmpty())
        list.get_child("peer", 0).add_child(Message("directory", Params(directory.toUtf8().constData())));
    answer("peerList", list);
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
    void init();

    void mergePlacesOnlyNewRows_data();
    void mergePlacesOnlyNewRows();
    void onlyChangedRecordsRerender();
    void rowRendering_data();
    void rowRendering();
    void buttonsFollowSelectionAndPots_data();
    void buttonsFollowSelectionAndPots();
    void anyActiveChangedOnlyOnChange();
    void title_data();
    void title();
    void telephoneButtonsCommandThePotsChannel();
    void connectAndDisconnectTheSelectedRemote();
    void newProfileNamesRefreshEveryRow();
    void newEncoderRefreshesActiveRowsOnly();
    void startupTunnelStatusComesFromTheFirstNode();
    void debugLogNamesEachSessionComparedUpToTheMatch();
    void shownRowsTakeTheHeightOfTheirNewText();
};

// Profile 2 is the default; 3 is on the telephone line.
void TestPeerList::init()
{
    answer("profileList", fromXmls(R"(<m n="profileList">
      <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Factory IP</s></m></m>
      <m n="profile"><i k="id">2</i><b k="default">true</b><m n="settings"><s k="name">Studio Link</s></m></m>
      <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone Line</s><s k="channel">pots</s></m></m>
    </m>)"));
    answer("currentEncoder", Message("currentEncoder", Params("descr=\"Opus Stereo 128 kb/s\"")));
}

void TestPeerList::mergePlacesOnlyNewRows_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("rows"); // a new row is marked '+'

    QTest::newRow("reordered records stay put") << "123" << "312" << "123";
    QTest::newRow("new first goes on top") << "12" << "512" << "5+12";
    QTest::newRow("new after 7 goes under 7") << "279" << "9742" << "274+9";
    QTest::newRow("removed and replaced") << "123" << "43" << "4+3";
}

void TestPeerList::mergePlacesOnlyNewRows()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, rows);

    // One remote per digit, named after it.
    const auto feedIds = [](const QString& ids) {
        QStringList records;
        for (QChar id : ids)
            records << QStringLiteral("id:i=%1 name=%1").arg(id);
        feedPeers(records);
    };
    PeerList list;
    feedIds(before);
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
        list.peerTree->topLevelItem(i)->setData(1, Qt::UserRole, true);

    feedIds(after);
    QString shown;
    for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = list.peerTree->topLevelItem(i);
        shown += row->text(0) + (row->data(1, Qt::UserRole).toBool() ? "" : "+");
    }
    QCOMPARE(shown, rows);
}

void TestPeerList::onlyChangedRecordsRerender()
{
    PeerList list;
    list.updateProfileList();
    feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B profile:i=1 active:b=true state_ui=Calling"});
    QTreeWidgetItem* second = list.peerTree->topLevelItem(1);
    QTreeWidgetItem* firstDetail = second->child(0);
    list.peerTree->topLevelItem(0)->setText(0, "untouched");

    feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B addr=y profile:i=1"});
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("untouched"));
    // Detail rows are reused and the surplus dropped.
    QCOMPARE(second->child(0), firstDetail);
    QCOMPARE(rowTexts(second), (QStringList{"Address\ty", "Profile\tFactory IP"}));

    // A change in a child counts as a change of the record.
    feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B addr=y profile:i=1"}, "online:b=true");
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("A"));
}

void TestPeerList::rowRendering_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("tunnel");
    QTest::addColumn<QString>("shown"); // the row's text, then its detail rows, joined by '|'
    QTest::addColumn<QString>("icon");

    const QString ip = "id:i=1 name=S addr=a profile:i=1 active:b=true transmitting:b=true rx_codec=AAC ";
    const QString sending = "|Address\ta|Profile\tFactory IP|Transmitting\tOpus Stereo 128 kb/s|Receiving\t";
    const QString braid = "id:i=3 name=Van addr=a profile:i=1 plait:b=true use_plait:b=true unit=m sid=7 ";
    const QString braidHead = "|Address\ta|MAC Address\tm|Braid Enable\tYes|Braid Status\t";
    const QString silent = "|Profile\tFactory IP|Transmitting\tNo|Receiving\tNo";
    const QString tunnel = "<m n=\"status\"><m n=\"sess\"><i k=\"sid\">4</i><s k=\"state\">ACTIVE</s></m>"
                           "<m n=\"sess\"><i k=\"sid\">7</i><s k=\"state\">%1</s>%2</m></m>";

    QTest::newRow("equal states shown once")
        << ip + "state_ui=Connected chan_state=Connected receiving:b=true" << "" << ""
        << "S\nConnected" + sending + "AAC" << "curve_arrow_lr";
    QTest::newRow("differing channel state in parentheses, sending only")
        << ip + "state_ui=Connecting chan_state=Negotiating" << "" << ""
        << "S\nConnecting (Negotiating)" + sending + "No" << "curve_arrow_l";
    QTest::newRow("telephone through the profile")
        << "id:i=2 name=N addr=1 profile:i=3" << "" << "" << "N|Phone Number\t1|Profile\tPhone Line" << "black_arrow_right";
    QTest::newRow("unknown profile falls back to the default")
        << "id:i=2 name=N addr=a profile:i=9" << "" << "" << "N|Address\ta|Profile\tStudio Link" << "black_arrow_right";
    QTest::newRow("braid possible but off")
        << "id:i=4 name=B addr=a profile:i=1 plait:b=true use_plait:b=false unit=m" << "" << tunnel.arg("ACTIVE", "")
        << "B|Address\ta|Braid Enable\tNo|Profile\tFactory IP" << "black_arrow_right";
    QTest::newRow("braid active in a call")
        << braid + "active:b=true state_ui=Connected chan_state=Connected" << "" << tunnel.arg("Active", "")
        << "Van\nConnected (Braid)" + braidHead + "Active" + silent << "x";
    QTest::newRow("braid searching lists addresses")
        << braid << ""
        << tunnel.arg("searching", "<m n=\"search\"><s k=\"addr\">b:9010</s></m><m n=\"search\"><s k=\"addr\">c:9010</s></m>")
        << "Van" + braidHead + "searching\n\tb:9010\n\tc:9010|Profile\tFactory IP" << "black_arrow_right";
    QTest::newRow("braid in another state, reason or not")
        << braid + "active:b=true state_ui=Connected" << "" << tunnel.arg("FAILED", "<s k=\"reason\">Gone</s>")
        << "Van\nBraid FAILED" + braidHead + "FAILED" + silent << "x";
    QTest::newRow("braid retired with reason")
        << braid + "active:b=true state_ui=Connected" << "" << tunnel.arg("Retired", "<s k=\"reason\">Gone</s>")
        << "Van\nBraid Retired: Gone" + braidHead + "Retired (Gone)" + silent << "x";

    // Listed by the directory: grey while offline, else black.
    const char* const directoryStates[][2] = {{"online:b=true can_connect=yes", "asterisk_green"},
                                              {"online:b=true can_connect=busy", "asterisk_yellow"},
                                              {"online:b=true can_connect=ts_fail", "asterisk_red"},
                                              {"online:b=false can_connect=yes", "asterisk_gray"}};
    for (const auto& [state, icon] : directoryStates)
        QTest::newRow(state) << "id:i=1 name=S addr=a profile:i=2" << QString("state=Up product=Rack nat_type=Cone ") + state
                             << "" << "S|Address\ta|Profile\tStudio Link|Remote State\tUp|Product\tRack|NAT Type\tCone" << icon;
}

void TestPeerList::rowRendering()
{
    QFETCH(QString, record);
    QFETCH(QString, directory);
    QFETCH(QString, tunnel);
    QFETCH(QString, shown);
    QFETCH(QString, icon);

    PeerList list;
    list.updateProfileList();
    list.updateCurrentEncoder();
    if (!tunnel.isEmpty())
        list.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", fromXmls(tunnel.toStdString()));
    feedPeers({record}, directory);

    const QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
    QCOMPARE((QStringList{row->text(0)} + rowTexts(row)).join('|'), shown);
    QCOMPARE(row->icon(0).pixmap(16, 16).toImage(), QIcon(":/icons/" + icon + ".png").pixmap(16, 16).toImage());
    const QColor colour = directory.contains("online:b=false") ? QColor(128, 128, 128) : QColor(0, 0, 0);
    const QBrush expected = directory.isEmpty() ? QBrush() : QBrush(colour);
    QCOMPARE(row->foreground(0), expected);
    for (int i = 0; i < row->childCount(); ++i)
        QCOMPARE(row->child(i)->foreground(1), expected);
}

void TestPeerList::buttonsFollowSelectionAndPots_data()
{
    QTest::addColumn<QString>("selectedRecord");
    QTest::addColumn<QString>("otherRecord");
    QTest::addColumn<bool>("connect");
    QTest::addColumn<QString>("pots");

    QTest::newRow("idle selected, other active") << "id:i=1" << "id:i=2 active:b=true" << true << "hidden";
    QTest::newRow("active selected") << "id:i=1 active:b=true" << "id:i=2" << false << "hidden";
    QTest::newRow("telephone call up") << "id:i=1" << "id:i=2 channel=pots active:b=true state=connected" << true
                                       << "enabled";
    QTest::newRow("telephone call being set up") << "id:i=1" << "id:i=2 channel=pots active:b=true state=training"
                                                 << true << "disabled";
    QTest::newRow("telephone through the profile") << "id:i=1" << "id:i=2 profile:i=3 active:b=true state=connected"
                                                   << true << "enabled";
}

void TestPeerList::buttonsFollowSelectionAndPots()
{
    QFETCH(QString, selectedRecord);
    QFETCH(QString, otherRecord);
    QFETCH(bool, connect);
    QFETCH(QString, pots);

    PeerList list;
    list.updateProfileList();
    feedPeers({selectedRecord, otherRecord});
    list.peerTree->setCurrentItem(list.peerTree->topLevelItem(0));
    const auto buttons = [&list] { return std::make_pair(list.buttonConnect->isEnabled(), list.buttonDisconnect->isEnabled()); };
    QCOMPARE(buttons(), std::make_pair(connect, !connect));
    for (const QPushButton* button : {list.buttonRateDrop, list.buttonRetrain})
        QCOMPARE(QString(button->isHidden() ? "hidden" : button->isEnabled() ? "enabled" : "disabled"), pots);

    // The call on the selected remote comes and goes with the next list.
    const QString flipped = connect ? selectedRecord + " active:b=true" : "id:i=1";
    feedPeers({flipped, otherRecord});
    QCOMPARE(buttons(), std::make_pair(!connect, connect));
}

void TestPeerList::anyActiveChangedOnlyOnChange()
{
    PeerList list;
    QSignalSpy changed(&list, &PeerList::anyActiveChanged);
    // Each list, and the signals seen once it is in.
    const std::pair<QStringList, int> lists[] = {{{"id:i=1", "id:i=2"}, 0}, {{"id:i=1", "id:i=2 active:b=true"}, 1},
                                                 {{"id:i=1 active:b=true", "id:i=2 active:b=true state=connected"}, 1},
                                                 {{"id:i=1"}, 2}};
    for (const auto& [records, signalCount] : lists) {
        feedPeers(records);
        QCOMPARE(changed.count(), signalCount);
        QCOMPARE(list.getAnyActive(), records.join(' ').contains("active"));
    }
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
        << "enabled=true connected=true nat_type=Cone" << "" << "Relaybook Online (Cone)";
    QTest::newRow("directory offline") << "enabled:b=true nat_type=Symmetric" << "" << "Relaybook Offline";
    QTest::newRow("SIP online with status") << "" << "enabled:b=true online:b=true status=Reg" << "SIP Online (Reg)";
    QTest::newRow("both") << "enabled:b=true connected:b=true" << "enabled:b=true online:b=false status=403"
                          << "Relaybook Online\nSIP Offline (403)";
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

    // As the answer arrives from the IPC thread: the lock is free, and stays free for the label.
    list.labelTitle->setText("previous");
    labellockprobe::underLock = 0;
    list.updateDirectoryServer();
    QCOMPARE(list.labelTitle->text(), title);
    QCOMPARE(labellockprobe::underLock, 0);
}

void TestPeerList::telephoneButtonsCommandThePotsChannel()
{
    PeerList list;
    feedPeers({"id:i=2 channel=pots active:b=true state=connected"});
    std::vector<Message> sent;
    g_ipcClient.setRequestTap([&sent](const Message& msg) { sent.push_back(msg); });
    list.buttonRateDrop->click();
    list.buttonRetrain->click();
    g_ipcClient.setRequestTap(nullptr);

    QStringList commands;
    for (const Message& msg : sent)
        commands << QString::fromStdString(msg.name + " " + msg.params().get_string("channel", "") + " "
                                           + msg.params().get_string("command", ""));
    QCOMPARE(commands, (QStringList{"channelCommand pots rateDrop", "channelCommand pots retrain"}));
}

void TestPeerList::connectAndDisconnectTheSelectedRemote()
{
    PeerList list;
    feedPeers({"id:i=4 name=A", "id:i=9 name=B"});
    list.peerTree->setCurrentItem(list.peerTree->topLevelItem(1));
    std::vector<Message> sent;
    g_ipcClient.setRequestTap([&sent](const Message& msg) { sent.push_back(msg); });
    list.connectPeer();
    list.disconnectPeer();
    g_ipcClient.setRequestTap(nullptr);
    QStringList requests;
    for (const Message& msg : sent)
        requests << QString::fromStdString(msg.name + " " + std::to_string(msg.params().get_int("id", 0)));
    QCOMPARE(requests, (QStringList{"connect 9", "disconnect 9"}));
}

void TestPeerList::newProfileNamesRefreshEveryRow()
{
    PeerList list;
    list.updateProfileList();
    feedPeers({"id:i=1 name=A addr=x profile:i=1"});
    answer("profileList", fromXmls(R"(<m n="profileList">
      <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Renamed</s></m></m></m>)"));
    QCOMPARE(rowTexts(list.peerTree->topLevelItem(0)), (QStringList{"Address\tx", "Profile\tRenamed"}));
}

void TestPeerList::newEncoderRefreshesActiveRowsOnly()
{
    PeerList list;
    list.updateProfileList();
    list.updateCurrentEncoder();
    feedPeers({"id:i=1 name=A profile:i=1 active:b=true transmitting:b=true", "id:i=2 name=B profile:i=1"});
    QTreeWidgetItem* idle = list.peerTree->topLevelItem(1);
    idle->setText(0, "untouched");

    answer("currentEncoder", Message("currentEncoder", Params("descr=\"G.722 Mono 64 kb/s\"")));
    QVERIFY(rowTexts(list.peerTree->topLevelItem(0)).contains("Transmitting\tG.722 Mono 64 kb/s"));
    QCOMPARE(idle->text(0), QString("untouched"));
}

// The answer after login carries the status in its first "node"; the rest is not the tunnel's.
void TestPeerList::startupTunnelStatusComesFromTheFirstNode()
{
    PeerList list;
    feedPeers({"id:i=3 name=Van addr=a plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected"});
    answer("statusTunnel", fromXmls(R"(<m n="resp"><b k="fail">false</b>
      <m n="sess"><i k="sid">7</i><s k="state">RETIRED</s><s k="reason">decoy</s></m>
      <m n="node"><m n="sess"><i k="sid">7</i><s k="state">ACTIVE</s></m></m>
      <m n="node"><m n="sess"><i k="sid">7</i><s k="state">SEARCHING</s></m></m></m>)"));
    QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("Van\nConnected (Braid)"));
}

void TestPeerList::debugLogNamesEachSessionComparedUpToTheMatch()
{
    PeerList list;
    feedPeers({"id:i=3 name=Van addr=a plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected"});
    LogCapture log(LOG_DEBUG);
    answer("statusTunnel", fromXmls(R"(<m n="resp"><b k="fail">false</b><m n="node">
      <m n="sess"><i k="sid">5</i><s k="state">ACTIVE</s></m>
      <m n="sess"><i k="sid">7</i><s k="state">ACTIVE</s></m>
      <m n="sess"><i k="sid">9</i><s k="state">ACTIVE</s></m></m></m>)"));
    const QString lines = QString::fromStdString(log.all());
    QVERIFY(lines.contains("braid sess sid=5 peer sid=7"));
    QVERIFY(lines.contains("braid sess sid=7 peer sid=7"));
    QVERIFY(!lines.contains("braid sess sid=9"));
}

// Rows change without the view following each change: the layout that follows must still give a
// row that gained a status line its new height.
void TestPeerList::shownRowsTakeTheHeightOfTheirNewText()
{
    PeerList list;
    list.show();
    feedPeers({"id:i=1 name=Van addr=a", "id:i=2 name=Bus addr=b"});
    QCoreApplication::processEvents();
    QTreeWidgetItem* van = list.peerTree->topLevelItem(0);
    const int oneLine = list.peerTree->visualItemRect(van).height();
    QVERIFY(oneLine > 0);

    feedPeers({"id:i=1 name=Van addr=a active:b=true state_ui=Connected", "id:i=2 name=Bus addr=b"});
    QCoreApplication::processEvents();
    QCOMPARE(van->text(0), QString("Van\nConnected"));
    QVERIFY2(list.peerTree->visualItemRect(van).height() > oneLine, "the row still has the height of one line");
}

QTEST_MAIN(TestPeerList)
#include "test_peerlist.moc"
