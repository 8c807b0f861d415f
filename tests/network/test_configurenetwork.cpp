#include "cachefeeder.h"
#include "configurenetwork.h"
#include "deviceclassicons.h"
#include "logcapture.h"
#include "modalwatch.h"
#include "platformkey.h"
#include "tunneltree.h"

#include <QtTest>

using namespace cachefeeder;
using namespace netfeeder;

namespace {
// A wireless device as the network manager describes it at depth 1: "studio" can be deleted,
// "setup" cannot; an option without "defaulted" counts as changed.
const Message kWireless = tunnelTree(
    "resp {node name=wlan0 display_name=Wireless type=wifi {status enabled:b=true installed:b=true class=wifi signal:u=60 "
    "address=10.0.0.5 status=Associated} {command name=apply} {group name= "
    "{option name=power display_name=Power display_value=Off defaulted:b=true advanced:b=true} "
    "{option name=region display_name=Region display_value=EU defaulted:b=false} "
    "{option name=dhcp display_name=Mode display_value=DHCP defaulted:b=true}} {group name=loc {command name=_add} {command name=scan} "
    "{node name=studio display_name=Studio {command name=_del} {group name= {option name=essid display_name=Name display_value=Studio} "
    "{option name=channel display_name=Channel display_value=6 defaulted:b=true advanced:b=true}}} {node name=setup display_name=Setup "
    "{command name=apply} {group name= {option name=essid display_name=Name display_value=Setup defaulted:b=true}}}}}}");
const Message kWired = tunnelTree("resp {node name=eth0 display_name=Ethernet type=wired {status enabled:b=false installed:b=true class=wired} "
                                  "{group name= {option name=dhcp}}}}");
const Message kScanResults = tunnelTree("wifi {net essid=Café bssid=aa:bb signal:u=80 sec=none} {net essid=Office bssid=cc:dd signal:u=20 sec=wpa2}");

} // namespace

class TestConfigureNetwork : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { deviceclassicons::fill(); }
    void init()
    {
        m_screen = new ConfigureNetwork;
        QVERIFY(showActive(m_screen));
    }

    void cleanup() { delete m_screen; }
    void describesTheDevice()
    {
        show("wlan0", Message("resp"));
        answer("networkDevice", kWireless);
        QCOMPARE(header(), QString("Wireless|wlan0|Current address '10.0.0.5'.|Associated|3|4|Apply Add Scan"));
        QCOMPARE(treeText(m_screen->treeSettings), QString("Power=Off-,Region=EU*,Mode=DHCP"));
        QCOMPARE(treeText(m_screen->treeLocations), QString("Studio~, Name=Studio*, Channel=6-,Setup~, Name=Setup"));
        QCOMPARE(treeText(m_screen->treeScan), QString("Scan to see nearby wifi networks."));
        // Advanced rows show and hide without the device being read again.
        RequestLog log;
        m_screen->checkAdvanced->setChecked(true);
        QCOMPARE(treeText(m_screen->treeSettings) + treeText(m_screen->treeLocations),
                 QString("Power=Off,Region=EU*,Mode=DHCPStudio~, Name=Studio*, Channel=6,Setup~, Name=Setup"));
        QVERIFY(log.requests().empty());

        m_screen->paneAboutToHide();
        show("eth0", kWired);
        QCOMPARE(header(), QString("Ethernet|eth0|Installed but disabled.||-1|3|"));
        QCOMPARE(m_screen->labelDeviceIcon->pixmap(Qt::ReturnByValue).toImage(),
                 QIcon(":/icons/wired_x.png").pixmap(32, 32).toImage());
    }

    void selectionEditsAndSurvivesRereading_data()
    {
        table({"path", "resolves", "shown", "edits"}, R"(
setting | region | yes | Power=Off-,Region=EU*#,Mode=DHCP|Apply Add Scan Edit | netmgr.devices.wlan0.region
deletable location | studio | yes | Studio~#, Name=Studio*, Channel=6-,Setup~, Name=Setup|Apply Add Scan Delete |
fixed location | setup | yes | Studio~, Name=Studio*, Channel=6-,Setup~#, Name=Setup|Apply Add Scan |
location option | studio.essid | yes | Studio~+, Name=Studio*#, Channel=6-,Setup~, Name=Setup|Apply Add Scan Edit | netmgr.devices.wlan0.studio.essid
option of a later location | setup.essid | yes | Studio~, Name=Studio*, Channel=6-,Setup~+, Name=Setup#|Apply Add Scan Edit | netmgr.devices.wlan0.setup.essid
unknown option of a location | studio.key | no | Studio~, Name=Studio*, Channel=6-,Setup~, Name=Setup|Apply Add Scan |
unknown setting | gateway | no | Power=Off-,Region=EU*,Mode=DHCP|Apply Add Scan |
nothing |  | no | Power=Off-,Region=EU*,Mode=DHCP|Apply Add Scan |
)");
    }

    // The tree and the buttons with the row selected; back from the editor the device is read again
    // and the same row comes back selected.
    void selectionEditsAndSurvivesRereading()
    {
        const QString path = cell("path");
        const bool resolves = cell("resolves") == "yes";
        const bool inLocations = QString(QTest::currentDataTag()).contains("location");
        QTreeWidget* tree = inLocations ? m_screen->treeLocations : m_screen->treeSettings;
        QStringList edits;
        connect(m_screen, &ConfigureNetwork::editNetworkSetting, [&edits](const std::string& p) { edits << p.c_str(); });
        show("wlan0", kWireless);
        QCOMPARE(ConfigParser::selectPath(tree, path), resolves);
        for (int pass = 0; pass < 2; ++pass) {
            QTEST(treeText(tree) + "|" + buttons(), "shown");
            m_screen->paneAboutToHide();
            show("wlan0", kWireless);
        }
        LogCapture trace(LOG_DEBUG);
        QTest::mouseClick(m_screen->buttonEditSetting, Qt::LeftButton);
        QTest::mouseClick(m_screen->buttonEditLocationSetting, Qt::LeftButton);
        QTEST(edits.join(' '), "edits");
        const std::string logged = (inLocations ? "edit location setting path=" : "edit config setting path=") + edits.join(' ').toStdString();
        QVERIFY(edits.isEmpty() || trace.all().find(logged) != std::string::npos);
    }

    // Create picks the current scan result; deleting a location asks first, the keypad driving the
    // question meanwhile.
    void commands()
    {
        show("wlan0", kWireless);
        RequestLog log;
        QTest::mouseClick(m_screen->buttonScan, Qt::LeftButton);
        QCOMPARE(treeText(m_screen->treeScan) + "|" + buttons(), QString("Scanning...|Apply Add"));
        notify("wifi:wlan0", kScanResults);
        QCOMPARE(treeText(m_screen->treeScan) + "|" + buttons(), QString("80%=Café?#,20%=Office?|Apply Add Scan Create Location"));
        // The open network shows the open lock.
        QCOMPARE(m_screen->treeScan->topLevelItem(0)->icon(2).pixmap(16).toImage(), QIcon(":/icons/unlocked.png").pixmap(16).toImage());
        QCOMPARE(QApplication::focusWidget(), m_screen->treeScan);
        m_screen->treeScan->setCurrentItem(m_screen->treeScan->topLevelItem(1));
        QTest::mouseClick(m_screen->buttonCreateLocation, Qt::LeftButton);
        m_screen->treeScan->clearSelection();
        QTest::mouseClick(m_screen->buttonCreateLocation, Qt::LeftButton);

        QTest::mouseClick(m_screen->buttonAddLocation, Qt::LeftButton);
        QSignalSpy modal(m_screen, &ConfigureNetwork::changeModal);
        ConfigParser::selectPath(m_screen->treeLocations, "studio");
        QString question;
        for (QMessageBox::StandardButton answer : {QMessageBox::No, QMessageBox::Yes}) {
            answerNextQuestion(m_screen, answer, [&question](QMessageBox& box) { question = box.windowTitle() + "|" + box.text(); });
            QTest::mouseClick(m_screen->buttonDeleteLocation, Qt::LeftButton);
            QCOMPARE(question, QString("Warning!|Do you really wish to delete this network location?\n\nStudio"));
        }
        QCOMPARE(QList<QVariantList>(modal), (QList<QVariantList>{{true}, {false}, {true}, {false}}));
        QSignalSpy done(m_screen, &ConfigureNetwork::configureDone);
        QTest::mouseClick(m_screen->buttonApply, Qt::LeftButton);
        QTest::mouseClick(m_screen->buttonDone, Qt::LeftButton);
        QCOMPARE(done.count(), 2);
        QCOMPARE(log.sent(true), QString("cfgCmd group=loc name=scan path=netmgr.devices.wlan0; cfgCmd group= name=pick "
                                         "path=netmgr.devices.wlan0.scanner sel=cc:dd seq=pickWifiNetwork; cfgCmd group=loc name=_add "
                                         "path=netmgr.devices.wlan0 seq=addLocation; cfgCmd name=_del path=netmgr.devices.wlan0.studio "
                                         "seq=deleteLocation; cfgCmd name=apply path=netmgr.devices.wlan0"));
        m_screen->paneAboutToHide();
        QCOMPARE(m_screen->tabNetwork->indexOf(m_screen->tabScan), -1);
    }

    // The backend's own location changes: a deleted one goes; an added one is asked for, then
    // shown last, open and current, the others closed.
    void locationsFollowTheBackend()
    {
        show("wlan0", kWireless);
        ConfigParser::selectPath(m_screen->treeLocations, "setup.essid");
        RequestLog log;
        data("netmgr.devices.wlan0.studio", "delete");
        data("netmgr.devices.wlan0.lab", "add");
        answer("networkDeviceLocation", tunnelTree("resp {node name=lab display_name=Lab {group name= {option name=essid display_name=Name display_value=Lab}}}"));
        QCOMPARE(log.sent() + "|" + treeText(m_screen->treeLocations) + "|" + m_screen->tabNetwork->currentWidget()->objectName(),
                 QString("cfgDescribe depth=0 path=netmgr.devices.wlan0.lab status=raw|Setup~, Name=Setup,Lab~+#, Name=Lab*|tabLocations"));
    }

    void keypad()
    {
        show("wlan0", kWireless);
        m_screen->tabNetwork->setCurrentWidget(m_screen->tabSettings);
        m_screen->showStatusTab();
        // The widget given the focus first (if any), then the keys: the widget then in focus.
        auto press = [this](QWidget* first, const QString& keys) {
            if (first)
                first->setFocus();
            pressKeys(*m_screen, keys);
            return QApplication::focusWidget();
        };
        ConfigureNetwork& s = *m_screen;
        QSignalSpy done(m_screen, &ConfigureNetwork::configureDone);
        // Enter on the Status page goes nowhere; on Settings into the tree, then to its Edit button.
        QCOMPARE(press(nullptr, "Enter"), s.tabNetwork->focusProxy());
        QCOMPARE(press(nullptr, "Right Enter"), s.treeSettings);
        QCOMPARE(press(nullptr, "Enter"), s.buttonEditSetting);
        QCOMPARE(press(s.tabNetwork, "Right Enter"), s.treeLocations);
        // In a tree Down moves the row and Right opens a location; elsewhere Down and Up move the focus.
        QCOMPARE(press(nullptr, "Down Right Down Enter"), s.buttonEditLocationSetting);
        QCOMPARE(ConfigParser::selectedPath(s.treeSettings) + " " + ConfigParser::selectedPath(s.treeLocations), QString("region setup.essid"));
        QCOMPARE(press(s.buttonApply, "Down"), s.buttonDone);
        QCOMPARE(press(nullptr, "Enter"), s.buttonDone);
        QCOMPARE(done.count(), 1);
        QCOMPARE(press(nullptr, "Up"), s.buttonApply);
        // A scan row takes Enter to Create; without a result it goes back to Scan.
        s.tabNetwork->setCurrentWidget(s.tabScan);
        QCOMPARE(press(s.tabNetwork, "Enter"), s.tabNetwork->focusProxy());
        QTest::mouseClick(s.buttonScan, Qt::LeftButton);
        notify("wifi:wlan0", kScanResults);
        QCOMPARE(press(nullptr, "Enter"), s.buttonCreateLocation);
        QCOMPARE(press(s.tabNetwork, "Enter Enter"), s.buttonCreateLocation);
    }

private:
    // As the stack does it: the device id, the screen on show (which asks), the device's description.
    void show(const std::string& id, const Message& description)
    {
        RequestLog log;
        m_screen->setSelectedID(id);
        m_screen->paneAboutToShow();
        QCOMPARE(log.sent(), QString::fromStdString("cfgDescribe depth=1 path=netmgr.devices." + id + " status=raw"));
        answer("networkDevice", description);
    }

    // The labels of the Status page, the number of pages and the buttons that can be pressed.
    QString header() const
    {
        const ConfigureNetwork& s = *m_screen;
        const int bars = s.labelSignalIcon->isVisibleTo(&s) ? barsOf(s.labelSignalIcon->pixmap(Qt::ReturnByValue)) : -1;
        return QStringList({s.labelDeviceName->text(), s.labelID->text(), s.labelStatus->text(), s.labelStatus2->text(),
                            QString::number(bars), QString::number(s.tabNetwork->count()), buttons()}).join('|');
    }

    QString buttons() const
    {
        QString text;
        for (const QPushButton* button : {m_screen->buttonApply, m_screen->buttonAddLocation, m_screen->buttonScan,
                                          m_screen->buttonEditSetting, m_screen->buttonEditLocationSetting,
                                          m_screen->buttonDeleteLocation, m_screen->buttonCreateLocation})
            text += button->isEnabled() && !button->isHidden() ? " " + button->text() : "";
        return text.trimmed();
    }

    ConfigureNetwork* m_screen = nullptr;
};

QTEST_MAIN(TestConfigureNetwork)
#include "test_configurenetwork.moc"
