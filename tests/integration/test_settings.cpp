// The system settings against the simulated unit over the real socket: an option edited with the
// keypad, saved, and put back to its default, as the operator sees it in the tree.
#include "editsetting.h"
#include "ipcinstances.h"
#include "keypadhandler.h"
#include "mainwindow.h"
#include "offline.h"
#include "qtreewidgetitemsetting.h"
#include "systemsettings.h"
#include "testprocess.h"

#include <QApplication>
#include <QtTest>

#include <memory>

namespace {

const int kReadyMs = 20000;
const int kCommandMs = 10000;
// Rows and keys: more presses than any screen of the default unit needs.
const int kMaxPresses = 40;

// The default unit's directory option: stored at its default ("true", shown "Online").
const char* const kOption = "Relaybook Directory";

} // namespace

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void editWithTheKeypadThenBackToDefault();

private:
    void press(int keycode);
    bool pressUntil(int keycode, const std::function<bool()>& done);
    QTreeWidgetItem* optionRow() const;
    bool rowShows(const QString& text, bool bold) const;

    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;
    SystemSettings* m_settings = nullptr;
    EditSetting* m_editor = nullptr;
};

void TestSettings::initTestCase()
{
    const QByteArray address = "/orvane-test-settings-" + QByteArray::number(QCoreApplication::applicationPid());
    qputenv("LIBIPC_LOCAL_ADDR", address);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", QString::fromLatin1(address));
    m_sim = std::make_unique<TestProcess>("orvane-unitsim", QStringList{"--no-tcp"}, environment,
                                          QProcess::StandardOutput);
    QVERIFY(m_sim->start());
    QVERIFY(!m_sim->waitForLine("listening", kCommandMs).isEmpty());

    m_window = std::make_unique<MainWindow>();
    m_window->setPointerCalibrationFile(QCoreApplication::applicationFilePath());
    QTRY_VERIFY_WITH_TIMEOUT(m_window->isVisible() && !m_window->offlineScreen().isVisible(), kReadyMs);
    QApplication::setActiveWindow(m_window.get());

    m_settings = dynamic_cast<SystemSettings*>(m_window->pane().page(Pane::ScreenSystemSettings));
    m_editor = dynamic_cast<EditSetting*>(m_window->pane().page(Pane::ScreenEditSetting));
    QVERIFY2(m_settings && m_editor, "the settings screens are not in the stack");
}

void TestSettings::cleanupTestCase()
{
    m_window.reset();
    m_sim.reset();
}

// A key of the hardware keypad, as the main window hands it to the screen on show.
void TestSettings::press(int keycode)
{
    KeypadHandler* handler = m_window->currentKeypadHandler();
    QVERIFY(handler);
    handler->handleKey(keycode, true, false);
    handler->handleKey(keycode, false, false);
    QCoreApplication::processEvents();
}

bool TestSettings::pressUntil(int keycode, const std::function<bool()>& done)
{
    for (int i = 0; i < kMaxPresses && !done(); ++i)
        press(keycode);
    return done();
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
    m_window->menu().actionSystem_Settings->trigger();
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenSystemSettings));
    QVERIFY(rowShows("Online", false));

    // Down to the row, Enter on Edit, Left toggles the switch (the focus moves to Save), Enter saves.
    QVERIFY(pressUntil(Qt::Key_Down, [this] { return m_settings->treeSysConfig->currentItem() == optionRow(); }));
    QCOMPARE(QApplication::focusWidget(), m_settings->buttonEdit);
    press(Qt::Key_Enter);
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenEditSetting));
    QCOMPARE(m_editor->labelTitle->text(), QString(kOption));
    QVERIFY(!m_editor->buttonSave->isEnabled());
    press(Qt::Key_Left);
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonSave);
    press(Qt::Key_Enter);
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenSystemSettings));
    QTRY_VERIFY_WITH_TIMEOUT(rowShows("Offline", true), kCommandMs);

    // Again: Down to Default, Enter, Down to Save, Enter.
    QCOMPARE(QApplication::focusWidget(), m_settings->buttonEdit);
    press(Qt::Key_Enter);
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenEditSetting));
    QVERIFY(pressUntil(Qt::Key_Down, [this] { return QApplication::focusWidget() == m_editor->buttonDefault; }));
    press(Qt::Key_Enter);
    QCOMPARE(m_editor->labelCurrentValue->text(), QStringLiteral("Online"));
    QVERIFY(pressUntil(Qt::Key_Down, [this] { return QApplication::focusWidget() == m_editor->buttonSave; }));
    press(Qt::Key_Enter);
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenSystemSettings));
    QTRY_VERIFY_WITH_TIMEOUT(rowShows("Online", false), kCommandMs);
}

QTEST_MAIN(TestSettings)
#include "test_settings.moc"
