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
    // The next blink starts lit, also after an alert cleared half-way.
    void chatAlertBlinksUntilCleared()
    {
        const auto imageOf = [](const QIcon& icon) { return icon.pixmap(16, 16).toImage(); };
        const QImage plain = imageOf(QIcon(QStringLiteral(":/icons/comment.png")));
        const QImage alert = imageOf(QIcon(QStringLiteral(":/icons/comment_add.png")));
        const QTimer* blink = m_bar->findChild<QTimer*>();
        for (int round = 0; round < 2; ++round) {
            m_bar->handleChatAlert();
            QVERIFY(m_bar->chatAlerting());
            QVERIFY(blink->isActive());
            const auto lit = [&] { return imageOf(m_bar->chatButton->icon()) == alert; };
            QList<bool> phases;
            for (int phase = 0; phase < 3; ++phase) {
                tick();
                phases << lit();
            }
            QCOMPARE(phases, (QList<bool>{true, false, true}));
            m_bar->clearChatAlert();
            tick();
            QCOMPARE(imageOf(m_bar->chatButton->icon()), plain);
            QVERIFY(!blink->isActive());
        }
        // No alert while chat is on show.
        m_source.chatShown = true;
        m_bar->handleChatAlert();
        QVERIFY(!m_bar->chatAlerting());
    }
    // Each step is a call the screens make; then one indicator is checked: "-" hidden, "" blank.
    void indicators_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("icon");
        const auto row = [](const char* steps, const char* label, const char* icon) {
            QTest::addRow("%s: %s", label, steps) << steps << label << icon;
        };
        const char* signal = "labelSignalMeter";
        const char* braid = "labelBraidStatus";
        const char* link = "labelLink";
        row("", signal, "-");
        row("", braid, "-");
        row("strength:0", signal, "signal_strength_0");
        row("strength:1", signal, "signal_strength_1");
        row("strength:25", signal, "signal_strength_1");
        row("strength:26", signal, "signal_strength_2");
        row("strength:100", signal, "signal_strength_4");
        row("strength:101", signal, "");
        row("multi", signal, "signal_strength_multiple");
        row("multi signaloff", signal, "-");
        row("braid:yellow", braid, "braid_yellow");
        row("braid:red braid:blue", braid, "braid_red"); // an unknown colour keeps the last
        row("braid:gray braidoff", braid, "-");
        row("braid:green", braid, "braid_green");
        row("link:net,call", link, "link_go");
        row("link:net", link, "link");
        row("link:call", link, "link_error");
        row("link:", link, "link_break");
    }
    void indicators()
    {
        QFETCH(QString, steps);
        QFETCH(QString, label);
        QFETCH(QString, icon);
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
        const QLabel* shown = m_bar->findChild<QLabel*>(label);
        QCOMPARE(shown->isVisibleTo(m_bar), icon != "-");
        if (icon != "-")
            QCOMPARE(shown->pixmap(Qt::ReturnByValue).toImage(), QPixmap(icon.isEmpty() ? icon : ":/icons/" + icon + ".png").toImage());
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
