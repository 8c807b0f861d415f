// A Braid call made and watched from the keypad, its delay steered by touch, against the simulated unit over the real
// socket: the statistics screen fills, the delay set on the slider comes back from the unit, the
// status bar follows the tunnel's health, and a tunnel setting is edited and returned to.
#include "braidsettings.h"
#include "braidstats.h"
#include "delayslider.h"
#include "editconfigsetting.h"
#include "peerlist.h"
#include "shellsession.h"
#include "statusbar.h"
#include "tunnelsession.h"
#include "utilizationgrapher.h"

#include <QApplication>
#include <QCheckBox>
#include <QtTest>

namespace {
const int kCallMs = 10000;
const int kBraidRemoteId = 3;
} // namespace

class TestBraid : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void statisticsFillDuringACall();
    void delayFromTheSliderComesBack();
    void automaticDelay();
    void indicatorFollowsTheHealth_data();
    void indicatorFollowsTheHealth();
    void droppedConnectionLeavesAndReturns();
    void editASettingAndComeBackToTheSameRow();
    void callEndsGray();

private:
    bool focused(QWidget* widget) const { return QApplication::focusWidget() == widget; }
    TunnelSession* session() const { return m_stats->tunnelInfo().session(); }
    QString indicator();

    ShellSession m_shell;
    BraidStats* m_stats = nullptr;
};

QString TestBraid::indicator()
{
    const QImage shown = m_shell.window().statusBarWidget().labelBraidStatus->pixmap(Qt::ReturnByValue).toImage();
    for (const char* colour : {"gray", "green", "yellow", "red"}) {
        if (shown == QPixmap(QString(":/icons/braid_%1.png").arg(colour)).toImage())
            return colour;
    }
    return QString();
}

// The call is made from the remote list with the keypad, its tunnel held calm.
void TestBraid::initTestCase()
{
    QVERIFY(m_shell.start({"--stats-rate", "300"}));
    m_stats = m_shell.screen<BraidStats>(Pane::ScreenBraidStats);
    QVERIFY(m_stats);
    QCOMPARE(m_shell.simCommand("braid health green"), QString("ok braid health green"));

    auto* list = m_shell.screen<PeerList>(Pane::ScreenPeerList);
    QTRY_COMPARE(list->peerTree->topLevelItemCount(), 4);
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] {
        return list->peerTree->currentItem() && list->peerTree->currentItem()->text(0).startsWith("OB Van 2");
    }));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent(QString("event call %1 connected").arg(kBraidRemoteId)).isEmpty());
}

void TestBraid::statisticsFillDuringACall()
{
    m_shell.window().menu().actionBraid_Stats->trigger();
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenBraidStats));
    QTRY_VERIFY_WITH_TIMEOUT(session() && session()->txButtons().size() == 4, kCallMs);
    QVERIFY(m_stats->radioTx->isChecked());
    for (const auto& entry : session()->txButtons())
        QVERIFY(entry.second->isVisible());
    QCOMPARE(session()->txButtons().at("1:1")->text(), QString("(0) Ethernet>Far Fibre"));
    QVERIFY(m_stats->utilizationGraph(false)->hasHistory(uint32_t(session()->sid())));
    QTRY_VERIFY_WITH_TIMEOUT(session()->txGraphList().size() == 4 && session()->txGraphList()[0] > 0, kCallMs);

    // Right on the Transmit button moves to Receive, Enter takes it.
    m_stats->radioTx->setFocus();
    m_shell.key(Qt::Key_Right);
    QVERIFY(focused(m_stats->radioRx));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(m_stats->radioRx->isChecked());
    QVERIFY(session()->rxButtons().at("1:1")->isVisible());
    QVERIFY(!session()->txButtons().at("1:1")->isVisible());
    m_shell.key(Qt::Key_Left);
    m_shell.key(Qt::Key_Enter);
    QVERIFY(m_stats->radioTx->isChecked());
}

// The slider dragged on the touch screen and let go; the unit echoes the delay in its next statistics.
void TestBraid::delayFromTheSliderComesBack()
{
    DelaySlider* slider = m_stats->txSlider();
    QTRY_COMPARE_WITH_TIMEOUT(slider->value(), 400, kCallMs);
    slider->setSliderDown(true);
    slider->setValue(380);
    slider->setSliderDown(false);
    QVERIFY(!m_shell.simEvent("event setMaxDelay tx 380").isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(session()->tx().max_allowed_delay, 380, kCallMs);
    QCOMPARE(slider->value(), 380);
    QCOMPARE(slider->maximum(), 500);
    QVERIFY(slider->marker() > 0);
}

void TestBraid::automaticDelay()
{
    QCheckBox* automatic = m_stats->txAuto();
    automatic->click();
    QVERIFY(!m_shell.simEvent("event setMaxDelay tx auto").isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(session()->tx().delay_mode_auto, kCallMs);
    QVERIFY(m_stats->txSlider()->isAuto());
    QVERIFY(!m_stats->txSlider()->isEnabled());

    automatic->click();
    QVERIFY(!m_shell.simEvent("event setMaxDelay tx").isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!session()->tx().delay_mode_auto, kCallMs);
    QVERIFY(m_stats->txSlider()->isEnabled());
}

void TestBraid::indicatorFollowsTheHealth_data()
{
    QTest::addColumn<QString>("health");
    QTest::addColumn<QString>("colour");
    QTest::newRow("red") << "red" << "red";
    QTest::newRow("yellow") << "yellow" << "yellow";
    QTest::newRow("green") << "green" << "green";
}

void TestBraid::indicatorFollowsTheHealth()
{
    QFETCH(QString, health);
    QFETCH(QString, colour);
    QCOMPARE(m_shell.simCommand("braid health " + health), "ok braid health " + health);
    QTRY_COMPARE_WITH_TIMEOUT(indicator(), colour, kCallMs);
    QVERIFY(m_shell.window().statusBarWidget().labelBraidStatus->isVisible());
}

void TestBraid::droppedConnectionLeavesAndReturns()
{
    QCOMPARE(m_shell.simCommand("braid drop 2"), QString("ok braid connection 2:1 dropped"));
    QTRY_COMPARE_WITH_TIMEOUT(session()->txButtons().size(), std::size_t(3), kCallMs);
    QCOMPARE(session()->connections().count("2:1"), std::size_t(0));
    QTRY_COMPARE_WITH_TIMEOUT(session()->txButtons().size(), std::size_t(4), kCallMs);
}

// Down to the second setting, Enter to Edit, one more, Save: back on the same row.
void TestBraid::editASettingAndComeBackToTheSameRow()
{
    auto* settings = m_shell.screen<BraidSettings>(Pane::ScreenBraidSettings);
    auto* editor = m_shell.screen<EditConfigSetting>(Pane::ScreenEditConfigSetting);
    m_shell.window().menu().actionBraid_Settings->trigger();
    QTreeWidget* tree = settings->treeSettings;
    QTRY_VERIFY_WITH_TIMEOUT(tree->topLevelItemCount() > 2, ShellSession::kCommandMs);
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return tree->currentItem() && tree->currentItem()->text(0) == "Maximum Delay"; }));
    m_shell.key(Qt::Key_Enter);
    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenEditConfigSetting));
    QTRY_COMPARE_WITH_TIMEOUT(editor->labelTitle->text(), QString("Maximum Delay"), ShellSession::kCommandMs);
    m_shell.key(Qt::Key_Right);
    QTRY_COMPARE(editor->spinValue->value(), 401);
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return focused(editor->buttonSave); }));
    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent("event option netmgr.tunnel.max_delay=401").isEmpty());

    QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenBraidSettings));
    QTRY_VERIFY_WITH_TIMEOUT(tree->currentItem() && tree->currentItem()->text(1).startsWith("401"),
                             ShellSession::kCommandMs);
    QCOMPARE(tree->selectedItems().size(), 1);
    QCOMPARE(tree->selectedItems().first()->text(0), QString("Maximum Delay"));
    QVERIFY(settings->buttonEdit->isEnabled());
    // Advanced settings are not listed here.
    QCOMPARE(tree->findItems("Tunnel Port", Qt::MatchExactly).first()->isHidden(), true);
}

void TestBraid::callEndsGray()
{
    m_shell.window().pane().showScreen(Pane::ScreenPeerList);
    m_shell.key(Qt::Key_Enter);
    QVERIFY(!m_shell.simEvent(QString("event call %1 idle").arg(kBraidRemoteId)).isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(indicator(), QString("gray"), kCallMs);
    QVERIFY(!session());
}

QTEST_MAIN(TestBraid)
#include "test_braid.moc"
