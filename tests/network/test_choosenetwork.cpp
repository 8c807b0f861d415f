#include "choosenetwork.h"
#include "deviceclassicons.h"
#include "netfeeder.h"
#include "platformkey.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
const char* const kUp = "class=wired enabled:b=true installed:b=true";

QStringList rows(const QListWidget* list)
{
    QStringList ids;
    for (int row = 0; row < list->count(); ++row)
        ids << QString::fromStdString(static_cast<NetworkListItem*>(list->item(row))->id());
    return ids;
}

Message listOf(const QStringList& ids)
{
    std::vector<Message> devices;
    for (const QString& id : ids)
        devices.push_back(netfeeder::device(id.toStdString(), kUp));
    return netfeeder::deviceList(devices);
}
} // namespace

class TestChooseNetwork : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { deviceclassicons::fill(); }
    void init();
    void cleanup() { delete m_screen; }
    void listMergesInIdOrder();
    void singleDeviceAnswers();
    void statusShown_data();
    void statusShown();
    void signalSummary();
    void netReadyFromBothShapes();
    void dataNotifications();
    void requests();
    void restrictedHidesConfigure();

private:
    NetworkListItem* current() const { return static_cast<NetworkListItem*>(m_screen->networkList->currentItem()); }

    ChooseNetwork* m_screen = nullptr;
};

void TestChooseNetwork::init()
{
    m_screen = new ChooseNetwork;
    QVERIFY(showActive(m_screen));
    QVERIFY(!m_screen->buttonEnable->isEnabled());
    QVERIFY(!m_screen->buttonDisable->isEnabled());
}

void TestChooseNetwork::listMergesInIdOrder()
{
    std::vector<std::string> selected;
    connect(m_screen, &ChooseNetwork::newNetworkSelected, [&selected](const std::string& id) { selected.push_back(id); });
    cachefeeder::answer("networkList", listOf({"b", "a", "c"}));
    QCOMPARE(rows(m_screen->networkList), QStringList({"a", "b", "c"}));
    // The first device in becomes current and is announced.
    QCOMPARE(current()->id(), std::string("a"));
    QVERIFY(!selected.empty());
    QCOMPARE(selected.front(), std::string("a"));

    NetworkListItem* a = current();
    cachefeeder::answer("networkList", listOf({"a", "c", "d"}));
    QCOMPARE(rows(m_screen->networkList), QStringList({"a", "c", "d"}));
    QCOMPARE(current(), a);

    // A duplicate id keeps its first node; no devices node empties the list.
    Message duplicate = listOf({"a", "c", "d"});
    Message renamed = netfeeder::device("a", kUp);
    renamed.params().set_string("display_name", "Second");
    duplicate.get_child("node", 0).get_child("group", 0).add_child(renamed);
    cachefeeder::answer("networkList", duplicate);
    QCOMPARE(a->text(), QString("Device a"));
    cachefeeder::answer("networkList", Message("resp"));
    QCOMPARE(m_screen->networkList->count(), 0);
}

void TestChooseNetwork::singleDeviceAnswers()
{
    cachefeeder::answer("networkList", listOf({"b"}));
    Message answer("resp");
    answer.add_child(netfeeder::device("a", "class=wired enabled:b=false installed:b=true"));
    cachefeeder::answer("networkDevice", answer);
    QCOMPARE(rows(m_screen->networkList), QStringList({"b", "a"}));

    Message disabled("resp");
    disabled.add_child(netfeeder::device("b", "class=wired enabled:b=false installed:b=true"));
    cachefeeder::answer("networkDevice", disabled);
    QCOMPARE(m_screen->labelStatus->text(), QString("Installed but disabled."));
    disabled.get_child("node", 0).get_child("status", 0).params().set_bool("enabled", true);
    cachefeeder::answer("networkDevice", disabled);
    // An update without status keeps the status it had.
    Message noStatus("resp");
    Message& node = noStatus.add_child("node");
    node.params().set_string("name", "b");
    node.params().set_string("display_name", "Renamed");
    cachefeeder::answer("networkDevice", noStatus);
    QCOMPARE(m_screen->networkList->item(0)->text(), QString("Renamed"));
    QCOMPARE(m_screen->labelStatus->text(), QString("Installed and enabled."));
}

void TestChooseNetwork::statusShown_data()
{
    QTest::addColumn<QString>("status");
    QTest::addColumn<bool>("viewOnly");
    QTest::addColumn<QString>("primary");
    QTest::addColumn<QString>("secondary");
    QTest::addColumn<QString>("buttons");
    QTest::addColumn<int>("signalIcon");
    QTest::addColumn<bool>("black");
    QTest::addColumn<bool>("iconEnabled");

    const QString wifi = "class=wifi status=Associated ";
    QTest::newRow("up, no address") << wifi + "enabled:b=true installed:b=true" << false << "Installed and enabled."
                                    << "Associated" << "configure disable" << -1 << true << true;
    QTest::newRow("address, signal 0") << wifi + "enabled:b=true installed:b=true address=10.0.0.5 signal:u=0"
                                       << false << "Current address '10.0.0.5'." << "Associated"
                                       << "configure disable" << 0 << true << true;
    QTest::newRow("disabled, signal 25") << wifi + "enabled:b=false installed:b=true signal:u=25" << false
                                         << "Installed but disabled." << "Associated" << "configure enable" << 1
                                         << true << false;
    QTest::newRow("enabled, missing, signal 26") << wifi + "enabled:b=true installed:b=false signal:u=26" << false
                                                 << "Enabled but not installed." << "Associated"
                                                 << "configure disable" << 2 << false << true;
    QTest::newRow("disabled, missing, signal 100") << wifi + "enabled:b=false installed:b=false signal:u=100"
                                                   << false << "Not installed and disabled." << "Associated"
                                                   << "configure enable" << 4 << false << false;
    QTest::newRow("view-only, installed") << "class=phone enabled:b=false installed:b=true status=Idle" << true
                                          << "Installed." << "" << "" << -1 << true << true;
    QTest::newRow("view-only, missing") << "class=phone enabled:b=false installed:b=false status=Idle" << true
                                        << "Not installed." << "" << "" << -1 << false << true;
}

void TestChooseNetwork::statusShown()
{
    QFETCH(QString, status);
    QFETCH(bool, viewOnly);
    QFETCH(int, signalIcon);
    QFETCH(bool, iconEnabled);
    // A device with both switches usable first, so that every button has to follow the row's.
    cachefeeder::answer("networkList", netfeeder::deviceList({netfeeder::device("dev", "class=wired enabled:b=false installed:b=true")}));
    const Message node = netfeeder::device("dev", status.toStdString(), viewOnly);
    cachefeeder::answer("networkList", netfeeder::deviceList({node}));

    QTEST(m_screen->labelStatus->text(), "primary");
    QTEST(m_screen->labelStatus2->text(), "secondary");
    QStringList buttons;
    if (m_screen->buttonConfigure->isEnabled())
        buttons << "configure";
    if (m_screen->buttonDisable->isEnabled())
        buttons << "disable";
    if (m_screen->buttonEnable->isEnabled())
        buttons << "enable";
    QTEST(buttons.join(' '), "buttons");
    QCOMPARE(m_screen->labelSignalIcon->isVisibleTo(m_screen), signalIcon >= 0);
    if (signalIcon >= 0) {
        const QImage expected = QPixmap(QStringLiteral(":/icons/signal_strength_%1.png").arg(signalIcon)).toImage();
        QCOMPARE(m_screen->labelSignalIcon->pixmap(Qt::ReturnByValue).toImage(), expected);
        QCOMPARE(m_screen->labelSignal->text(), status.section("signal:u=", 1) + "%");
    }
    QTEST(current()->foreground().color() == QColor(Qt::black), "black");
    const Params fields(status.toStdString().c_str());
    const QIcon expectedIcon = deviceclassicons::lookup(QString::fromStdString(fields.get_string("class", "")),
                                                        iconEnabled, fields.get_bool("installed", false));
    QCOMPARE(current()->icon().pixmap(32).toImage(), expectedIcon.pixmap(32).toImage());
    QCOMPARE(m_screen->isSelectedInstalled(), fields.get_bool("installed", false));
    QCOMPARE(m_screen->isSelectedViewOnly(), viewOnly);
}

// Two radios give "several"; one going missing leaves the other's strength; deleting it, none.
void TestChooseNetwork::signalSummary()
{
    QSignalSpy one(m_screen, &ChooseNetwork::signalStrength);
    QSignalSpy off(m_screen, &ChooseNetwork::signalStrengthOff);
    QSignalSpy multi(m_screen, &ChooseNetwork::signalStrengthMulti);
    cachefeeder::answer("networkList", netfeeder::deviceList({
        netfeeder::device("eth0", kUp),
        netfeeder::device("wlan0", "class=wifi enabled:b=true installed:b=true signal:u=70"),
        netfeeder::device("wwan0", "class=3g enabled:b=true installed:b=true signal:u=40")}));
    QCOMPARE(multi.count(), 1);
    QCOMPARE(one.count(), 1);
    QCOMPARE(one.last().first().toUInt(), 70u);

    netfeeder::notify("cfgStatus:netmgr.devices.wlan0",
                      "<m n=\"node\"><s k=\"name\">wlan0</s><s k=\"class\">wifi</s><b k=\"enabled\">true</b>"
                      "<b k=\"installed\">false</b><u k=\"signal\">70</u></m>");
    QCOMPARE(one.count(), 2);
    QCOMPARE(one.last().first().toUInt(), 40u);

    netfeeder::notify("cfgData:netmgr.devices.wwan0",
                      "<m n=\"data\"><s k=\"name\">netmgr.devices.wwan0</s><s k=\"type\">delete</s></m>");
    QCOMPARE(off.count(), 1);
    QCOMPARE(rows(m_screen->networkList), QStringList({"eth0", "wlan0"}));
}

void TestChooseNetwork::netReadyFromBothShapes()
{
    QSignalSpy changed(m_screen, &ChooseNetwork::netReadyChanged);
    cachefeeder::answer("networkList", netfeeder::deviceList({netfeeder::device("eth0", kUp)}, 1));
    QVERIFY(m_screen->getNetReady());
    cachefeeder::answer("networkList", netfeeder::deviceList({netfeeder::device("eth0", kUp)}, 2));
    QCOMPARE(changed.count(), 1);
    netfeeder::notify("cfgStatus:netmgr.devices", R"(<m n="node"><u k="num_alive">0</u><b k="tunnel_alive">false</b></m>)");
    QVERIFY(!m_screen->getNetReady());
    netfeeder::notify("cfgStatus:netmgr.devices", R"(<m n="node"><u k="num_alive">3</u></m>)");
    QVERIFY(m_screen->getNetReady());
    netfeeder::notify("cfgStatus:netmgr.devices", R"(<m n="node"><b k="tunnel_alive">true</b></m>)");
    QVERIFY(!m_screen->getNetReady());
    Message withoutCount = netfeeder::deviceList({netfeeder::device("eth0", kUp)}, 0);
    withoutCount.get_child("node", 0).get_child("status", 0).params().remove("num_alive");
    cachefeeder::answer("networkList", netfeeder::deviceList({netfeeder::device("eth0", kUp)}, 1));
    cachefeeder::answer("networkList", withoutCount);
    QVERIFY(!m_screen->getNetReady());
    netfeeder::notify("cfgStatus:netmgr.devices", R"(<m n="node"><u k="num_alive">3</u></m>)");
    // A list without the overall status counts as nothing alive.
    cachefeeder::answer("networkList", netfeeder::deviceList({netfeeder::device("eth0", kUp)}));
    QVERIFY(!m_screen->getNetReady());
    QCOMPARE(changed.count(), 8);
}

void TestChooseNetwork::dataNotifications()
{
    cachefeeder::answer("networkList", listOf({"eth0"}));
    auto data = [](const std::string& name, const std::string& type, const std::string& display = std::string()) {
        Message msg("data");
        msg.params().set_string("name", name);
        msg.params().set_string("type", type);
        if (!display.empty())
            msg.add_child("descr").params().set_string("display_value", display);
        netfeeder::notify("cfgData:" + name, msg);
    };
    data("netmgr.devices.eth0.dhcp", "value", "Static");
    QCOMPARE(current()->text(), QString("Device eth0"));
    data("netmgr.devices.eth0.name", "value", "Studio LAN");
    QCOMPARE(current()->text(), QString("Studio LAN"));

    cachefeeder::RequestLog log;
    data("netmgr.devices.wlan1", "add");
    data("netmgr.devices.wlan1.loc", "add");
    data("netmgr.tunnel.x", "add");
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(log.lastTree(), Message("cfgDescribe", Params("path=netmgr.devices.wlan1 status=raw depth:u=1")).dump_text());

    data("netmgr.devices.wlan9.name", "value", "Nobody");

    // Deleting the current device shows and announces the one that takes its place.
    cachefeeder::answer("networkList", netfeeder::deviceList({netfeeder::device("eth0", kUp),
        netfeeder::device("eth1", "class=wired enabled:b=false installed:b=false")}));
    std::vector<std::string> selected;
    connect(m_screen, &ChooseNetwork::newNetworkSelected, [&selected](const std::string& id) { selected.push_back(id); });
    data("netmgr.devices.eth0.dhcp", "delete");
    QCOMPARE(m_screen->networkList->count(), 2);
    data("netmgr.devices.eth0", "delete");
    QCOMPARE(rows(m_screen->networkList), QStringList({"eth1"}));
    QCOMPARE(m_screen->labelStatus->text(), QString("Not installed and disabled."));
    QCOMPARE(selected, std::vector<std::string>{"eth1"});
}

void TestChooseNetwork::requests()
{
    cachefeeder::RequestLog log;
    m_screen->handleEnable();
    m_screen->deleteNetwork();
    QVERIFY(log.requests().empty());

    cachefeeder::answer("networkList", listOf({"eth0"}));
    m_screen->paneAboutToShow();
    QTest::mouseClick(m_screen->buttonDisable, Qt::LeftButton);
    QCOMPARE(log.lastTree(), cachefeeder::tree(R"(<m n="cfgSetOption"><s k="path">netmgr.devices.eth0</s>
        <m n="option"><s k="name">enabled</s><b k="value">false</b></m></m>)"));
    QCOMPARE(log.requests().back().params().get_string("seq", ""), std::string("cfgSetOption"));

    // The status coming back flips the buttons and moves the focus to the one now enabled.
    m_screen->buttonDisable->setFocus();
    netfeeder::notify("cfgStatus:netmgr.devices.eth0",
                      R"(<m n="node"><s k="name">eth0</s><s k="class">wired</s><b k="enabled">false</b><b k="installed">true</b></m>)");
    QVERIFY(m_screen->buttonEnable->isEnabled());
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEnable);
    QCOMPARE(m_screen->labelStatus->text(), QString("Installed but disabled."));
    QTest::mouseClick(m_screen->buttonEnable, Qt::LeftButton);
    QCOMPARE(log.lastTree(), cachefeeder::tree(R"(<m n="cfgSetOption"><s k="path">netmgr.devices.eth0</s>
        <m n="option"><s k="name">enabled</s><b k="value">true</b></m></m>)"));
    netfeeder::notify("cfgStatus:netmgr.devices.eth0",
                      R"(<m n="node"><s k="name">eth0</s><s k="class">wired</s><b k="enabled">true</b><b k="installed">true</b></m>)");
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonDisable);
    // From Configure the focus stays put.
    m_screen->buttonConfigure->setFocus();
    netfeeder::notify("cfgStatus:netmgr.devices.eth0",
                      R"(<m n="node"><s k="name">eth0</s><s k="class">wired</s><b k="enabled">false</b><b k="installed">true</b></m>)");
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonConfigure);

    m_screen->deleteNetwork();
    QCOMPARE(log.requests().back().dump_text(), cachefeeder::tree(R"(<m n="cfgCmd"><s k="path">netmgr.devices.eth0</s><s k="name">_del</s></m>)"));

    QSignalSpy configure(m_screen, &ChooseNetwork::configureRequested);
    QTest::mouseClick(m_screen->buttonConfigure, Qt::LeftButton);
    QCOMPARE(configure.count(), 1);
}

void TestChooseNetwork::restrictedHidesConfigure()
{
    m_screen->handleRestrictedToggled(true);
    QVERIFY(!m_screen->buttonConfigure->isVisible());
    m_screen->handleRestrictedToggled(false);
    QVERIFY(m_screen->buttonConfigure->isVisible());
}

QTEST_MAIN(TestChooseNetwork)
#include "test_choosenetwork.moc"
