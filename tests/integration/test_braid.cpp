// A Braid call against the simulated unit over the real socket: the statistics screen fills, the
// delay set on the slider comes back from the unit, the status bar follows the tunnel's health,
// and the unit's own tunnel settings are listed.
#include "braidsettings.h"
#include "braidstats.h"
#include "delayslider.h"
#include "peerlist.h"
#include "shellsession.h"
#include "statusbar.h"
#include "tunnelsession.h"
#include "utilizationgrapher.h"

#include <QtTest>

namespace {
const int kCallMs = 10000;
} // namespace

class TestBraid : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_shell.start({"--stats-rate", "100"}));
        m_stats = m_shell.screen<BraidStats>(Pane::ScreenBraidStats);
        QCOMPARE(m_shell.simCommand("braid health green"), QString("ok braid health green"));
        auto* list = m_shell.screen<PeerList>(Pane::ScreenPeerList);
        QTRY_COMPARE(list->peerTree->topLevelItemCount(), 4);
        list->peerTree->setCurrentItem(list->peerTree->findItems("OB Van 2", Qt::MatchStartsWith).value(0));
        m_shell.key(Qt::Key_Enter);
        QVERIFY(!m_shell.simEvent("event call 3 connected").isEmpty());
    }
    void statisticsFillAndTheDelayComesBack()
    {
        m_shell.window().menu().actionBraid_Stats->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(session() && session()->txButtons().size() == 4, kCallMs);
        QCOMPARE(session()->txButtons().at("1:1")->text(), QString("(0) Ethernet>Far Fibre"));
        QTRY_VERIFY_WITH_TIMEOUT(session()->txGraphList().size() == 4 && session()->txGraphList()[0] > 0, kCallMs);
        QVERIFY(m_stats->utilizationGraph(false)->hasHistory(uint32_t(session()->sid())));
        // Dragged and let go: the unit echoes the delay in its next statistics.
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
    }
    void settingsListed()
    {
        auto* settings = m_shell.screen<BraidSettings>(Pane::ScreenBraidSettings);
        m_shell.window().menu().actionBraid_Settings->trigger();
        QTreeWidget* tree = settings->treeSettings;
        QTRY_VERIFY_WITH_TIMEOUT(!tree->findItems("Maximum Delay", Qt::MatchExactly).isEmpty(), ShellSession::kCommandMs);
        const QList<QTreeWidgetItem*> advanced = tree->findItems("Tunnel Port", Qt::MatchExactly);
        QVERIFY(advanced.size() == 1 && advanced[0]->isHidden());
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
