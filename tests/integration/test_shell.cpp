// The application shell in this process against the simulated unit over the real socket: what
// the operator sees as the link comes and goes, and what the unit is asked to do.
#include "aboutwidget.h"
#include "codec.h"
#include "ipcinstances.h"
#include "mainwindow.h"
#include "offline.h"
#include "testprocess.h"
#include "transientpopup.h"

#include <QApplication>
#include <QComboBox>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include <fstream>
#include <memory>
#include <sstream>

namespace {

const int kReadyMs = 20000;
// The client retries every 10 s after the link drops.
const int kReconnectMs = 35000;
const int kCommandMs = 10000;

// What the scenario says the unit is, read the way the simulator reads it.
Message scenarioData(const std::string& name)
{
    std::ifstream file(ORVANE_SIM_SCENARIO, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    Message scenario;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, text.str().data(), text.str().size(), scenario, error))
        qFatal("scenario: %s", error.c_str());
    const Message* data = scenario.find_child(name);
    return data ? *data : Message();
}

} // namespace

class TestShell : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void offlineUntilReadyThenTheWindow();
    void metersRunOnceReady();
    void aboutShowsTheUnit();
    void contactClosureFromF2();
    void factoryResetAfterYes();
    void firmwareUpdateTexts();
    void defaultPasswordWarningAfterReconnecting();

private:
    QString simCommand(const QString& line);
    bool ready() const;

    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;
};

void TestShell::initTestCase()
{
    const QByteArray address = "/orvane-test-shell-" + QByteArray::number(QCoreApplication::applicationPid());
    qputenv("LIBIPC_LOCAL_ADDR", address);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", QString::fromLatin1(address));
    m_sim = std::make_unique<TestProcess>("orvane-unitsim", QStringList{"--no-tcp"}, environment,
                                          QProcess::StandardOutput);
    QVERIFY(m_sim->start());
    QVERIFY(!m_sim->waitForLine("listening", kCommandMs).isEmpty());

    m_window = std::make_unique<MainWindow>();
    m_window->setPointerCalibrationFile(QCoreApplication::applicationFilePath());
}

void TestShell::cleanupTestCase()
{
    m_window.reset();
    m_sim.reset();
}

QString TestShell::simCommand(const QString& line)
{
    m_sim->writeLine(line);
    return m_sim->waitForLine(QStringLiteral("ok"), kCommandMs);
}

bool TestShell::ready() const
{
    return m_window->isVisible() && !m_window->offlineScreen().isVisible();
}

void TestShell::offlineUntilReadyThenTheWindow()
{
    QTRY_VERIFY(m_window->offlineScreen().isVisible());
    QVERIFY(!m_window->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(ready(), kReadyMs);
    QCOMPARE(m_window->offlineScreen().labelState->text(), QStringLiteral("Ready."));
    QVERIFY(!m_window->popup().isVisible());
}

void TestShell::metersRunOnceReady()
{
    // The small meter's four bars, at the status bar's fixed place.
    const QString line = m_sim->waitForLine(QStringLiteral("event metering bars=4"), kCommandMs);
    QVERIFY2(line.contains("555,461,78x2:in0"), qPrintable(m_sim->transcript()));
}

void TestShell::aboutShowsTheUnit()
{
    const Message version = scenarioData("version");
    QVERIFY(!version.params().get_string("version", "").empty());
    m_window->pane().showScreen(Pane::ScreenAbout);
    AboutWidget& about = m_window->pane().about();
    QCOMPARE(about.labelVersion->text(), QString::fromStdString(version.params().get_string("version", "")));
    QCOMPARE(about.labelNodeID->text(), QString::fromStdString(version.params().get_string("node_id", "")));
}

void TestShell::contactClosureFromF2()
{
    QComboBox* modes = m_window->pane().keypadSetup().comboF2KeyMode;
    modes->setCurrentIndex(modes->findData(int(Pane::F2RemoteContactClosure)));
    m_window->pane().f2Pressed();
    QVERIFY(!m_sim->waitForLine(QStringLiteral("event remoteCC id=0 state=closed"), kCommandMs).isEmpty());
    m_window->pane().f2Released();
    QVERIFY(!m_sim->waitForLine(QStringLiteral("event remoteCC id=0 state=open"), kCommandMs).isEmpty());
}

void TestShell::factoryResetAfterYes()
{
    QTimer::singleShot(0, [] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        box->button(QMessageBox::Yes)->click();
    });
    m_window->menu().actionReset_Configuration->trigger();
    QVERIFY(!m_sim->waitForLine(QStringLiteral("event reset what=cfg"), kCommandMs).isEmpty());
}

void TestShell::firmwareUpdateTexts()
{
    QVERIFY(!simCommand("update start Installing 4.3.0").isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(m_window->offlineScreen().isVisible(), kCommandMs);
    QVERIFY(!m_window->isVisible());
    QCOMPARE(m_window->offlineScreen().labelState->text(), QStringLiteral("Firmware Updating."));
    QTRY_COMPARE(m_window->offlineScreen().labelStatus->text(), QStringLiteral("Installing 4.3.0"));

    QVERIFY(!simCommand("update finish").isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(ready(), kCommandMs);
}

void TestShell::defaultPasswordWarningAfterReconnecting()
{
    QVERIFY(!simCommand("defpwd on").isEmpty());
    QVERIFY(!simCommand("drop").isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(m_window->offlineScreen().isVisible(), kCommandMs);
    QCOMPARE(m_window->offlineScreen().labelState->text(), QStringLiteral("Please Wait..."));
    QTRY_VERIFY_WITH_TIMEOUT(ready(), kReconnectMs);
    TransientPopup& popup = m_window->popup();
    QVERIFY(popup.isVisible());
    QVERIFY(popup.findChild<QLabel*>()->text().startsWith(QStringLiteral("WARNING! It is strongly recommended")));
}

QTEST_MAIN(TestShell)
#include "test_shell.moc"
