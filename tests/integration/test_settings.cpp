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

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void editWithTheKeypadThenBackToDefault_data();
    void editWithTheKeypadThenBackToDefault();

private:
    // Opens the screen the way the operator does and returns its tree and Edit button.
    std::pair<QTreeWidget*, QPushButton*> openTree(int screen);
    QTreeWidgetItem* optionRow(QTreeWidget* tree, const QString& option) const;
    bool rowShows(QTreeWidget* tree, const QString& option, const QString& text, bool bold) const;

    ShellSession m_shell;
    EditSetting* m_editor = nullptr;
};

void TestSettings::initTestCase()
{
    QVERIFY(m_shell.start());
    m_editor = m_shell.screen<EditSetting>(Pane::ScreenEditSetting);
    QVERIFY2(m_editor, "the setting editor is not in the stack");
}

std::pair<QTreeWidget*, QPushButton*> TestSettings::openTree(int screen)
{
    if (screen == Pane::ScreenSystemSettings) {
        m_shell.window().menu().actionSystem_Settings->trigger();
        auto* settings = m_shell.screen<SystemSettings>(screen);
        return {settings->treeSysConfig, settings->buttonEdit};
    }
    // A profile of the operator's own (factory profiles can only be viewed): Studio Link.
    m_shell.window().menu().actionManage_Profiles->trigger();
    auto* profiles = m_shell.screen<ProfileList>(Pane::ScreenProfileList);
    m_shell.pressUntil(Qt::Key_Down, [&] { return profiles->listProfiles->currentItem()->text().endsWith("Studio Link"); });
    m_shell.pressUntil(Qt::Key_Right, [&] { return profiles->buttonEdit->hasFocus(); });
    m_shell.key(Qt::Key_Enter);
    auto* items = m_shell.screen<ProfileItems>(screen);
    return {items->treeProfileItems, items->buttonEdit};
}

QTreeWidgetItem* TestSettings::optionRow(QTreeWidget* tree, const QString& option) const
{
    const QList<QTreeWidgetItem*> rows = tree->findItems(option, Qt::MatchExactly | Qt::MatchRecursive, 0);
    return rows.isEmpty() ? nullptr : rows.first();
}

bool TestSettings::rowShows(QTreeWidget* tree, const QString& option, const QString& text, bool bold) const
{
    const QTreeWidgetItem* row = optionRow(tree, option);
    return row && row->text(1) == text && (row->font(0).weight() == QFont::Bold) == bold
        && (row->font(1).weight() == QFont::Bold) == bold;
}

void TestSettings::editWithTheKeypadThenBackToDefault_data()
{
    QTest::addColumn<int>("screen");
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("atDefault");
    QTest::addColumn<QString>("changed");
    QTest::newRow("system option") << int(Pane::ScreenSystemSettings) << "Relaybook Directory" << "Online" << "Offline";
    QTest::newRow("profile option") << int(Pane::ScreenProfileItems) << "Auto Reconnect" << "Not Enabled" << "Enabled";
}

void TestSettings::editWithTheKeypadThenBackToDefault()
{
    QFETCH(int, screen);
    QFETCH(QString, option);
    QFETCH(QString, atDefault);
    QFETCH(QString, changed);

    const auto [tree, edit] = openTree(screen);
    QCOMPARE(m_shell.window().pane().currentScreen(), screen);
    QVERIFY(rowShows(tree, option, atDefault, false));

    // Down to the row, Enter on Edit, Left toggles the switch (the focus moves to Save), Enter saves.
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return tree->currentItem() == optionRow(tree, option); }));
    QCOMPARE(QApplication::focusWidget(), edit);
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditSetting));
    QCOMPARE(m_editor->labelTitle->text(), option);
    QVERIFY(!m_editor->buttonSave->isEnabled());
    m_shell.key(Qt::Key_Left);
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonSave);
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), screen);
    QTRY_VERIFY_WITH_TIMEOUT(rowShows(tree, option, changed, true), ShellSession::kCommandMs);

    // Again: Down to Default, Enter, Down to Save, Enter.
    QCOMPARE(QApplication::focusWidget(), edit);
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditSetting));
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return QApplication::focusWidget() == m_editor->buttonDefault; }));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_editor->labelCurrentValue->text(), atDefault);
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return QApplication::focusWidget() == m_editor->buttonSave; }));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), screen);
    QTRY_VERIFY_WITH_TIMEOUT(rowShows(tree, option, atDefault, false), ShellSession::kCommandMs);
}

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
