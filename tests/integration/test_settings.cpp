// The settings screens against the simulated unit over the real socket: a system option edited
// with the keypad, saved, put back to its default, as the operator sees it in the tree; a profile
// added, copied and removed.
#include "editsetting.h"
#include "profilelist.h"
#include "shellsession.h"
#include "systemsettings.h"

#include <QApplication>
#include <QtTest>

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_shell.start()); }

    void editWithTheKeypadThenBackToDefault()
    {
        auto* editor = m_shell.screen<EditSetting>(Pane::ScreenEditSetting);
        auto* settings = m_shell.screen<SystemSettings>(Pane::ScreenSystemSettings);
        QTreeWidget* tree = settings->treeSysConfig;
        auto row = [tree] { return tree->findItems("Relaybook Directory", Qt::MatchExactly | Qt::MatchRecursive).value(0); };
        // The row's value, "(b)" when bold.
        auto shown = [row] { return row() ? row()->text(1) + (row()->font(0).bold() && row()->font(1).bold() ? "(b)" : "") : "no row"; };
        auto focused = [](QWidget* widget) { return QApplication::focusWidget() == widget; };
        m_shell.window().menu().actionSystem_Settings->trigger();
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenSystemSettings));
        QCOMPARE(shown(), QString("Online"));

        // Down to the row, Enter on Edit, Left toggles the switch (the focus moves to Save), Enter saves.
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return tree->currentItem() == row(); }));
        QVERIFY(focused(settings->buttonEdit));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(editor->labelTitle->text(), QString("Relaybook Directory"));
        QVERIFY(!editor->buttonSave->isEnabled());
        m_shell.key(Qt::Key_Left);
        QVERIFY(focused(editor->buttonSave));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenSystemSettings));
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QString("Offline(b)"), ShellSession::kCommandMs);

        // Again: Down to Default, Enter, Down to Save, Enter.
        m_shell.key(Qt::Key_Enter);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return focused(editor->buttonDefault); }));
        m_shell.key(Qt::Key_Enter);
        QCOMPARE(editor->labelCurrentValue->text(), QString("Online"));
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return focused(editor->buttonSave); }));
        m_shell.key(Qt::Key_Enter);
        QTRY_COMPARE_WITH_TIMEOUT(shown(), QString("Online"), ShellSession::kCommandMs);
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
