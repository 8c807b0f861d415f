// The settings screens against the simulated unit over the real socket: a system option edited
// with the keypad and saved comes back from the unit, bold in the tree.
#include "editsetting.h"
#include "shellsession.h"
#include "systemsettings.h"

#include <QtTest>

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_shell.start()); }

    void editWithTheKeypadAndSave()
    {
        auto* settings = m_shell.screen<SystemSettings>(Pane::ScreenSystemSettings);
        QTreeWidget* tree = settings->treeSysConfig;
        auto row = [tree] { return tree->findItems("Relaybook Directory", Qt::MatchExactly | Qt::MatchRecursive).value(0); };
        // The row's value, "(b)" when bold.
        auto shown = [row] { return row() ? row()->text(1) + (row()->font(0).bold() && row()->font(1).bold() ? "(b)" : "") : "no row"; };
        m_shell.window().menu().actionSystem_Settings->trigger();
        QCOMPARE(shown(), QString("Online"));

        // Down to the row, Enter on Edit, Left toggles the switch (the focus moves to Save), Enter saves.
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return tree->currentItem() == row(); }));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.screen<EditSetting>(Pane::ScreenEditSetting)->labelTitle->text(), QString("Relaybook Directory"));
        m_shell.key(Qt::Key_Left);
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenSystemSettings));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QString("Offline(b)"), ShellSession::kCommandMs);
    }

private:
    ShellSession m_shell;
};

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
