// The network screens against the simulated unit over the real socket, driven with the keypad: an
// option edited and seen bold back in the tree, on the row it was edited from.
#include "choosenetwork.h"
#include "configurenetwork.h"
#include "editconfigsetting.h"
#include "shellsession.h"

#include <QApplication>
#include <QtTest>

class TestNetwork : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_shell.start()); }

    void editAnOptionAndComeBackToTheSameRow()
    {
        auto* list = m_shell.screen<ChooseNetwork>(Pane::ScreenNetworkList);
        auto* device = m_shell.screen<ConfigureNetwork>(Pane::ScreenConfigureNetwork);
        auto* editor = m_shell.screen<EditConfigSetting>(Pane::ScreenEditConfigSetting);
        auto focused = [](QWidget* widget) { return QApplication::focusWidget() == widget; };
        m_shell.window().menu().actionChoose_Network->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(list->networkList->count(), 5, ShellSession::kCommandMs);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] {
            return static_cast<NetworkListItem*>(list->networkList->currentItem())->id() == "wwan0";
        }, 8));
        QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return focused(list->buttonConfigure); }, 6));
        m_shell.key(Qt::Key_Enter);
        QTRY_COMPARE_WITH_TIMEOUT(device->labelID->text(), QString("wwan0"), ShellSession::kCommandMs);
        QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return device->tabNetwork->currentWidget() == device->tabSettings; }, 4));

        QTreeWidget* settings = device->treeSettings;
        auto redial = [settings] { return settings->findItems("Redial Delay", Qt::MatchExactly | Qt::MatchRecursive).value(0); };
        m_shell.key(Qt::Key_Enter);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return settings->currentItem() == redial(); }));
        QCOMPARE(redial()->font(1).weight(), int(QFont::Normal));
        m_shell.key(Qt::Key_Enter);
        m_shell.key(Qt::Key_Enter);
        QTRY_COMPARE_WITH_TIMEOUT(editor->labelTitle->text(), QString("Redial Delay"), ShellSession::kCommandMs);
        QCOMPARE(editor->labelCurrentValue->text(), QString("20 s"));

        m_shell.key(Qt::Key_Right);
        QTRY_COMPARE(editor->spinValue->value(), 21);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return focused(editor->buttonSave); }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event option netmgr.devices.wwan0.redial=21").isEmpty());
        QCOMPARE(device->tabNetwork->currentWidget(), device->tabSettings);
        QTRY_VERIFY_WITH_TIMEOUT(redial() && redial()->text(1) == "21", ShellSession::kCommandMs);
        QCOMPARE(redial()->font(0).weight(), int(QFont::Bold));
        QCOMPARE(settings->selectedItems(), QList<QTreeWidgetItem*>{redial()});
    }

private:
    ShellSession m_shell;
};

QTEST_MAIN(TestNetwork)
#include "test_network.moc"
