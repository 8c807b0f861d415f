#include "statusbar.h"

#include <QTimer>
#include <QtTest>

namespace {

struct FakeSource : StatusSource {
    bool chatOnShow() const override { return chatShown; }
    bool networkReady() const override { return netReady; }
    bool anyCallActive() const override { return active; }
    bool chatShown = false;
    bool netReady = false;
    bool active = false;
};

QImage imageOf(const QString& resource)
{
    return QPixmap(resource).toImage();
}

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
    void signalStrengthIcon_data()
    {
        QTest::addColumn<uint>("strength");
        QTest::addColumn<QString>("icon");
        QTest::newRow("0") << 0u << ":/icons/signal_strength_0.png";
        QTest::newRow("1") << 1u << ":/icons/signal_strength_1.png";
        QTest::newRow("25") << 25u << ":/icons/signal_strength_1.png";
        QTest::newRow("26") << 26u << ":/icons/signal_strength_2.png";
        QTest::newRow("100") << 100u << ":/icons/signal_strength_4.png";
        QTest::newRow("101 is blank") << 101u << QString();
    }
    void signalStrengthIcon()
    {
        QFETCH(uint, strength);
        QFETCH(QString, icon);
        m_bar->updateSignalStrength(strength);
        QVERIFY(m_bar->labelSignalMeter->isVisibleTo(m_bar));
        // No resource gives a null image: a blank label.
        QCOMPARE(m_bar->labelSignalMeter->pixmap(Qt::ReturnByValue).toImage(), imageOf(icon));
    }
    void linkIndicator_data()
    {
        QTest::addColumn<bool>("netReady");
        QTest::addColumn<bool>("active");
        QTest::addColumn<QString>("icon");
        QTest::newRow("network and call") << true << true << ":/icons/link_go.png";
        QTest::newRow("network only") << true << false << ":/icons/link.png";
        QTest::newRow("call without network") << false << true << ":/icons/link_error.png";
        QTest::newRow("neither") << false << false << ":/icons/link_break.png";
    }
    void linkIndicator()
    {
        QFETCH(bool, netReady);
        QFETCH(bool, active);
        QFETCH(QString, icon);
        m_source.netReady = netReady;
        m_source.active = active;
        m_bar->updateLinkIndicator();
        QCOMPARE(m_bar->labelLink->pixmap(Qt::ReturnByValue).toImage(), imageOf(icon));
    }
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
            // The first blink comes from the timer itself, the next from ticks at once.
            const auto lit = [&] { return imageOf(m_bar->chatButton->icon()) == alert; };
            QTRY_VERIFY(lit());
            QList<bool> phases;
            for (int phase = 0; phase < 2; ++phase) {
                tick();
                phases << lit();
            }
            QCOMPARE(phases, (QList<bool>{false, true}));
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
    void indicatorsComeAndGo_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("signalIcon"); // empty: hidden
        QTest::addColumn<QString>("braidIcon");
        QTest::newRow("none at first") << "" << "" << "";
        QTest::newRow("several signals") << "multi" << ":/icons/signal_strength_multiple.png" << "";
        QTest::newRow("signal off") << "multi signaloff" << "" << "";
        QTest::newRow("braid yellow") << "braid:yellow" << "" << ":/icons/braid_yellow.png";
        QTest::newRow("unknown colour keeps the last") << "braid:red braid:blue" << "" << ":/icons/braid_red.png";
        QTest::newRow("braid gray, then off") << "braid:gray braidoff" << "" << "";
        QTest::newRow("braid green") << "braid:green" << "" << ":/icons/braid_green.png";
    }
    void indicatorsComeAndGo()
    {
        QFETCH(QString, steps);
        QFETCH(QString, signalIcon);
        QFETCH(QString, braidIcon);
        for (const QString& step : steps.split(' ', Qt::SkipEmptyParts)) {
            if (step == "multi")
                m_bar->signalStrengthMulti();
            else if (step == "signaloff")
                m_bar->signalStrengthOff();
            else if (step == "braidoff")
                m_bar->braidStatusOff();
            else
                m_bar->updateBraidStatus(step.section(':', 1));
        }
        for (const auto& [label, icon] : {std::pair(m_bar->labelSignalMeter, signalIcon), std::pair(m_bar->labelBraidStatus, braidIcon)}) {
            QCOMPARE(label->isVisibleTo(m_bar), !icon.isEmpty());
            if (!icon.isEmpty())
                QCOMPARE(label->pixmap(Qt::ReturnByValue).toImage(), imageOf(icon));
        }
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
