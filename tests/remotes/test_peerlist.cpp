#include "logcapture.h"
#include "peerlist.h"
#include "remotesfeed.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

// A row's text, then its detail rows, joined by '|'.
QString rowTexts(const QTreeWidgetItem* row)
{
    QStringList out{row->text(0)};
    for (int i = 0; i < row->childCount(); ++i)
        out << row->child(i)->text(0);
    return out.join('|');
}

// A list that has seen the profiles and the encoder.
struct Screen : PeerList {
    Screen()
    {
        updateProfileList();
        updateCurrentEncoder();
    }
};

const char* const kBraidRecord = "id:i=3 name=Van addr=a plait:b=true use_plait:b=true unit=m sid=7 active:b=true state_ui=Connected";

} // namespace

class TestPeerList : public QObject {
    Q_OBJECT

private slots:
    // Profile 2 is the default; 3 is on the telephone line.
    void init()
    {
        answer("profileList", parse(R"(<m n="profileList">
          <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Factory IP</s></m></m>
          <m n="profile"><i k="id">2</i><b k="default">true</b><m n="settings"><s k="name">Studio Link</s></m></m>
          <m n="profile"><i k="id">3</i><m n="settings"><s k="name">Phone Line</s><s k="channel">pots</s></m></m>
          <m n="profile"><i k="id">4</i></m></m>)"));
        answer("currentEncoder", Message("currentEncoder", Params("descr=\"Opus Stereo 128 kb/s\"")));
    }

    void mergePlacesOnlyNewRows_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("rows"); // a new row is marked '+'

        QTest::newRow("reordered records stay put") << "123" << "312" << "123";
        QTest::newRow("new first goes on top") << "12" << "512" << "5+12";
        QTest::newRow("new after 7 goes under 7") << "279" << "9742" << "274+9";
        QTest::newRow("removed and replaced") << "123" << "43" << "4+3";
    }

    // One remote per digit, named after it.
    void mergePlacesOnlyNewRows()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        const auto feedIds = [](const QString& ids) {
            QStringList records;
            for (QChar id : ids)
                records << QStringLiteral("id:i=%1 name=%1").arg(id);
            feedPeers(records);
        };
        Screen list;
        feedIds(before);
        QCOMPARE(list.peerTree->currentItem(), list.peerTree->topLevelItem(0));
        for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i)
            list.peerTree->topLevelItem(i)->setData(1, Qt::UserRole, true);

        feedIds(after);
        QString shown;
        for (int i = 0; i < list.peerTree->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = list.peerTree->topLevelItem(i);
            shown += row->text(0) + (row->data(1, Qt::UserRole).toBool() ? "" : "+");
        }
        QTEST(shown, "rows");
    }

    void onlyChangedRecordsRerender()
    {
        Screen list;
        feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B profile:i=1 active:b=true state_ui=Calling"});
        QTreeWidgetItem* second = list.peerTree->topLevelItem(1);
        QTreeWidgetItem* firstDetail = second->child(0);
        list.peerTree->topLevelItem(0)->setText(0, "untouched");

        feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B addr=y profile:i=1"});
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("untouched"));
        // Detail rows are reused and the surplus dropped.
        QCOMPARE(second->child(0), firstDetail);
        QCOMPARE(rowTexts(second), QString("B|Address\ty|Profile\tFactory IP"));

        // A change in a child counts as a change of the record.
        feedPeers({"id:i=1 name=A addr=x", "id:i=2 name=B addr=y profile:i=1"}, "online:b=true");
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("A"));
    }

    // New profile names reach every row, a new encoder only the rows in a call.
    void profilesAndEncoderRefreshRows()
    {
        Screen list;
        feedPeers({"id:i=1 name=A profile:i=1 active:b=true transmitting:b=true", "id:i=2 name=B profile:i=1", "id:i=3 name=C"});
        QTreeWidgetItem* idle = list.peerTree->topLevelItem(1);
        idle->setText(0, "untouched");
        answer("currentEncoder", Message("currentEncoder", Params("descr=\"G.722 Mono 64 kb/s\"")));
        QCOMPARE(rowTexts(list.peerTree->topLevelItem(0)),
                 QString("A\n|Address\t|Profile\tFactory IP|Transmitting\tG.722 Mono 64 kb/s|Receiving\tNo"));
        QCOMPARE(idle->text(0), QString("untouched"));
        answer("profileList", parse(R"(<m n="profileList">
          <m n="profile"><i k="id">1</i><m n="settings"><s k="name">Renamed</s></m></m></m>)"));
        QCOMPARE(rowTexts(idle), QString("B|Address\t|Profile\tRenamed"));
        // No profile is the default now.
        QCOMPARE(rowTexts(list.peerTree->topLevelItem(2)), QString("C|Address\t|Profile\t(Default Profile)"));
    }

    void rowRendering_data()
    {
        QTest::addColumn<QString>("record");
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QString>("tunnel");
        QTest::addColumn<QString>("shown");
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
        QTest::newRow("receiving only, incoming: no profile")
            << "id:i=1 name=S addr=a active:b=true receiving:b=true incoming:b=true state_ui=Ringing" << "" << ""
            << "S\nRinging|Address\ta|Transmitting\tNo|Receiving\t" << "curve_arrow_r";
        QTest::newRow("channel state without a call")
            << "id:i=2 name=N addr=1 profile:i=3 chan_state=Idle" << "" << "" << "N\n (Idle)|Phone Number\t1|Profile\tPhone Line"
            << "black_arrow_right";
        QTest::newRow("unknown profile falls back to the default")
            << "id:i=2 name=N addr=a profile:i=9" << "" << "" << "N|Address\ta|Profile\tStudio Link" << "black_arrow_right";
        QTest::newRow("braid possible but off")
            << "id:i=4 name=B addr=a profile:i=1 plait:b=true unit=m" << "" << tunnel.arg("ACTIVE", "")
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

        // Listed by the directory: grey unless online, else black.
        const char* const directoryStates[][2] = {{"online:b=true can_connect=yes", "asterisk_green"},
                                                  {"online:b=true can_connect=busy", "asterisk_yellow"},
                                                  {"online:b=true can_connect=ts_fail", "asterisk_red"},
                                                  {"can_connect=yes", "asterisk_gray"}};
        for (const auto& [state, icon] : directoryStates)
            QTest::newRow(state) << "id:i=1 name=S addr=a profile:i=2" << QString("state=Up product=Rack nat_type=Cone ") + state
                                 << "" << "S|Address\ta|Profile\tStudio Link|Remote State\tUp|Product\tRack|NAT Type\tCone" << icon;
    }

    void rowRendering()
    {
        QFETCH(QString, record);
        QFETCH(QString, directory);
        QFETCH(QString, tunnel);
        QFETCH(QString, icon);

        Screen list;
        if (!tunnel.isEmpty())
            list.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", parse(tunnel.toStdString()));
        feedPeers({record}, directory);

        const QTreeWidgetItem* row = list.peerTree->topLevelItem(0);
        QTEST(rowTexts(row), "shown");
        QCOMPARE(row->icon(0).pixmap(16, 16).toImage(), QIcon(":/icons/" + icon + ".png").pixmap(16, 16).toImage());
        const QColor colour = directory.contains("online:b=true") ? QColor(0, 0, 0) : QColor(128, 128, 128);
        const QBrush expected = directory.isEmpty() ? QBrush() : QBrush(colour);
        QCOMPARE(row->foreground(0), expected);
        for (int i = 0; i < row->childCount(); ++i)
            QCOMPARE(std::make_pair(row->child(i)->foreground(0), row->child(i)->foreground(1)), std::make_pair(expected, expected));
    }

    void buttonsFollowSelectionAndPots_data()
    {
        QTest::addColumn<QString>("selectedRecord");
        QTest::addColumn<QString>("otherRecord");
        QTest::addColumn<bool>("connect");
        QTest::addColumn<QString>("pots");

        QTest::newRow("idle selected, other active") << "id:i=1" << "id:i=2 active:b=true" << true << "hidden";
        QTest::newRow("active selected") << "id:i=1 active:b=true" << "id:i=2" << false << "hidden";
        QTest::newRow("telephone call up") << "id:i=1" << "id:i=2 channel=pots active:b=true state=connected" << true << "enabled";
        QTest::newRow("telephone call being set up") << "id:i=1" << "id:i=2 channel=pots active:b=true state=training" << true
                                                     << "disabled";
        QTest::newRow("telephone through the profile") << "id:i=1" << "id:i=2 profile:i=3 active:b=true state=connected" << true
                                                       << "enabled";
        QTest::newRow("telephone line idle") << "id:i=1" << "id:i=2 profile:i=3 state=connected" << true << "hidden";
    }

    // Shown, so that the buttons' visibility and focus are real.
    void buttonsFollowSelectionAndPots()
    {
        QFETCH(QString, selectedRecord);
        QFETCH(QString, otherRecord);
        QFETCH(bool, connect);
        QFETCH(QString, pots);

        Screen list;
        QVERIFY(showActive(&list));
        QVERIFY(list.buttonRateDrop->isHidden() && list.buttonRetrain->isHidden());
        list.paneAboutToShow();
        feedPeers({selectedRecord, otherRecord});
        list.peerTree->setCurrentItem(list.peerTree->topLevelItem(0));
        const auto buttons = [&list] {
            return std::make_tuple(list.buttonConnect->isEnabled(), list.buttonDisconnect->isEnabled(), list.buttonConnect->hasFocus());
        };
        QCOMPARE(buttons(), std::make_tuple(connect, !connect, connect));
        for (const QPushButton* button : {list.buttonRateDrop, list.buttonRetrain})
            QCOMPARE(QString(button->isHidden() ? "hidden" : button->isEnabled() ? "enabled" : "disabled"), pots);

        // The call on the selected remote comes and goes with the next list.
        const QString flipped = connect ? selectedRecord + " active:b=true" : "id:i=1";
        feedPeers({flipped, otherRecord});
        QCOMPARE(buttons(), std::make_tuple(!connect, connect, !connect));
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

    void title_data()
    {
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QString>("sip");
        QTest::addColumn<QString>("title");

        // The cache keeps earlier answers, so "no answer" is an answer that is not enabled.
        QTest::newRow("both disabled") << "enabled:b=false connected:b=true" << "enabled:b=false online:b=true"
                                       << "Select Remote ORVANE Unit";
        QTest::newRow("directory online with NAT") << "enabled=true connected=true nat_type=Cone" << "" << "Relaybook Online (Cone)";
        QTest::newRow("directory offline") << "enabled:b=true nat_type=Symmetric" << "" << "Relaybook Offline";
        QTest::newRow("SIP online with status") << "" << "enabled:b=true online:b=true status=Reg" << "SIP Online (Reg)";
        QTest::newRow("both") << "enabled:b=true connected:b=true" << "enabled:b=true online:b=false status=403"
                              << "Relaybook Online\nSIP Offline (403)";
    }

    void title()
    {
        QFETCH(QString, directory);
        QFETCH(QString, sip);
        QFETCH(QString, title);

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
        feedPeers({kBraidRecord});
        LogCapture log(LOG_DEBUG);
        answer("statusTunnel", parse(R"(<m n="resp"><b k="fail">false</b>
          <m n="sess"><i k="sid">7</i><s k="state">RETIRED</s><s k="reason">decoy</s></m>
          <m n="node"><m n="sess"><i k="sid">5</i><s k="state">SEARCHING</s></m>
            <m n="sess"><i k="sid">7</i><s k="state">ACTIVE</s></m><m n="sess"><i k="sid">9</i></m></m>
          <m n="node"><m n="sess"><i k="sid">7</i><s k="state">SEARCHING</s></m></m></m>)"));
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("Van\nConnected (Braid)"));
        const QString lines = QString::fromStdString(log.all());
        QVERIFY(lines.contains("braid sess sid=5 peer sid=7") && lines.contains("braid sess sid=7 peer sid=7"));
        QVERIFY(!lines.contains("braid sess sid=9"));

        // Without a node, the status stays.
        answer("statusTunnel", parse(R"(<m n="resp"><b k="fail">true</b></m>)"));
        QCOMPARE(list.peerTree->topLevelItem(0)->text(0), QString("Van\nConnected (Braid)"));
    }
};

QTEST_MAIN(TestPeerList)
#include "test_peerlist.moc"
