// A Braid call made and watched from the keypad, its delay steered by touch, against the simulated
// unit over the real socket: the statistics screen fills, the delay set on the slider comes back
// from the unit, the status bar follows the tunnel's health, and a tunnel setting is edited.
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
#include <QtTest>

namespace {
const int kCallMs = 10000;
} // namespace

class TestBraid : public QObject {
    Q_OBJECT

private slots:
    // The call is made from the remote list with the keypad, its tunnel held calm.
    void initTestCase()
    {
        QVERIFY(m_shell.start({"--stats-rate", "100"}));
        m_stats = m_shell.screen<BraidStats>(Pane::ScreenBraidStats);
        QCOMPARE(m_shell.simCommand("braid health green"), QString("ok braid health green"));
        auto* list = m_shell.screen<PeerList>(Pane::ScreenPeerList);
        QTRY_COMPARE(list->peerTree->topLevelItemCount(), 4);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] {
            return list->peerTree->currentItem() && list->peerTree->currentItem()->text(0).startsWith("OB Van 2");
        }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event call 3 connected").isEmpty());
    }
    void statisticsFillDuringACall()
    {
        m_shell.window().menu().actionBraid_Stats->trigger();
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenBraidStats));
        QTRY_VERIFY_WITH_TIMEOUT(session() && session()->txButtons().size() == 4, kCallMs);
        QVERIFY(session()->txButtons().at("1:1")->isVisible());
        QCOMPARE(session()->txButtons().at("1:1")->text(), QString("(0) Ethernet>Far Fibre"));
        QTRY_VERIFY_WITH_TIMEOUT(session()->txGraphList().size() == 4 && session()->txGraphList()[0] > 0, kCallMs);
        QVERIFY(m_stats->utilizationGraph(false)->hasHistory(uint32_t(session()->sid())));

    }
    // The slider dragged on the touch screen and let go: the unit echoes the delay in its next statistics.
    void delayFromTheSliderComesBack()
    {
        DelaySlider* slider = m_stats->txSlider();
        QTRY_COMPARE_WITH_TIMEOUT(slider->value(), 400, kCallMs);
        slider->setSliderDown(true);
        slider->setValue(380);
        slider->setSliderDown(false);
        QVERIFY(!m_shell.simEvent("event setMaxDelay tx 380").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(session()->tx().max_allowed_delay, 380, kCallMs);
        QCOMPARE(slider->value(), 380);
    }
    void indicatorFollowsTheHealth()
    {
        for (const QString colour : {"red", "yellow", "green"}) {
            QCOMPARE(m_shell.simCommand("braid health " + colour), "ok braid health " + colour);
            QTRY_COMPARE_WITH_TIMEOUT(indicator(), colour, kCallMs);
        }
        QVERIFY(m_shell.window().statusBarWidget().labelBraidStatus->isVisible());
    }
    // Down to the second setting, Enter to Edit, one more, Save: back on the same row.
    void editASettingAndComeBackToTheSameRow()
    {
        auto* settings = m_shell.screen<BraidSettings>(Pane::ScreenBraidSettings);
        auto* editor = m_shell.screen<EditConfigSetting>(Pane::ScreenEditConfigSetting);
        m_shell.window().menu().actionBraid_Settings->trigger();
        QTreeWidget* tree = settings->treeSettings;
        QTRY_VERIFY_WITH_TIMEOUT(tree->topLevelItemCount() > 2, ShellSession::kCommandMs);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return tree->currentItem() && tree->currentItem()->text(0) == "Maximum Delay"; }));
        m_shell.key(Qt::Key_Enter);
        QTRY_COMPARE_WITH_TIMEOUT(editor->labelTitle->text(), QString("Maximum Delay"), ShellSession::kCommandMs);
        m_shell.key(Qt::Key_Right);
        QTRY_COMPARE(editor->spinValue->value(), 401);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return QApplication::focusWidget() == editor->buttonSave; }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event option netmgr.tunnel.max_delay=401").isEmpty());
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenBraidSettings));
        QTRY_VERIFY_WITH_TIMEOUT(tree->currentItem() && tree->currentItem()->text(1).startsWith("401"), ShellSession::kCommandMs);
        QCOMPARE(tree->selectedItems().first()->text(0), QString("Maximum Delay"));
        QVERIFY(settings->buttonEdit->isEnabled());
        QVERIFY(tree->findItems("Tunnel Port", Qt::MatchExactly).first()->isHidden());
    }
    void callEndsGray()
    {
        m_shell.window().pane().showScreen(Pane::ScreenPeerList);
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event call 3 idle").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(indicator(), QString("gray"), kCallMs);
        QVERIFY(!session());
    }

private:
    TunnelSession* session() const { return m_stats->tunnelInfo().session(); }
    QString indicator()
    {
        const QImage shown = m_shell.window().statusBarWidget().labelBraidStatus->pixmap(Qt::ReturnByValue).toImage();
        for (const char* colour : {"gray", "green", "yellow", "red"}) {
            if (shown == QPixmap(QString(":/icons/braid_%1.png").arg(colour)).toImage())
                return colour;
        }
        return QString();
    }

    ShellSession m_shell;
    BraidStats* m_stats = nullptr;
};

QTEST_MAIN(TestBraid)
#include "test_braid.moc"
