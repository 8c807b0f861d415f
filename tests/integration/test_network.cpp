// The network screens against the simulated unit over the real socket, driven with the keypad:
// a device switched off and on, an option edited and seen bold back in the tree, a scanned
// network made into a location, a missing device deleted and plugged in again.
#include "choosenetwork.h"
#include "configurenetwork.h"
#include "editconfigsetting.h"
#include "shellsession.h"

#include <QApplication>
#include <QtTest>

class TestNetwork : public QObject {
    Q_OBJECT

    // The network list on show with `id` current, the focus on `button`.
    void selectDevice(const std::string& id, QPushButton* button)
    {
        m_shell.window().menu().actionChoose_Network->trigger();
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenNetworkList));
        auto isCurrent = [&] {
            const auto* item = static_cast<NetworkListItem*>(m_list->networkList->currentItem());
            return item && item->id() == id;
        };
        if (!m_shell.pressUntil(Qt::Key_Down, isCurrent, 8))
            QVERIFY(m_shell.pressUntil(Qt::Key_Up, isCurrent, 8));
        QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return focused(button); }, 6));
    }
    // From the list to the configuration screen of `id`, on page `page`.
    void configure(const std::string& id, QWidget* page)
    {
        selectDevice(id, m_list->buttonConfigure);
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenConfigureNetwork));
        QCOMPARE(m_device->tabNetwork->currentWidget(), m_device->tabStatus);
        QTRY_COMPARE_WITH_TIMEOUT(m_device->labelID->text(), QString::fromStdString(id), ShellSession::kCommandMs);
        QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return m_device->tabNetwork->currentWidget() == page; }, 4));
    }
    QTreeWidgetItem* row(QTreeWidget* tree, const QString& name) const
    {
        return tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive, 0).value(0);
    }
    bool focused(QWidget* widget) const { return QApplication::focusWidget() == widget; }

    ShellSession m_shell;
    ChooseNetwork* m_list = nullptr;
    ConfigureNetwork* m_device = nullptr;
    EditConfigSetting* m_editor = nullptr;

private slots:
    void initTestCase()
    {
        QVERIFY(m_shell.start());
        m_list = m_shell.screen<ChooseNetwork>(Pane::ScreenNetworkList);
        m_device = m_shell.screen<ConfigureNetwork>(Pane::ScreenConfigureNetwork);
        m_editor = m_shell.screen<EditConfigSetting>(Pane::ScreenEditConfigSetting);
        QVERIFY(m_list && m_device && m_editor);
        QTRY_COMPARE_WITH_TIMEOUT(m_list->networkList->count(), 5, ShellSession::kCommandMs);
    }
    void disableAndEnableWithTheKeypad();
    void editAnOptionAndComeBackToTheSameRow();
    void scanAndCreateALocation();
    void deleteAMissingDeviceFromTheMenu();
};

void TestNetwork::disableAndEnableWithTheKeypad()
{
    selectDevice("eth0", m_list->buttonDisable);
    QCOMPARE(m_list->labelStatus->text(), QString("Current address '192.0.2.10'."));
    QVERIFY(m_shell.window().menu().actionConfigure_Network->isEnabled());
    QVERIFY(!m_shell.window().menu().actionDelete_Network->isEnabled());

    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent("event disable eth0").isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_list->labelStatus->text(), QString("Installed but disabled."), ShellSession::kCommandMs);
    QCOMPARE(m_list->labelStatus2->text(), QString("Disabled by the operator"));
    QVERIFY(focused(m_list->buttonEnable));

    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent("event enable eth0").isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_list->labelStatus->text(), QString("Current address '192.0.2.10'."),
                              ShellSession::kCommandMs);
    QVERIFY(focused(m_list->buttonDisable));
}

void TestNetwork::editAnOptionAndComeBackToTheSameRow()
{
    configure("wwan0", m_device->tabSettings);
    QTreeWidget* settings = m_device->treeSettings;
    m_shell.key(Qt::Key_Enter);
    QVERIFY(focused(settings));
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return settings->currentItem() == row(settings, "Redial Delay"); }));
    QCOMPARE(row(settings, "Redial Delay")->font(1).weight(), int(QFont::Normal));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(focused(m_device->buttonEditSetting));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditConfigSetting));
    QTRY_COMPARE_WITH_TIMEOUT(m_editor->labelTitle->text(), QString("Redial Delay"), ShellSession::kCommandMs);
    QCOMPARE(m_editor->labelCurrentValue->text(), QString("20 s"));

    m_shell.key(Qt::Key_Right);
    QTRY_COMPARE(m_editor->spinValue->value(), 21);
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return focused(m_editor->buttonSave); }));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent("event option netmgr.devices.wwan0.redial=21").isEmpty());
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenConfigureNetwork));
    QCOMPARE(m_device->tabNetwork->currentWidget(), m_device->tabSettings);
    QTRY_VERIFY_WITH_TIMEOUT(row(settings, "Redial Delay") && row(settings, "Redial Delay")->text(1) == "21",
                             ShellSession::kCommandMs);
    QTreeWidgetItem* redial = row(settings, "Redial Delay");
    QCOMPARE(redial->font(0).weight(), int(QFont::Bold));
    QCOMPARE(settings->selectedItems(), QList<QTreeWidgetItem*>{redial});
}

void TestNetwork::scanAndCreateALocation()
{
    configure("wlan0", m_device->tabScan);
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return focused(m_device->buttonScan); }, 4));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_device->treeScan->topLevelItem(0)->text(0), QString("Scanning..."));
    QTRY_COMPARE_WITH_TIMEOUT(m_device->treeScan->topLevelItemCount(), 5, ShellSession::kCommandMs);
    QVERIFY(focused(m_device->treeScan));
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] {
        return m_device->treeScan->currentItem()->text(1) == "Broadcast OB Van";
    }));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(focused(m_device->buttonCreateLocation));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent("event add location netmgr.devices.wlan0.broadcastobvan").isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(row(m_device->treeLocations, "Broadcast OB Van"), ShellSession::kCommandMs);
    QCOMPARE(m_device->tabNetwork->currentWidget(), m_device->tabLocations);
    QCOMPARE(m_device->treeLocations->currentItem(), row(m_device->treeLocations, "Broadcast OB Van"));
}

void TestNetwork::deleteAMissingDeviceFromTheMenu()
{
    selectDevice("wlan1", m_list->buttonConfigure);
    QVERIFY(m_shell.window().menu().actionDelete_Network->isEnabled());
    // No is the default: Left moves to Yes.
    const QString question = m_shell.answerQuestion(
        [this] { m_shell.window().menu().actionDelete_Network->trigger(); }, {Qt::Key_Left, Qt::Key_Enter});
    QCOMPARE(question, QString("This will delete the selected network device!\n\nDo you wish to continue?"));
    QVERIFY(!m_shell.simEvent("event delete netmgr.devices.wlan1").isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_list->networkList->count(), 4, ShellSession::kCommandMs);

    // A device plugged in later is added at the end of the list.
    QVERIFY(m_shell.simCommand("device add wlan1 wifi").startsWith("ok added"));
    QTRY_COMPARE_WITH_TIMEOUT(m_list->networkList->count(), 5, ShellSession::kCommandMs);
    QCOMPARE(m_list->networkList->item(4)->text(), QString("USB Wireless"));
}

QTEST_MAIN(TestNetwork)
#include "test_network.moc"
