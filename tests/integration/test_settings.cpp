// The settings trees against the simulated unit over the real socket: a system option and a
// profile's option edited with the keypad, saved, and put back to their defaults, as the operator
// sees them in the tree; a profile added, copied and removed.
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


    // A new profile, a question answered No that deletes nothing, a copy, then Yes.
    void addCopyAndRemoveAProfile()
    {
        m_shell.window().menu().actionManage_Profiles->trigger();
        auto* list = m_shell.screen<ProfileList>(Pane::ScreenProfileList);
        QTRY_VERIFY(list->buttonEdit->hasFocus());
        const int profiles = list->listProfiles->count();
        m_shell.key(Qt::Key_Right);
        m_shell.key(Qt::Key_Enter);
        const QString added = m_shell.simEvent("addProfile");
        QVERIFY2(added.endsWith("name=New Profile"), qPrintable(m_shell.sim().transcript()));
        const QString id = added.section(' ', 2, 2);
        QTRY_COMPARE(list->listProfiles->currentItem()->text(), QString("New Profile"));

        m_shell.key(Qt::Key_Right);
        m_shell.key(Qt::Key_Right);
        const QString question = "This will delete the 'New Profile' profile.\n\nDo you wish to continue?";
        // Enter on the question takes its default, No.
        QCOMPARE(m_shell.answerQuestion([this] { m_shell.key(Qt::Key_Enter); }, {Qt::Key_Enter}), question);
        m_shell.key(Qt::Key_Left);
        m_shell.key(Qt::Key_Enter);
        const QString copied = m_shell.simEvent("Profile");
        QVERIFY2(copied.startsWith("event copyProfile from=" + id.section('=', 1)), qPrintable(m_shell.sim().transcript()));
        QTRY_COMPARE(list->listProfiles->count(), profiles + 2);
        QCOMPARE(list->listProfiles->currentItem()->text(), QString("New Profile"));

        m_shell.key(Qt::Key_Right);
        QCOMPARE(m_shell.answerQuestion([this] { m_shell.key(Qt::Key_Enter); }, {Qt::Key_Left, Qt::Key_Enter}), question);
        QVERIFY(!m_shell.simEvent("deleteProfile " + id).isEmpty());
        QTRY_COMPARE(list->listProfiles->count(), profiles + 1);
        QVERIFY(list->listProfiles->findItems("New Profile", Qt::MatchExactly).isEmpty());
        QVERIFY(!m_shell.window().isModal());
    }

private:
    ShellSession m_shell;
};

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
