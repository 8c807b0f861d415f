// The network screens against the simulated unit over the real socket, driven with the keypad: an
// option edited and seen bold back in the tree, a scanned network made into a location.
#include "choosenetwork.h"
#include "configurenetwork.h"
#include "editconfigsetting.h"
#include "shellsession.h"

#include <QApplication>
#include <QtTest>

class TestNetwork : public QObject {
    Q_OBJECT

    // From the network list to the configuration screen of `id`, on page `page`.
    void configure(const std::string& id, QWidget* page)
    {
        m_shell.window().menu().actionChoose_Network->trigger();
        auto* list = m_shell.screen<ChooseNetwork>(Pane::ScreenNetworkList);
        QTRY_COMPARE_WITH_TIMEOUT(list->networkList->count(), 5, ShellSession::kCommandMs);
        auto isCurrent = [&] { return static_cast<NetworkListItem*>(list->networkList->currentItem())->id() == id; };
        if (!m_shell.pressUntil(Qt::Key_Down, isCurrent, 8))
            QVERIFY(m_shell.pressUntil(Qt::Key_Up, isCurrent, 8));
        QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return focused(list->buttonConfigure); }, 6));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenConfigureNetwork));
        QTRY_COMPARE_WITH_TIMEOUT(m_device->labelID->text(), QString::fromStdString(id), ShellSession::kCommandMs);
        QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return m_device->tabNetwork->currentWidget() == page; }, 4));
    }
    QTreeWidgetItem* row(QTreeWidget* tree, const QString& name) const
    {
        return tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive, 0).value(0);
    }
    bool focused(QWidget* widget) const { return QApplication::focusWidget() == widget; }

    ShellSession m_shell;
    ConfigureNetwork* m_device = nullptr;

private slots:
    void initTestCase()
    {
        QVERIFY(m_shell.start());
        m_device = m_shell.screen<ConfigureNetwork>(Pane::ScreenConfigureNetwork);
    }

    void editAnOptionAndComeBackToTheSameRow()
    {
        auto* editor = m_shell.screen<EditConfigSetting>(Pane::ScreenEditConfigSetting);
        configure("wwan0", m_device->tabSettings);
        QTreeWidget* settings = m_device->treeSettings;
        m_shell.key(Qt::Key_Enter);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return settings->currentItem() == row(settings, "Redial Delay"); }));
        QCOMPARE(row(settings, "Redial Delay")->font(1).weight(), int(QFont::Normal));
        m_shell.key(Qt::Key_Enter);
        m_shell.key(Qt::Key_Enter);
        QTRY_COMPARE_WITH_TIMEOUT(editor->labelTitle->text(), QString("Redial Delay"), ShellSession::kCommandMs);
        QCOMPARE(editor->labelCurrentValue->text(), QString("20 s"));

        m_shell.key(Qt::Key_Right);
        QTRY_COMPARE(editor->spinValue->value(), 21);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return focused(editor->buttonSave); }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event option netmgr.devices.wwan0.redial=21").isEmpty());
        QCOMPARE(m_device->tabNetwork->currentWidget(), m_device->tabSettings);
        QTRY_VERIFY_WITH_TIMEOUT(row(settings, "Redial Delay") && row(settings, "Redial Delay")->text(1) == "21",
                                 ShellSession::kCommandMs);
        QCOMPARE(row(settings, "Redial Delay")->font(0).weight(), int(QFont::Bold));
        QCOMPARE(settings->selectedItems(), QList<QTreeWidgetItem*>{row(settings, "Redial Delay")});
    }

    void scanAndCreateALocation()
    {
        configure("wlan0", m_device->tabScan);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return focused(m_device->buttonScan); }, 4));
        m_shell.key(Qt::Key_Enter);
        QTRY_COMPARE_WITH_TIMEOUT(m_device->treeScan->topLevelItemCount(), 5, ShellSession::kCommandMs);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] {
            return m_device->treeScan->currentItem()->text(1) == "Broadcast OB Van";
        }));
        m_shell.key(Qt::Key_Enter);
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event add location netmgr.devices.wlan0.broadcastobvan").isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(row(m_device->treeLocations, "Broadcast OB Van"), ShellSession::kCommandMs);
        QCOMPARE(m_device->tabNetwork->currentWidget(), m_device->tabLocations);
        QCOMPARE(m_device->treeLocations->currentItem(), row(m_device->treeLocations, "Broadcast OB Van"));
    }
};

QTEST_MAIN(TestNetwork)
#include "test_network.moc"
