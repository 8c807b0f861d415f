// The settings trees against the simulated unit over the real socket: a system option and a
// profile's option edited with the keypad, saved, and put back to their defaults, as the operator
// sees them in the tree.
#include "editsetting.h"
#include "profileitems.h"
#include "profilelist.h"
#include "shellsession.h"
#include "systemsettings.h"

#include <QApplication>
#include <QtTest>

namespace {
QTreeWidgetItem* optionRow(const QTreeWidget* tree, const QString& option)
{
    const QList<QTreeWidgetItem*> rows = tree->findItems(option, Qt::MatchExactly | Qt::MatchRecursive, 0);
    return rows.isEmpty() ? nullptr : rows.first();
}

// The row's value, "(b)" when both columns are bold.
QString rowShows(const QTreeWidget* tree, const QString& option)
{
    const QTreeWidgetItem* row = optionRow(tree, option);
    const bool bold = row && row->font(0).weight() == QFont::Bold && row->font(1).weight() == QFont::Bold;
    return row ? row->text(1) + (bold ? "(b)" : "") : QString("no row");
}
} // namespace

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_shell.start()); }

    void editWithTheKeypadThenBackToDefault_data()
    {
        QTest::addColumn<int>("screen");
        QTest::addColumn<QString>("option");
        QTest::addColumn<QString>("atDefault");
        QTest::addColumn<QString>("changed");
        QTest::newRow("system option") << int(Pane::ScreenSystemSettings) << "Relaybook Directory" << "Online" << "Offline(b)";
        QTest::newRow("profile option") << int(Pane::ScreenProfileItems) << "Auto Reconnect" << "Not Enabled" << "Enabled(b)";
    }

    void editWithTheKeypadThenBackToDefault()
    {
        QFETCH(int, screen);
        QFETCH(QString, option);
        QFETCH(QString, atDefault);
        QFETCH(QString, changed);

        auto* editor = m_shell.screen<EditSetting>(Pane::ScreenEditSetting);
        QTreeWidget* tree = nullptr;
        QPushButton* edit = nullptr;
        if (screen == Pane::ScreenSystemSettings) {
            m_shell.window().menu().actionSystem_Settings->trigger();
            auto* settings = m_shell.screen<SystemSettings>(screen);
            tree = settings->treeSysConfig;
            edit = settings->buttonEdit;
        } else {
            // A profile of the operator's own (factory profiles can only be viewed).
            m_shell.window().menu().actionManage_Profiles->trigger();
            auto* profiles = m_shell.screen<ProfileList>(Pane::ScreenProfileList);
            m_shell.pressUntil(Qt::Key_Down, [&] { return profiles->listProfiles->currentItem()->text().endsWith("Studio Link"); });
            m_shell.pressUntil(Qt::Key_Right, [&] { return profiles->buttonEdit->hasFocus(); });
            m_shell.key(Qt::Key_Enter);
            tree = m_shell.screen<ProfileItems>(screen)->treeProfileItems;
            edit = m_shell.screen<ProfileItems>(screen)->buttonEdit;
        }
        QCOMPARE(m_shell.window().pane().currentScreen(), screen);
        QCOMPARE(rowShows(tree, option), atDefault);

        // Down to the row, Enter on Edit, Left toggles the switch (the focus moves to Save), Enter saves.
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return tree->currentItem() == optionRow(tree, option); }));
        QCOMPARE(QApplication::focusWidget(), edit);
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditSetting));
        QCOMPARE(editor->labelTitle->text(), option);
        QVERIFY(!editor->buttonSave->isEnabled());
        m_shell.key(Qt::Key_Left);
        QCOMPARE(QApplication::focusWidget(), editor->buttonSave);
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), screen);
        QTRY_COMPARE_WITH_TIMEOUT(rowShows(tree, option), changed, ShellSession::kCommandMs);

        // Again: Down to Default, Enter, Down to Save, Enter.
        QCOMPARE(QApplication::focusWidget(), edit);
        m_shell.key(Qt::Key_Enter);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return QApplication::focusWidget() == editor->buttonDefault; }));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(editor->labelCurrentValue->text(), atDefault);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return QApplication::focusWidget() == editor->buttonSave; }));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), screen);
        QTRY_COMPARE_WITH_TIMEOUT(rowShows(tree, option), atDefault, ShellSession::kCommandMs);
    }

private:
    ShellSession m_shell;
};

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
