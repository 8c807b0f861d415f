// The application shell in this process against the simulated unit over the real socket: what
// the operator sees as the link comes and goes, and what the unit is asked to do.
#include "aboutwidget.h"
#include "codec.h"
#include "ipcinstances.h"
#include "mainwindow.h"
#include "offline.h"
#include "shellsession.h"
#include "statusbar.h"
#include "transientpopup.h"

#include <QApplication>
#include <QComboBox>
#include <QtTest>

#include <fstream>
#include <memory>
#include <sstream>

namespace {

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
    void initTestCase()
    {
        QVERIFY(m_shell.startUnit());
        // A unit still on its factory password warns at the first login.
        QVERIFY(!m_shell.simCommand("defpwd on").isEmpty());
        m_shell.openWindow();
    }
    void offlineUntilReadyThenTheWindow()
    {
        QTRY_VERIFY(window().offlineScreen().isVisible());
        QVERIFY(!window().isVisible());
        QVERIFY(m_shell.waitUntilReady());
        QCOMPARE(window().offlineScreen().labelState->text(), QStringLiteral("Ready."));
        TransientPopup& popup = window().popup();
        QVERIFY(popup.isVisible());
        QVERIFY(popup.findChild<QLabel*>()->text().startsWith(QStringLiteral("WARNING! It is strongly recommended")));
        QTest::mouseClick(&popup, Qt::LeftButton);
        QVERIFY(!popup.isVisible());
    }
    void metersRunOnceReady()
    {
        // The small meter's four bars, the first a pixel under the meter's top.
        const QString line = m_shell.sim().waitForLine(QStringLiteral("event metering bars=4"), ShellSession::kCommandMs);
        const QPoint meter = window().statusBarWidget().smallMeterWidget->mapTo(&window(), QPoint(0, 1)) + window().pos();
        QVERIFY2(line.contains(QStringLiteral("%1,%2,78x2:in0").arg(meter.x()).arg(meter.y())),
                 qPrintable(m_shell.sim().transcript()));
    }
    void aboutShowsTheUnit()
    {
        const Message version = scenarioData("version");
        QVERIFY(!version.params().get_string("version", "").empty());
        window().pane().showScreen(Pane::ScreenAbout);
        AboutWidget& about = window().pane().about();
        QCOMPARE(about.labelVersion->text(), QString::fromStdString(version.params().get_string("version", "")));
        QCOMPARE(about.labelNodeID->text(), QString::fromStdString(version.params().get_string("node_id", "")));
    }
    void contactClosureFromF2()
    {
        QComboBox* modes = window().pane().keypadSetup().comboF2KeyMode;
        modes->setCurrentIndex(modes->findData(int(KeypadSetup::F2RemoteContactClosure)));
        window().pane().f2Pressed();
        QVERIFY(!m_shell.sim().waitForLine(QStringLiteral("event remoteCC id=0 state=closed"), ShellSession::kCommandMs).isEmpty());
        window().pane().f2Released();
        QVERIFY(!m_shell.sim().waitForLine(QStringLiteral("event remoteCC id=0 state=open"), ShellSession::kCommandMs).isEmpty());
    }
    void factoryResetAfterYes()
    {
        // No is the default: Left moves to Yes.
        const QString question = m_shell.answerQuestion([this] { window().menu().actionReset_Configuration->trigger(); },
                                                        {Qt::Key_Left, Qt::Key_Enter});
        QVERIFY(question.startsWith(QStringLiteral("This will destroy ALL stored settings")));
        QVERIFY(!m_shell.simEvent(QStringLiteral("event reset what=cfg")).isEmpty());
    }
    void firmwareUpdateTexts()
    {
        QVERIFY(!m_shell.simCommand("update start Installing 4.3.0").isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(window().offlineScreen().isVisible(), ShellSession::kCommandMs);
        QVERIFY(!window().isVisible());
        QCOMPARE(window().offlineScreen().labelState->text(), QStringLiteral("Firmware Updating."));
        QTRY_COMPARE(window().offlineScreen().labelStatus->text(), QStringLiteral("Installing 4.3.0"));

        QVERIFY(!m_shell.simCommand("update finish").isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(m_shell.ready(), ShellSession::kCommandMs);
    }

private:
    MainWindow& window() { return m_shell.window(); }

    ShellSession m_shell;
};

QTEST_MAIN(TestShell)
#include "test_shell.moc"
