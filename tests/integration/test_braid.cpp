// A Braid call against the simulated unit over the real socket: the statistics screen fills, the
// delay set on the slider comes back from the unit, and the status bar follows the tunnel's health
// until the call ends.
#include "braidstats.h"
#include "delayslider.h"
#include "peerlist.h"
#include "shellsession.h"
#include "statusbar.h"
#include "tunnelsession.h"

#include <QtTest>

class TestBraid : public QObject {
    Q_OBJECT

private slots:
    void callStatisticsAndHealth()
    {
        const int callMs = 10000;
        ShellSession shell;
        QVERIFY(shell.start({"--stats-rate", "100"}));
        auto* stats = shell.screen<BraidStats>(Pane::ScreenBraidStats);
        const auto session = [stats] { return stats->tunnelInfo().session(); };
        auto* list = shell.screen<PeerList>(Pane::ScreenPeerList);
        QTRY_COMPARE(list->peerTree->topLevelItemCount(), 4);
        list->peerTree->setCurrentItem(list->peerTree->findItems("OB Van 2", Qt::MatchStartsWith).value(0));
        shell.key(Qt::Key_Enter);
        QVERIFY(!shell.simEvent("event call 3 connected").isEmpty());
        shell.window().menu().actionBraid_Stats->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(session() && session()->txGraphList().size() == 4 && session()->txGraphList()[0] > 0, callMs);
        QCOMPARE(session()->txButtons().at("1:1")->text(), QString("(0) Ethernet>Far Fibre"));
        // Dragged and let go: the unit echoes the delay in its next statistics.
        DelaySlider* slider = stats->txSlider();
        QTRY_COMPARE_WITH_TIMEOUT(slider->value(), 400, callMs);
        slider->setSliderDown(true);
        slider->setValue(380);
        slider->setSliderDown(false);
        QVERIFY(!shell.simEvent("event setMaxDelay tx 380").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(session()->tx().max_allowed_delay, 380, callMs);

        const auto indicatorShows = [&shell](const QString& colour) {
            const QPixmap shown = shell.window().statusBarWidget().labelBraidStatus->pixmap(Qt::ReturnByValue);
            return shown.toImage() == QPixmap(":/icons/braid_" + colour + ".png").toImage();
        };
        for (const QString colour : {"red", "yellow", "green"}) {
            QCOMPARE(shell.simCommand("braid health " + colour), "ok braid health " + colour);
            QTRY_VERIFY_WITH_TIMEOUT(indicatorShows(colour), callMs);
        }
        shell.window().pane().showScreen(Pane::ScreenPeerList);
        shell.key(Qt::Key_Enter);
        QVERIFY(!shell.simEvent("event call 3 idle").isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(indicatorShows("gray"), callMs);
    }
};

QTEST_MAIN(TestBraid)
#include "test_braid.moc"
