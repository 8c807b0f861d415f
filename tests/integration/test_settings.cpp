// The system settings against the simulated unit over the real socket: an option edited with the
// keypad, saved, and put back to its default, as the operator sees it in the tree.
#include "editsetting.h"
#include "ipcinstances.h"
#include "keypadhandler.h"
#include "mainwindow.h"
#include "offline.h"
#include "qtreewidgetitemsetting.h"
#include "systemsettings.h"
#include "shellsession.h"

#include <QApplication>
#include <QtTest>

#include <memory>

namespace {

// The default unit's directory option: stored at its default ("true", shown "Online").
const char* const kOption = "Relaybook Directory";

} // namespace

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void editWithTheKeypadThenBackToDefault();

private:
    QTreeWidgetItem* optionRow() const;
    bool rowShows(const QString& text, bool bold) const;

    ShellSession m_shell;
    SystemSettings* m_settings = nullptr;
    EditSetting* m_editor = nullptr;
};

void TestSettings::initTestCase()
{
    QVERIFY(m_shell.start());

    m_settings = dynamic_cast<SystemSettings*>(m_shell.window().pane().page(Pane::ScreenSystemSettings));
    m_editor = dynamic_cast<EditSetting*>(m_shell.window().pane().page(Pane::ScreenEditSetting));
    QVERIFY2(m_settings && m_editor, "the settings screens are not in the stack");
}

QTreeWidgetItem* TestSettings::optionRow() const
{
    const QList<QTreeWidgetItem*> rows =
        m_settings->treeSysConfig->findItems(kOption, Qt::MatchExactly | Qt::MatchRecursive, 0);
    return rows.isEmpty() ? nullptr : rows.first();
}

bool TestSettings::rowShows(const QString& text, bool bold) const
{
    const QTreeWidgetItem* row = optionRow();
    return row && row->text(1) == text && (row->font(0).weight() == QFont::Bold) == bold
        && (row->font(1).weight() == QFont::Bold) == bold;
}

void TestSettings::editWithTheKeypadThenBackToDefault()
{
    m_shell.window().menu().actionSystem_Settings->trigger();
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenSystemSettings));
    QVERIFY(rowShows("Online", false));

    // Down to the row, Enter on Edit, Left toggles the switch (the focus moves to Save), Enter saves.
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return m_settings->treeSysConfig->currentItem() == optionRow(); }));
    QCOMPARE(QApplication::focusWidget(), m_settings->buttonEdit);
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditSetting));
    QCOMPARE(m_editor->labelTitle->text(), QString(kOption));
    QVERIFY(!m_editor->buttonSave->isEnabled());
    m_shell.key(Qt::Key_Left);
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonSave);
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenSystemSettings));
    QTRY_VERIFY_WITH_TIMEOUT(rowShows("Offline", true), ShellSession::kCommandMs);

    // Again: Down to Default, Enter, Down to Save, Enter.
    QCOMPARE(QApplication::focusWidget(), m_settings->buttonEdit);
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditSetting));
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return QApplication::focusWidget() == m_editor->buttonDefault; }));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_editor->labelCurrentValue->text(), QStringLiteral("Online"));
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [this] { return QApplication::focusWidget() == m_editor->buttonSave; }));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenSystemSettings));
    QTRY_VERIFY_WITH_TIMEOUT(rowShows("Online", false), ShellSession::kCommandMs);
}

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
