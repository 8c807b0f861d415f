#include "configurenetwork.h"
#include "deviceclassicons.h"
#include "netfeeder.h"
#include "platformkey.h"

#include <QMessageBox>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

namespace {
// A wireless device as the network manager describes it at depth 1.
const char* const kWireless = R"(<m n="resp"><m n="node"><s k="name">wlan0</s><s k="display_name">Wireless</s>
  <s k="type">wifi</s>
  <m n="status"><b k="enabled">true</b><b k="installed">true</b><s k="class">wifi</s><u k="signal">60</u>
    <s k="address">10.0.0.5</s><s k="status">Associated</s></m>
  <m n="command"><s k="name">apply</s></m>
  <m n="group"><s k="name"></s>
    <m n="option"><s k="name">power</s><s k="display_name">Power Saving</s><s k="display_value">Off</s>
      <b k="defaulted">true</b><b k="advanced">true</b></m>
    <m n="option"><s k="name">region</s><s k="display_name">Region</s><s k="display_value">Europe</s><b k="defaulted">false</b></m></m>
  <m n="group"><s k="name">loc</s><m n="command"><s k="name">_add</s></m><m n="command"><s k="name">scan</s></m>
    <m n="node"><s k="name">studio</s><s k="display_name">Studio-Net</s><m n="command"><s k="name">_del</s></m>
      <m n="group"><s k="name"></s>
        <m n="option"><s k="name">essid</s><s k="display_name">Network Name</s><s k="display_value">Studio-Net</s></m>
        <m n="option"><s k="name">channel</s><s k="display_name">Channel</s><s k="display_value">6</s>
          <b k="defaulted">true</b><b k="advanced">true</b></m></m></m>
    <m n="node"><s k="name">setup</s><s k="display_name">Setup</s>
      <m n="group"><s k="name"></s>
        <m n="option"><s k="name">essid</s><s k="display_name">Network Name</s><s k="display_value">Setup</s></m></m></m>
  </m></m></m>)";
const char* const kWired = R"(<m n="resp"><m n="node"><s k="name">eth0</s><s k="display_name">Ethernet</s>
  <s k="type">wired</s><m n="status"><b k="enabled">false</b><b k="installed">true</b><s k="class">wired</s></m>
  <m n="group"><s k="name"></s>
    <m n="option"><s k="name">dhcp</s><s k="display_name">Address Mode</s><s k="display_value">DHCP</s></m></m></m></m>)";
const char* const kScanResults = R"(<m n="wifi">
  <m n="net"><s k="essid">Caf&#233;</s><s k="bssid">aa:bb</s><u k="signal">80</u><s k="sec">none</s></m>
  <m n="net"><s k="essid">Office</s><s k="bssid">cc:dd</s><u k="signal">20</u><s k="sec">wpa2</s></m>
  <m n="net"><s k="essid">Hidden</s><s k="bssid">ee:ff</s><u k="signal">50</u><s k="sec"></s></m></m>)";

QTreeWidgetItem* findRow(QTreeWidget* tree, const QString& path)
{
    return ConfigParser::selectPath(tree, path) ? tree->currentItem() : nullptr;
}

std::string tree(const char* xmls)
{
    return cachefeeder::tree(xmls);
}

// Answers the next question box with the given button, once it is up.
void answerQuestion(QMessageBox::StandardButton button, QString* text)
{
    QTimer::singleShot(0, [button, text] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        *text = box->windowTitle() + "|" + box->text();
        box->button(button)->click();
    });
}
} // namespace

class TestConfigureNetwork : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { deviceclassicons::fill(); }
    void init();
    void cleanup() { delete m_screen; }
    void describesTheDevice();
    void scanPageOnlyForWireless();
    void locationButtonsFollowSelection();
    void editPathsAndSelectionSurviveReturn();
    void advancedShowsRowsWithoutRereading();
    void scan();
    void locationCommands();
    void notifications();
    void keypad();

private:
    void show(const std::string& id, const char* answer);

    ConfigureNetwork* m_screen = nullptr;
};

void TestConfigureNetwork::init()
{
    m_screen = new ConfigureNetwork;
    QVERIFY(showActive(m_screen));
}

// As the stack does it: the device id, the screen on show (which asks), the answer.
void TestConfigureNetwork::show(const std::string& id, const char* answer)
{
    cachefeeder::RequestLog log;
    m_screen->setSelectedID(id);
    m_screen->paneAboutToShow();
    QCOMPARE(log.lastTree(),
             Message("cfgDescribe", Params(("path=netmgr.devices." + id + " status=raw depth:u=1").c_str())).dump_text());
    cachefeeder::answer("networkDevice", answer);
}

void TestConfigureNetwork::describesTheDevice()
{
    show("wlan0", kWireless);
    QCOMPARE(m_screen->labelDeviceName->text(), QString("Wireless"));
    QCOMPARE(m_screen->labelID->text(), QString("wlan0"));
    QCOMPARE(m_screen->labelStatus->text(), QString("Current address '10.0.0.5'."));
    QCOMPARE(m_screen->labelStatus2->text(), QString("Associated"));
    QVERIFY(m_screen->labelSignalIcon->isVisibleTo(m_screen));
    QCOMPARE(m_screen->labelSignalIcon->pixmap(Qt::ReturnByValue).toImage(), QPixmap(":/icons/signal_strength_3.png").toImage());
    QVERIFY(m_screen->buttonApply->isEnabled());
    QVERIFY(m_screen->buttonAddLocation->isEnabled());
    QCOMPARE(m_screen->treeSettings->topLevelItemCount(), 2);
    QCOMPARE(m_screen->treeLocations->topLevelItemCount(), 2);
    QCOMPARE(m_screen->treeScan->topLevelItem(0)->text(0), QString("Scan to see nearby wifi networks."));

    // Only this screen's last answer counts: later ones belong to whoever asked.
    cachefeeder::answer("networkDevice", kWired);
    QCOMPARE(m_screen->labelDeviceName->text(), QString("Wireless"));

    show("eth0", kWired);
    QVERIFY(!m_screen->buttonApply->isEnabled());
    QCOMPARE(m_screen->labelStatus->text(), QString("Installed but disabled."));
    QVERIFY(!m_screen->labelSignalIcon->isVisibleTo(m_screen));
    QCOMPARE(m_screen->labelDeviceIcon->pixmap(Qt::ReturnByValue).toImage(),
             deviceclassicons::lookup("wired", false, true).pixmap(32, 32).toImage());
}

void TestConfigureNetwork::scanPageOnlyForWireless()
{
    show("wlan0", kWireless);
    QVERIFY(m_screen->tabNetwork->indexOf(m_screen->tabScan) >= 0);
    QVERIFY(!m_screen->buttonScan->isHidden());
    m_screen->paneAboutToHide();
    QCOMPARE(m_screen->tabNetwork->indexOf(m_screen->tabScan), -1);
    show("eth0", kWired);
    QCOMPARE(m_screen->tabNetwork->indexOf(m_screen->tabScan), -1);
    QCOMPARE(m_screen->tabNetwork->count(), 3);
}

void TestConfigureNetwork::locationButtonsFollowSelection()
{
    show("wlan0", kWireless);
    QTreeWidget* locations = m_screen->treeLocations;
    auto state = [this] {
        return QString("%1%2").arg(m_screen->buttonEditLocationSetting->isEnabled() ? "edit" : "-",
                                   m_screen->buttonDeleteLocation->isEnabled() ? " delete" : "");
    };
    findRow(locations, "studio");
    QCOMPARE(state(), QString("- delete"));
    findRow(locations, "setup");
    QCOMPARE(state(), QString("-"));
    findRow(locations, "setup.essid");
    QCOMPARE(state(), QString("edit"));
    locations->clearSelection();
    QCOMPARE(state(), QString("-"));
}

void TestConfigureNetwork::editPathsAndSelectionSurviveReturn()
{
    std::vector<std::string> paths;
    connect(m_screen, &ConfigureNetwork::editNetworkSetting, [&paths](const std::string& p) { paths.push_back(p); });
    show("wlan0", kWireless);
    findRow(m_screen->treeSettings, "region");
    QVERIFY(m_screen->buttonEditSetting->isEnabled());
    QTest::mouseClick(m_screen->buttonEditSetting, Qt::LeftButton);
    findRow(m_screen->treeLocations, "studio.essid");
    QTest::mouseClick(m_screen->buttonEditLocationSetting, Qt::LeftButton);
    QCOMPARE(paths, (std::vector<std::string>{"netmgr.devices.wlan0.region", "netmgr.devices.wlan0.studio.essid"}));

    // Back from the editor: the device is read again and the same rows come back selected.
    m_screen->paneAboutToHide();
    show("wlan0", kWireless);
    QCOMPARE(ConfigParser::selectedPath(m_screen->treeSettings), QString("region"));
    QCOMPARE(ConfigParser::selectedPath(m_screen->treeLocations), QString("studio.essid"));
    QVERIFY(m_screen->buttonEditLocationSetting->isEnabled());
}

void TestConfigureNetwork::advancedShowsRowsWithoutRereading()
{
    show("wlan0", kWireless);
    QTreeWidgetItem* power = m_screen->treeSettings->topLevelItem(0);
    QTreeWidgetItem* channel = m_screen->treeLocations->topLevelItem(0)->child(1);
    QVERIFY(power->isHidden() && channel->isHidden());
    cachefeeder::RequestLog log;
    m_screen->checkAdvanced->setChecked(true);
    QVERIFY(!power->isHidden() && !channel->isHidden());
    m_screen->checkAdvanced->setChecked(false);
    QVERIFY(power->isHidden() && channel->isHidden());
    QVERIFY(log.requests().empty());
}

void TestConfigureNetwork::scan()
{
    show("wlan0", kWireless);
    cachefeeder::RequestLog log;
    QTest::mouseClick(m_screen->buttonScan, Qt::LeftButton);
    QCOMPARE(log.lastTree(), tree(R"(<m n="cfgCmd"><s k="name">scan</s><s k="path">netmgr.devices.wlan0</s><s k="group">loc</s></m>)"));
    QVERIFY(!m_screen->buttonScan->isEnabled());
    QCOMPARE(m_screen->treeScan->topLevelItem(0)->text(0), QString("Scanning..."));

    // Results for another device leave the scan running.
    netfeeder::notify("wifi:wlan1", kScanResults);
    QCOMPARE(m_screen->treeScan->topLevelItemCount(), 1);
    netfeeder::notify("wifi:wlan0", kScanResults);
    QTreeWidget* results = m_screen->treeScan;
    QCOMPARE(results->topLevelItemCount(), 3);
    QStringList shown;
    for (int i = 0; i < 3; ++i) {
        const QTreeWidgetItem* row = results->topLevelItem(i);
        const bool locked = row->icon(2).pixmap(16).toImage() == QIcon(":/icons/locked.png").pixmap(16).toImage();
        shown << row->text(0) + " " + row->text(1) + (locked ? " locked" : " open");
    }
    QCOMPARE(shown, QStringList({"80% Café open", "20% Office locked", "50% Hidden locked"}));
    QCOMPARE(results->topLevelItem(1)->icon(0).pixmap(16).toImage(),
             QIcon(":/icons/signal_strength_1.png").pixmap(16).toImage());
    QCOMPARE(results->topLevelItem(1)->foreground(0).color(), QColor(96, 96, 96));
    QCOMPARE(results->topLevelItem(1)->data(0, ConfigParser::NameRole).toString(), QString("Office"));
    QCOMPARE(QApplication::focusWidget(), results);
    QVERIFY(m_screen->buttonScan->isEnabled());
    QVERIFY(m_screen->buttonCreateLocation->isEnabled());
    QVERIFY(results->topLevelItem(0)->isSelected());

    results->topLevelItem(1)->setSelected(true);
    results->topLevelItem(0)->setSelected(false);
    QTest::mouseClick(m_screen->buttonCreateLocation, Qt::LeftButton);
    QCOMPARE(log.requests().back().dump_text(), tree(R"(<m n="cfgCmd"><s k="name">pick</s>
        <s k="path">netmgr.devices.wlan0.scanner</s><s k="group"></s><s k="seq">pickWifiNetwork</s><s k="sel">cc:dd</s></m>)"));
}

void TestConfigureNetwork::locationCommands()
{
    show("wlan0", kWireless);
    cachefeeder::RequestLog log;
    QTest::mouseClick(m_screen->buttonAddLocation, Qt::LeftButton);
    QCOMPARE(log.requests().back().dump_text(), tree(R"(<m n="cfgCmd"><s k="name">_add</s>
        <s k="path">netmgr.devices.wlan0</s><s k="group">loc</s><s k="seq">addLocation</s></m>)"));

    QSignalSpy modal(m_screen, &ConfigureNetwork::changeModal);
    findRow(m_screen->treeLocations, "studio");
    QString question;
    answerQuestion(QMessageBox::No, &question);
    QTest::mouseClick(m_screen->buttonDeleteLocation, Qt::LeftButton);
    QCOMPARE(question, QString("Warning!|Do you really wish to delete this network location?\n\nStudio-Net"));
    QCOMPARE(log.requests().size(), std::size_t(1));
    answerQuestion(QMessageBox::Yes, &question);
    QTest::mouseClick(m_screen->buttonDeleteLocation, Qt::LeftButton);
    QCOMPARE(log.requests().back().dump_text(), tree(R"(<m n="cfgCmd"><s k="name">_del</s>
        <s k="path">netmgr.devices.wlan0.studio</s><s k="seq">deleteLocation</s></m>)"));
    QCOMPARE(modal.count(), 4);

    QSignalSpy done(m_screen, &ConfigureNetwork::configureDone);
    QTest::mouseClick(m_screen->buttonApply, Qt::LeftButton);
    QCOMPARE(log.requests().back().dump_text(), tree(R"(<m n="cfgCmd"><s k="name">apply</s><s k="path">netmgr.devices.wlan0</s></m>)"));
    QTest::mouseClick(m_screen->buttonDone, Qt::LeftButton);
    QCOMPARE(done.count(), 2);
}

void TestConfigureNetwork::notifications()
{
    show("wlan0", kWireless);
    cachefeeder::RequestLog log;
    auto data = [](const std::string& name, const std::string& type) {
        Message msg("data");
        msg.params().set_string("name", name);
        msg.params().set_string("type", type);
        netfeeder::notify("cfgData:" + name, msg);
    };
    data("netmgr.devices.wlan1", "add");
    data("netmgr.devices.eth0.home", "add");
    QVERIFY(log.requests().empty());
    data("netmgr.devices.wlan0.home", "add");
    QCOMPARE(log.lastTree(), Message("cfgDescribe", Params("path=netmgr.devices.wlan0.home status=raw depth:u=0")).dump_text());
    m_screen->tabNetwork->setCurrentWidget(m_screen->tabStatus);
    cachefeeder::answer("networkDeviceLocation", R"(<m n="resp"><m n="node"><s k="name">home</s>
        <s k="display_name">Home</s><m n="command"><s k="name">_del</s></m><m n="group"><s k="name"></s>
        <m n="option"><s k="name">essid</s><s k="display_name">Network Name</s><s k="display_value">Home</s></m></m></m></m>)");
    QCOMPARE(m_screen->treeLocations->topLevelItemCount(), 3);
    QTreeWidgetItem* home = m_screen->treeLocations->currentItem();
    QCOMPARE(home->text(0), QString("Home"));
    QVERIFY(home->isExpanded());
    QVERIFY(!m_screen->treeLocations->topLevelItem(0)->isExpanded());
    QCOMPARE(m_screen->tabNetwork->currentWidget(), m_screen->tabLocations);

    // A second answer for the same location replaces its row.
    data("netmgr.devices.wlan0.home", "add");
    cachefeeder::answer("networkDeviceLocation", R"(<m n="resp"><m n="node"><s k="name">home</s>
        <s k="display_name">Home 2</s></m></m>)");
    QCOMPARE(m_screen->treeLocations->topLevelItemCount(), 3);
    QCOMPARE(m_screen->treeLocations->topLevelItem(2)->text(0), QString("Home 2"));

    data("netmgr.devices.wlan0.studio", "delete");
    QCOMPARE(m_screen->treeLocations->topLevelItemCount(), 2);

    netfeeder::notify("cfgStatus:netmgr.devices.wlan0", R"(<m n="node"><s k="name">wlan0</s><b k="enabled">false</b>
        <b k="installed">true</b><s k="status">Switched off</s></m>)");
    QCOMPARE(m_screen->labelStatus->text(), QString("Installed but disabled."));
    QCOMPARE(m_screen->labelStatus2->text(), QString("Switched off"));
    QVERIFY(!m_screen->labelSignalIcon->isVisibleTo(m_screen));

    // Hidden, the screen no longer follows the device.
    m_screen->paneAboutToHide();
    netfeeder::notify("cfgStatus:netmgr.devices.wlan0", R"(<m n="node"><s k="name">wlan0</s><s k="status">Again</s></m>)");
    QCOMPARE(m_screen->labelStatus2->text(), QString("Switched off"));
}

void TestConfigureNetwork::keypad()
{
    show("wlan0", kWireless);
    m_screen->showStatusTab();
    QCOMPARE(QApplication::focusWidget(), m_screen->tabNetwork->focusProxy());
    // Enter on the Status page goes nowhere; on Settings into the tree, then to its Edit button.
    m_screen->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->tabNetwork->focusProxy());
    m_screen->tabNetwork->setCurrentWidget(m_screen->tabSettings);
    m_screen->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->treeSettings);
    QCOMPARE(ConfigParser::selectedPath(m_screen->treeSettings), QString("region"));
    m_screen->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEditSetting);
    m_screen->tabNetwork->setCurrentWidget(m_screen->tabLocations);
    m_screen->tabNetwork->setFocus();
    m_screen->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->treeLocations);
    QCOMPARE(ConfigParser::selectedPath(m_screen->treeLocations), QString("studio"));
    // In a tree Down moves the row and Right opens a location; elsewhere Down and Up move the focus.
    for (int keycode : {Qt::Key_Down, Qt::Key_Right, Qt::Key_Down}) {
        m_screen->handleKey(keycode, true, false);
        m_screen->handleKey(keycode, false, false);
    }
    QCOMPARE(ConfigParser::selectedPath(m_screen->treeLocations), QString("setup.essid"));
    m_screen->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonEditLocationSetting);
    m_screen->buttonApply->setFocus();
    m_screen->handleKey(Qt::Key_Down, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonDone);
    m_screen->handleKey(Qt::Key_Up, true, false);
    QCOMPARE(QApplication::focusWidget(), m_screen->buttonApply);

    m_screen->tabNetwork->setCurrentWidget(m_screen->tabSettings);
    m_screen->showStatusTab();
    QCOMPARE(m_screen->tabNetwork->currentWidget(), m_screen->tabStatus);
}

QTEST_MAIN(TestConfigureNetwork)
#include "test_configurenetwork.moc"
