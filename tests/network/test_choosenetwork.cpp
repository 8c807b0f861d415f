#include "cachefeeder.h"
#include "choosenetwork.h"
#include "deviceclassicons.h"
#include "logcapture.h"
#include "platformkey.h"

#include <QtTest>

using namespace cachefeeder;
using namespace netfeeder;

namespace {
const char* const kUp = "class=wired enabled:b=true installed:b=true";

// A device "Device <id>" with its status; `node` adds to the node's own params ("view_only:b=true").
Message device(const std::string& id, const std::string& status = kUp, const std::string& node = "")
{
    return msg("node", "name=" + id + " display_name=\"Device " + id + "\" " + node, {msg("status", status)});
}

// The list answer: the devices node with its overall status when given, and the devices.
Message list(std::initializer_list<Message> devices, const std::string& overall = "")
{
    Message root = msg("node", "name=devices");
    if (!overall.empty())
        root.add_child(msg("status", overall));
    root.add_child(msg("group", "", devices));
    return msg("resp", "", {root});
}

} // namespace

class TestChooseNetwork : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { deviceclassicons::fill(); }
    void init()
    {
        m_screen = new ChooseNetwork;
        m_selected.clear();
        connect(m_screen, &ChooseNetwork::newNetworkSelected, [this](const std::string& id) { m_selected << id.c_str(); });
        QVERIFY(showActive(m_screen));
    }

    void cleanup() { delete m_screen; }
    void listMergesInIdOrder()
    {
        answer("networkList", list({device("b"), device("d"), device("c")}));
        QCOMPARE(rows(), QString("b* c d"));
        QCOMPARE(m_selected, QStringList{"b"});
        // A new device goes after the one before it in id order, or last when it comes first; the
        // current row stays. Of two nodes with the same id the first wins.
        answer("networkList", list({device("a"), device("b"), device("bb"), device("d"), device("e"), device("a", "", "display_name=X")}));
        QCOMPARE(rows(), QString("b* bb d e a"));
        answer("networkList", Message("resp"));
        QCOMPARE(rows(), QString());

        // A single device's answer updates its row, or adds it at the end.
        answer("networkList", list({device("b")}));
        answer("networkDevice", msg("resp", "", {device("a", "class=wired enabled:b=false installed:b=true")}));
        answer("networkDevice", Message("resp"));
        QCOMPARE(rows(), QString("b* a"));
        // A description without status keeps the status the device had.
        answer("networkDevice", msg("resp", "", {msg("node", "name=b display_name=Renamed")}));
        QCOMPARE(current()->text() + " " + m_screen->labelStatus->text(), QString("Renamed Installed and enabled."));
    }

    void statusShown_data()
    {
        table({"status", "node", "shown", "icon"}, R"(
up, no address | class=wifi status=Associated enabled:b=true installed:b=true |  | Installed and enabled.|Associated|-|-|Configure Disable|black| | wifi
address, signal 0 | class=wifi status=Associated enabled:b=true installed:b=true address=10.0.0.5 signal:u=0 |  | Current address '10.0.0.5'.|Associated|0|0%|Configure Disable|black| | wifi
disabled, signal 25 | class=wifi status=Associated enabled:b=false installed:b=true signal:u=25 |  | Installed but disabled.|Associated|1|25%|Configure Enable|black| | wifi_x
enabled, missing, signal 26 | class=wifi status=Associated enabled:b=true installed:b=false signal:u=26 |  | Enabled but not installed.|Associated|2|26%|Configure Disable|gray| | wifi
disabled, missing, signal 100 | class=wifi status=Associated signal:u=100 |  | Not installed and disabled.|Associated|4|100%|Configure Enable|gray| | wifi_x
view-only, installed | class=phone enabled:b=false installed:b=true status=Idle | view_only:b=true | Installed.||-|-||black|view-only | phone
view-only, enabled, missing | class=phone enabled:b=true installed:b=false status=Idle | view_only:b=true | Not installed.||-|-||gray|view-only | phone
)");
    }

    // Missing hardware shows the usual icon greyed out; a disabled device shows the crossed one.
    void statusShown()
    {
        const std::string status = cell("status").toStdString();
        const Params fields(status.c_str());
        // A device with the other switch usable first, so that every button has to follow the row's.
        const std::string before = fields.get_bool("enabled", false) ? "enabled:b=false" : "enabled:b=true";
        answer("networkList", list({device("dev", "class=wired installed:b=true " + before)}));
        answer("networkList", list({device("dev", status, cell("node").toStdString())}));

        const ChooseNetwork& s = *m_screen;
        QStringList buttons;
        for (const QPushButton* button : {s.buttonConfigure, s.buttonEnable, s.buttonDisable})
            buttons << (button->isEnabled() ? button->text() : QString());
        const QColor colour = current()->foreground().color();
        QTEST(QStringList({s.labelStatus->text(), s.labelStatus2->text(),
                           s.labelSignalIcon->isVisibleTo(&s) ? QString::number(barsOf(s.labelSignalIcon->pixmap(Qt::ReturnByValue))) : "-",
                           s.labelSignal->isVisibleTo(&s) ? s.labelSignal->text() : "-",
                           buttons.join(' ').simplified(), colour == Qt::black ? "black" : colour == Qt::gray ? "gray" : "?",
                           m_screen->isSelectedViewOnly() ? "view-only" : ""}).join('|'),
              "shown");
        const QIcon file(":/icons/" + cell("icon") + ".png");
        QCOMPARE(current()->icon().pixmap(32).toImage(),
                 file.pixmap(32, fields.get_bool("installed", false) ? QIcon::Normal : QIcon::Disabled).toImage());
    }

    // After each list answer or status notification with the overall fields given, whether the
    // network counts as ready; a list without the overall status counts as nothing alive.
    void netReadyAndSignalStrength()
    {
        QSignalSpy changed(m_screen, &ChooseNetwork::netReadyChanged);
        QString ready;
        for (const QString step : {"list num_alive:u=1 tunnel_alive:b=true", "list num_alive:u=2", "list tunnel_alive:b=true",
                                   "status num_alive:u=3 tunnel_alive:b=true", "status tunnel_alive:b=true", "status num_alive:u=3", "list"}) {
            const std::string fields = step.section(' ', 1).toStdString();
            if (step.startsWith("list"))
                answer("networkList", list({device("eth0")}, fields));
            else
                notify("cfgStatus:netmgr.devices", msg("node", fields));
            ready += m_screen->getNetReady() ? "y" : "n";
        }
        QCOMPARE(ready, QString("yynynyn"));
        QCOMPARE(changed.count(), 6);

        // The status bar's signal strength: one device's, "multi" for several, "off" once none is left.
        QStringList shown;
        connect(m_screen, &ChooseNetwork::signalStrength, [&shown](uint strength) { shown << QString::number(strength); });
        connect(m_screen, &ChooseNetwork::signalStrengthMulti, [&shown] { shown << "multi"; });
        connect(m_screen, &ChooseNetwork::signalStrengthOff, [&shown] { shown << "off"; });
        answer("networkList", list({device("eth0"), device("wlan0", "class=wifi installed:b=true signal:u=60"),
                                    device("wwan0", "class=phone installed:b=true signal:u=30")}));
        status("wwan0", "class=phone installed:b=false");
        status("wlan0", "class=wifi installed:b=false");
        QCOMPARE(shown, (QStringList{"60", "multi", "60", "off"}));
    }

    void notifications()
    {
        answer("networkList", list({device("eth0"), device("eth1")}));
        data("netmgr.devices.eth0.dhcp", "value", "Static");
        data("netmgr.devices.eth1.name", "value", "Studio LAN");
        data("netmgr.devices.eth9.name", "value", "Nobody");
        QCOMPARE(m_screen->networkList->item(0)->text() + "," + m_screen->networkList->item(1)->text(),
                 QString("Device eth0,Studio LAN"));

        RequestLog requests;
        for (const char* name : {"netmgr.devices.wlan2.loc", "netmgr.tunnel.x", "netmgr.devices.wlan1"})
            data(name, "add");
        QCOMPARE(requests.sent(), QString("cfgDescribe depth=1 path=netmgr.devices.wlan1 status=raw"));

        // Deleting the current device shows and announces the one that takes its place.
        status("eth1", "class=wired installed:b=false");
        m_selected.clear();
        LogCapture log(LOG_DEBUG);
        data("netmgr.devices.eth0.dhcp", "delete");
        data("netmgr.tunnel.eth0", "delete");
        QCOMPARE(rows(), QString("eth0* eth1"));
        data("netmgr.devices.eth0", "delete");
        QCOMPARE(rows(), QString("eth1*"));
        QCOMPARE(m_screen->labelStatus->text(), QString("Not installed and disabled."));
        QCOMPARE(m_selected, QStringList{"eth1"});
        QVERIFY(log.all().find("netmgr data:") != std::string::npos);
        QVERIFY(log.all().find("removing network device id=eth0") != std::string::npos);
    }

    void requestsAndFocus()
    {
        RequestLog log;
        m_screen->handleEnable();
        m_screen->deleteNetwork();

        answer("networkList", list({device("eth0")}));
        m_screen->paneAboutToShow();
        QCOMPARE(QApplication::focusWidget(), m_screen->buttonConfigure);
        QTest::mouseClick(m_screen->buttonDisable, Qt::LeftButton);
        // The status coming back flips the buttons and moves the focus to the one now enabled.
        status("eth0", "class=wired installed:b=true enabled:b=false");
        QCOMPARE(QApplication::focusWidget(), m_screen->buttonEnable);
        QTest::mouseClick(m_screen->buttonEnable, Qt::LeftButton);
        m_screen->deleteNetwork();
        QCOMPARE(log.sent(), QString("cfgSetOption path=netmgr.devices.eth0 {option name=enabled value=false}; "
                                    "cfgSetOption path=netmgr.devices.eth0 {option name=enabled value=true}; cfgCmd name=_del path=netmgr.devices.eth0"));
        QSignalSpy configure(m_screen, &ChooseNetwork::configureRequested);
        QTest::mouseClick(m_screen->buttonConfigure, Qt::LeftButton);
        QCOMPARE(configure.count(), 1);
        m_screen->handleRestrictedToggled(true);
        QVERIFY(!m_screen->buttonConfigure->isVisible());
    }

private:
    // The rows by id, the current one marked "*".
    QString rows() const
    {
        QStringList ids;
        for (int row = 0; row < m_screen->networkList->count(); ++row) {
            const auto* item = static_cast<NetworkListItem*>(m_screen->networkList->item(row));
            ids << QString::fromStdString(item->id()) + (item == current() ? "*" : "");
        }
        return ids.join(' ');
    }

    NetworkListItem* current() const { return static_cast<NetworkListItem*>(m_screen->networkList->currentItem()); }

    ChooseNetwork* m_screen = nullptr;
    QStringList m_selected;
};

QTEST_MAIN(TestChooseNetwork)
#include "test_choosenetwork.moc"
