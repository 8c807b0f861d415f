#include "logcapture.h"
#include "peerlist.h"
#include "remotesfeed.h"
#include "tunneltree.h"

namespace {

// A list that has seen the profiles and the encoder.
struct Screen : PeerList {
    Screen()
    {
        updateProfileList();
        updateCurrentEncoder();
    }
    // A row's text, then its detail rows.
    QString row(int index) const
    {
        const QTreeWidgetItem* item = peerTree->topLevelItem(index);
        QStringList out{item->text(0)};
        for (int i = 0; i < item->childCount(); ++i)
            out << item->child(i)->text(0);
        return out.join("; ");
    }
};

} // namespace

class TestPeerList : public QObject {
    Q_OBJECT

private slots:
    // Profile 2 is the default; 3 is on the telephone line.
    void init()
    {
        answer("profileList", tunnelTree("profileList {profile id:i=1 {settings name=\"Factory IP\"}}"
                                         " {profile id:i=2 default:b=true {settings name=\"Studio Link\"}}"
                                         " {profile id:i=3 {settings name=\"Phone Line\" channel=pots}} {profile id:i=4}"));
        answer("currentEncoder", Message("currentEncoder", Params("descr=\"Opus 128\"")));
    }

    // One remote per digit, named after it; the rows there before are marked '+'.
    void mergePlacesOnlyNewRows_data()
    {
        rows(R"(
          reordered records stay put | 123 | 312 | 1+2+3+
          new first goes on top      | 12  | 512 | 51+2+
          new after 7 goes under 7   | 279 | 9742 | 2+7+49+
          removed and replaced       | 123 | 43 | 43+)");
    }

    void mergePlacesOnlyNewRows()
    {
        const auto [before, after, expected] = cells<3>();
        const auto feedIds = [](const QString& ids) {
            feedPeers(ids.split("", Qt::SkipEmptyParts).replaceInStrings(QRegularExpression("(.)"), "id:i=\\1 name=\\1"));
        };
        Screen list;
        feedIds(before);
        QCOMPARE(list.peerTree->currentItem(), list.peerTree->topLevelItem(0));
        for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
            list.peerTree->topLevelItem(i)->setText(1, "+");
        feedIds(after);
        QString shown;
        for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
            shown += list.peerTree->topLevelItem(i)->text(0) + list.peerTree->topLevelItem(i)->text(1);
        QCOMPARE(shown, expected);
    }

    // Only changed records are shown again, a change in a child counting; new profile names reach
    // every row, a new encoder only the rows in a call.
    void rowsRerenderOnlyOnChange()
    {
        Screen list;
        feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B profile:i=1 active:b=true state_ui=Calling"});
        const QTreeWidgetItem* firstDetail = list.peerTree->topLevelItem(1)->child(0);
        list.peerTree->topLevelItem(0)->setText(0, "untouched");
        feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B addr=y profile:i=1"});
        // Detail rows are reused and the surplus dropped.
        QCOMPARE(list.peerTree->topLevelItem(1)->child(0), firstDetail);
        QCOMPARE(list.row(0) + "; " + list.row(1), QString("untouched; Address\tx; Profile\tStudio Link; B; Address\ty; Profile\tFactory IP"));
        feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B addr=y profile:i=1"}, "online:b=true");
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("A"));

        feedPeers({"id:i=1 name=A profile:i=1 active:b=true transmitting:b=true", "id:i=2 name=B profile:i=1", "id:i=3 name=C"});
        list.peerTree->topLevelItem(1)->setText(0, "untouched");
        answer("currentEncoder", Message("currentEncoder", Params("descr=\"G.722 Mono 64 kb/s\"")));
        QCOMPARE(list.row(0), QString("A\n; Address\t; Profile\tFactory IP; Transmitting\tG.722 Mono 64 kb/s; Receiving\tNo"));
        QCOMPARE(list.peerTree->topLevelItem(1)->text(0), QString("untouched"));
        answer("profileList", tunnelTree("profileList {profile id:i=1 {settings name=Renamed}}"));
        // No profile is the default now.
        QCOMPARE(list.row(1) + "; " + list.row(2), QString("B; Address\t; Profile\tRenamed; C; Address\t; Profile\t(Default Profile)"));
    }

    // Record of remote "S" at "a" | texts shown | icon | directory entry | tunnel status (the
    // remote in a braid has session 7).
    void rowRendering_data()
    {
        rows(R"(
          equal states shown once
            | profile:i=1 active:b=true transmitting:b=true receiving:b=true rx_codec=AAC state_ui=Connected chan_state=Connected
            | S\nConnected; Address\ta; Profile\tFactory IP; Transmitting\tOpus 128; Receiving\tAAC | curve_arrow_lr
          differing channel state in parentheses, sending only
            | profile:i=1 active:b=true transmitting:b=true state_ui=Connecting chan_state=Negotiating
            | S\nConnecting (Negotiating); Address\ta; Profile\tFactory IP; Transmitting\tOpus 128; Receiving\tNo | curve_arrow_l
          receiving only, incoming: no profile | active:b=true receiving:b=true incoming:b=true state_ui=Ringing
            | S\nRinging; Address\ta; Transmitting\tNo; Receiving\t | curve_arrow_r
          channel state without a call | profile:i=3 chan_state=Idle | S\n (Idle); Phone Number\ta; Profile\tPhone Line | black_arrow_right
          unknown profile falls back to the default | profile:i=9 | S; Address\ta; Profile\tStudio Link | black_arrow_right
          braid possible but off | profile:i=1 plait:b=true unit=m | S; Address\ta; Braid Enable\tNo; Profile\tFactory IP
            | black_arrow_right | | status {sess sid:i=7 state=ACTIVE}
          braid active in a call | plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected chan_state=Connected
            | S\nConnected (Braid); Address\ta; MAC Address\tm; Braid Enable\tYes; Braid Status\tActive; Profile\tStudio Link;
              Transmitting\tNo; Receiving\tNo
            | x | | status {sess sid:i=4 state=SEARCHING} {sess sid:i=7 state=Active}
          braid searching lists addresses | plait:b=true use_plait:b=true unit=m sid=7
            | S; Address\ta; MAC Address\tm; Braid Enable\tYes; Braid Status\tsearching\n\tb:9010\n\tc:9010; Profile\tStudio Link
            | black_arrow_right | | status {sess sid:i=7 state=searching {search addr=b:9010} {search addr=c:9010}}
          braid in another state, reason or not | plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected
            | S\nBraid FAILED; Address\ta; MAC Address\tm; Braid Enable\tYes; Braid Status\tFAILED; Profile\tStudio Link;
              Transmitting\tNo; Receiving\tNo
            | x | | status {sess sid:i=7 state=FAILED reason=Gone}
          braid retired with reason | plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected
            | S\nBraid Retired: Gone; Address\ta; MAC Address\tm; Braid Enable\tYes; Braid Status\tRetired (Gone); Profile\tStudio Link;
              Transmitting\tNo; Receiving\tNo
            | x | | status {sess sid:i=7 state=Retired reason=Gone}
          directory: online, can connect | | S; Address\ta; Profile\tStudio Link; Remote State\tUp; Product\tRack; NAT Type\tCone
            | asterisk_green | state=Up product=Rack nat_type=Cone online:b=true can_connect=yes
          directory: online, busy | | S; Address\ta; Profile\tStudio Link; Remote State\t; Product\t; NAT Type\t
            | asterisk_yellow | online:b=true can_connect=busy
          directory: online, failed | | S; Address\ta; Profile\tStudio Link; Remote State\t; Product\t; NAT Type\t
            | asterisk_red | online:b=true can_connect=ts_fail
          directory: offline | | S; Address\ta; Profile\tStudio Link; Remote State\t; Product\t; NAT Type\t
            | asterisk_gray | can_connect=yes)");
    }

    void rowRendering()
    {
        const auto [record, shown, icon, directory, tunnel] = cells<5>();
        Screen list;
        if (!tunnel.isEmpty())
            list.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", tunnelTree(tunnel));
        feedPeers({"id:i=1 name=S addr=a " + record}, directory);

        QCOMPARE(list.row(0), shown);
        const QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
        QCOMPARE(row->icon(0).pixmap(16, 16).toImage(), QIcon(":/icons/" + icon + ".png").pixmap(16, 16).toImage());
        // Listed by the directory: grey unless online, else black.
        const QColor colour = directory.contains("online:b=true") ? QColor(0, 0, 0) : QColor(128, 128, 128);
        const QBrush expected = directory.isEmpty() ? QBrush() : QBrush(colour);
        QCOMPARE(row->foreground(0), expected);
        for (int i = 0; i < row->childCount(); ++i)
            QCOMPARE(std::make_pair(row->child(i)->foreground(0), row->child(i)->foreground(1)), std::make_pair(expected, expected));
    }

    // The selected record | the other record | then each button: Connect, Disconnect, Rate Drop and
    // Retrain, as + enabled, - disabled, _ hidden, * with focus | the same once the call on the
    // selected remote has come or gone with the next list.
    void buttonsFollowSelectionAndPots_data()
    {
        rows(R"(
          idle selected, other active   | id:i=1 | id:i=2 active:b=true | *+ - _ _ | - *+ _ _
          active selected               | id:i=1 active:b=true | id:i=2 | - *+ _ _ | *+ - _ _
          telephone call up             | id:i=1 | id:i=2 channel=pots active:b=true state=connected | *+ - + + | - *+ + +
          telephone call being set up   | id:i=1 | id:i=2 channel=pots active:b=true state=training | *+ - - - | - *+ - -
          telephone through the profile | id:i=1 | id:i=2 profile:i=3 active:b=true state=connected | *+ - + + | - *+ + +
          telephone line idle           | id:i=1 | id:i=2 profile:i=3 state=connected | *+ - _ _ | - *+ _ _)");
    }

    // Shown, so that the buttons' visibility and focus are real.
    void buttonsFollowSelectionAndPots()
    {
        const auto [selectedRecord, otherRecord, before, after] = cells<4>();
        Screen list;
        QVERIFY(showActive(&list));
        const auto buttons = [&list] {
            QStringList shown;
            for (const QPushButton* b : {list.buttonConnect, list.buttonDisconnect, list.buttonRateDrop, list.buttonRetrain})
                shown << QString(b->hasFocus() ? "*" : "") + (b->isHidden() ? "_" : b->isEnabled() ? "+" : "-");
            return shown.join(' ');
        };
        QCOMPARE(buttons().right(3), QString("_ _"));
        list.paneAboutToShow();
        feedPeers({selectedRecord, otherRecord});
        list.peerTree->setCurrentItem(list.peerTree->topLevelItem(0));
        QCOMPARE(buttons(), before);
        feedPeers({before.startsWith('*') ? selectedRecord + " active:b=true" : "id:i=1", otherRecord});
        QCOMPARE(buttons(), after);
    }

    void anyActiveChangedOnlyOnChange()
    {
        Screen list;
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

    // A detail row stands for its remote; the buttons ask for the selected remote, the telephone
    // buttons for the telephone line.
    void selectionAndRequests()
    {
        Screen list;
        QSignalSpy selected(&list, &PeerList::newPeerIDSelected);
        feedPeers({"id:i=4 name=A", "id:i=9 name=B addr=b", "id:i=2 channel=pots active:b=true state=connected"});
        QTreeWidgetItem* second = list.peerTree->topLevelItem(1);
        list.peerTree->expandItem(second);
        QCOMPARE(list.peerTree->currentItem(), second);
        list.peerTree->setCurrentItem(second->child(0));
        QCOMPARE(selected.takeLast(), QVariantList{9});
        QCOMPARE(list.getAttrOfSelected("name"), QString("B"));

        RequestLog tap;
        list.buttonConnect->setEnabled(true);
        list.buttonDisconnect->setEnabled(true);
        for (QPushButton* button : {list.buttonConnect, list.buttonDisconnect, list.buttonRateDrop, list.buttonRetrain})
            button->click();
        QVERIFY(sentAre(tap, {{"connect", "id:i=9 seq=connect"},
                              {"disconnect", "id:i=9 seq=disconnect"},
                              {"channelCommand", "channel=pots command=rateDrop seq=channelCommand"},
                              {"channelCommand", "channel=pots command=retrain seq=channelCommand"}}));
    }

    // The directory server's answer | the SIP proxy's | the title. The cache keeps earlier answers, so
    // "no answer" is an answer that is not enabled.
    void title_data()
    {
        rows(R"(
          both disabled | enabled:b=false connected:b=true | enabled:b=false online:b=true | Select Remote ORVANE Unit
          directory online with NAT | enabled=true connected=true nat_type=Cone | | Relaybook Online (Cone)
          directory offline | enabled:b=true nat_type=Symmetric | | Relaybook Offline
          SIP online with status | | enabled:b=true online:b=true status=Reg | SIP Online (Reg)
          both | enabled:b=true connected:b=true | enabled:b=true online:b=false status=403 | Relaybook Online\nSIP Offline (403))");
    }

    void title()
    {
        const auto [directory, sip, title] = cells<3>();
        Screen list;
        list.labelTitle->setText("previous");
        answer("directoryServer", Message("directoryServer", Params(directory.toUtf8().constData())));
        answer("sipProxy", Message("sipProxy", Params(sip.toUtf8().constData())));
        QCOMPARE(list.labelTitle->text(), title);
    }

    // The answer after login carries the status in its first "node"; the rest is not the tunnel's.
    // At debug level, each session compared up to the match is logged.
    void startupTunnelStatusComesFromTheFirstNode()
    {
        Screen list;
        feedPeers({"id:i=3 name=Van addr=a plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected"});
        LogCapture log(LOG_DEBUG);
        answer("statusTunnel", tunnelTree("resp fail:b=false {sess sid:i=7 state=RETIRED reason=decoy}"
                                          " {node {sess sid:i=5 state=SEARCHING} {sess sid:i=7 state=ACTIVE} {sess sid:i=9}}"
                                          " {node {sess sid:i=7 state=SEARCHING}}"));
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("Van\nConnected (Braid)"));
        const QString lines = QString::fromStdString(log.all());
        QVERIFY(lines.contains("braid sess sid=5 peer sid=7") && lines.contains("braid sess sid=7 peer sid=7") &&
                !lines.contains("braid sess sid=9"));

        // Without a node, the status stays.
        answer("statusTunnel", tunnelTree("resp fail:b=true"));
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("Van\nConnected (Braid)"));
    }
};

QTEST_MAIN(TestPeerList)
#include "test_peerlist.moc"
