#include "iconname.h"
#include "statusbar.h"

#include <QtTest>
#include <QtWidgets>

namespace {

struct FakeSource : StatusSource {
    bool chatOnShow() const override { return chatShown; }
    bool networkReady() const override { return netReady; }
    bool anyCallActive() const override { return active; }
    bool chatShown = false;
    bool netReady = false;
    bool active = false;
};

} // namespace

class TestStatusBar : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_source = FakeSource();
        m_bar = new StatusBar(&m_frame, m_source);
        m_frame.show();
    }
    void cleanup() { delete m_bar; }
    // The next blink starts lit, also after an alert cleared half-way; none while chat is on show.
    void chatAlertBlinksUntilCleared()
    {
        const QTimer* blink = m_bar->findChild<QTimer*>();
        QStringList shown;
        for (int round = 0; round < 2; ++round) {
            m_bar->handleChatAlert();
            shown << QString("alerting=%1 blinking=%2").arg(m_bar->chatAlerting()).arg(blink->isActive());
            for (int phase = 0; phase < 3; ++phase) {
                tick();
                shown << iconName(m_bar->chatButton->icon().pixmap(16, 16));
            }
            m_bar->clearChatAlert();
            tick();
            shown << iconName(m_bar->chatButton->icon().pixmap(16, 16)) + QString(" blinking=%1").arg(blink->isActive());
        }
        const QStringList round{"alerting=1 blinking=1", "comment_add", "comment", "comment_add", "comment blinking=0"};
        QCOMPARE(shown, round + round);
        m_source.chatShown = true;
        m_bar->handleChatAlert();
        QVERIFY(!m_bar->chatAlerting());
    }
    // Each step is a call the screens make; then what the signal, braid and link indicators
    // show, "-" where hidden. An unknown braid colour keeps the last.
    void indicators_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* steps, const char* shown) { QTest::newRow(steps) << steps << shown; };
        row("", "- - link_break");
        row("strength:0 braid:yellow link:net,call", "signal_strength_0 braid_yellow link_go");
        row("strength:1 braid:red braid:blue link:net", "signal_strength_1 braid_red link");
        row("strength:25 braid:gray braidoff link:call", "signal_strength_1 - link_error");
        row("strength:26 braid:green link:call link:", "signal_strength_2 braid_green link_break");
        row("strength:100", "signal_strength_4 - link_break");
        row("strength:101", "none - link_break");
        row("multi", "signal_strength_multiple - link_break");
        row("multi signaloff", "- - link_break");
    }
    void indicators()
    {
        QFETCH(QString, steps);
        QFETCH(QString, shown);
        for (const QString& step : steps.split(' ', Qt::SkipEmptyParts)) {
            const QString call = step.section(':', 0, 0);
            const QString argument = step.section(':', 1);
            if (call == "strength")
                m_bar->updateSignalStrength(argument.toUInt());
            else if (call == "multi")
                m_bar->signalStrengthMulti();
            else if (call == "signaloff")
                m_bar->signalStrengthOff();
            else if (call == "braid")
                m_bar->updateBraidStatus(argument);
            else if (call == "braidoff")
                m_bar->braidStatusOff();
            else {
                m_source.netReady = argument.contains("net");
                m_source.active = argument.contains("call");
                m_bar->updateLinkIndicator();
            }
        }
        QStringList indicators;
        for (const QLabel* label : {m_bar->labelSignalMeter, m_bar->labelBraidStatus, m_bar->labelLink})
            indicators << (label->isVisibleTo(m_bar) ? iconName(label->pixmap(Qt::ReturnByValue)) : "-");
        QCOMPARE(indicators.join(' '), shown);
    }

private:
    // One tick of the blink timer, without waiting for it.
    void tick() { QMetaObject::invokeMethod(m_bar, "handleAlertTimer"); }

    QWidget m_frame;
    FakeSource m_source;
    StatusBar* m_bar = nullptr;
};

QTEST_MAIN(TestStatusBar)
#include "test_statusbar.moc"
