// Profiles and user-interface settings driven from the keypad against the simulated unit.
#include "keypadsetup.h"
#include "mainwindow.h"
#include "profilelist.h"
#include "shellsession.h"

#include <QMenu>
#include <QtTest>

namespace {
QStringList visibleEntries(const QMenu* menu)
{
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        if (action->isVisible() && !action->isSeparator())
            entries << action->text();
    }
    return entries;
}
} // namespace

class TestProfiles : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_shell.start()); }

    void restrictedModeShrinksTheConfigureMenu()
    {
        Menu& menu = m_shell.window().menu();
        const QStringList fullConfigure{"Manage Profiles", "System Settings", "Braid Settings", "User Interface",
                                        "Additional Configuration", "About ORVANE"};
        QCOMPARE(visibleEntries(menu.menuConfigure), fullConfigure);
        menu.actionKeypad_Setup->trigger();
        auto* setup = m_shell.screen<KeypadSetup>(Pane::ScreenKeypadSetup);
        QTRY_VERIFY(setup->comboF2KeyMode->hasFocus());
        m_shell.key(Qt::Key_Down);
        m_shell.key(Qt::Key_Down);
        QVERIFY(setup->restrictedUser->hasFocus());

        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("storeSettings group=p_general restricted=true").isEmpty());
        QCOMPARE(visibleEntries(menu.menuConfigure), (QStringList{"User Interface", "About ORVANE"}));
        QVERIFY(!visibleEntries(menu.menuRemotes).contains("Delete Remote"));
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("storeSettings group=p_general restricted=false").isEmpty());
        QCOMPARE(visibleEntries(menu.menuConfigure), fullConfigure);
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

QTEST_MAIN(TestProfiles)
#include "test_profiles.moc"
