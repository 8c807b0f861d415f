#include "shellfixture.h"

#include "offline.h"
#include "transientpopup.h"

class TestOfflinePopup : public QObject {
    Q_OBJECT

private slots:
    void offlineTexts_data()
    {
        QTest::addColumn<QList<int>>("states");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("status");

        const int down = IPCClient::IPC_DISCONNECTED;
        const int in = IPCClient::IPC_LOGGED_IN;
        const int ready = IPCClient::IPC_READY;
        const QString creating = ":/icons/connect_creating.png";
        const QString established = ":/icons/connect_established.png";
        QTest::newRow("boot") << QList<int>{down} << creating << "System Booted." << "Loading Application...";
        QTest::newRow("first login") << QList<int>{down, in} << established << "Application Loaded."
                                     << "Starting application...";
        QTest::newRow("ready") << QList<int>{down, in, ready} << ":/icons/alert_info.png" << "Ready." << "";
        QTest::newRow("later disconnection") << QList<int>{down, in, ready, down} << creating << "Please Wait..."
                                             << "Operation Failed.";
        QTest::newRow("later login") << QList<int>{down, in, ready, down, in} << established << "Please Wait..."
                                     << "Operation Failed.";
        // The update's own progress text comes separately.
        QTest::newRow("updating") << QList<int>{down, in, int(IPCClient::IPC_UPDATING)} << ":/icons/package.png"
                                  << "Firmware Updating." << "Starting application...";
    }
    void offlineTexts()
    {
        QFETCH(QList<int>, states);
        QFETCH(QString, icon);
        QFETCH(QString, state);
        QFETCH(QString, status);

        QWidget parent;
        Offline offline(&parent);
        for (int s : states)
            offline.setState(IPCClient::IPC_STATE(s), false);
        QCOMPARE(offline.labelIcon->pixmap(Qt::ReturnByValue).toImage(), QPixmap(icon).toImage());
        QCOMPARE(offline.labelState->text(), state);
        QCOMPARE(offline.labelStatus->text(), status);
    }
    void popupGeometry_data()
    {
        QTest::addColumn<int>("extraHeight");
        QTest::addColumn<bool>("shifted");
        QTest::addColumn<QRect>("geometry");
        QTest::newRow("plain") << 0 << false << QRect(220, 190, 200, 100);
        QTest::newRow("over the meters") << 80 << true << QRect(220, 215, 200, 180);
        QTest::newRow("odd height rounds down") << 1 << false << QRect(220, 189, 200, 101);
    }
    void popupGeometry()
    {
        QFETCH(int, extraHeight);
        QFETCH(bool, shifted);
        QFETCH(QRect, geometry);

        QWidget parent;
        TransientPopup popup(&parent);
        popup.setShifted(shifted);
        popup.showMessage(QStringLiteral("text"), 0, extraHeight);
        QCOMPARE(popup.geometry(), geometry);
        QCOMPARE(popup.findChild<QLabel*>()->geometry(), QRect(QPoint(0, 0), geometry.size()));
    }
    void popupDismissal()
    {
        QWidget parent;
        TransientPopup popup(&parent);

        popup.showMessage(QStringLiteral("timed"), 60000, 0);
        QTest::mouseClick(&popup, Qt::LeftButton);
        QVERIFY2(popup.isVisible(), "a timed message ignores taps");

        popup.showMessage(QStringLiteral("timed"), 20, 0);
        QTRY_VERIFY(!popup.isVisible());

        popup.showMessage(QStringLiteral("until tapped"), 0, 0);
        // It takes the taps meant for the screen under it.
        QCOMPARE(QApplication::activeModalWidget(), &popup);
        QTest::qWait(50);
        QVERIFY(popup.isVisible());
        QTest::mouseClick(&popup, Qt::LeftButton);
        QVERIFY(!popup.isVisible());
    }
    void windowFollowsTheLink()
    {
        ShellFixture shell;
        MainWindow& window = *shell.window;
        QTRY_VERIFY(window.offlineScreen().isVisible());
        QCOMPARE(window.offlineScreen().labelStatus->text(), QStringLiteral("Initializing system... Please wait."));
        QCOMPARE(window.offlineScreen().grab().toImage().pixelColor(1, 1), QColor(60, 60, 200));
        QVERIFY(!window.isVisible());

        shell.setState(IPCClient::IPC_LOGGED_IN);
        shell.setState(IPCClient::IPC_READY);
        QVERIFY(!window.offlineScreen().isVisible());
        QVERIFY(window.isVisible());
        QVERIFY(!window.popup().isVisible());

        emit g_ipcClient.recvCodeUpdateStatus(QStringLiteral("Writing flash"));
        shell.setState(IPCClient::IPC_UPDATING);
        QVERIFY(window.offlineScreen().isVisible());
        QVERIFY(!window.isVisible());
        QCOMPARE(window.offlineScreen().labelState->text(), QStringLiteral("Firmware Updating."));
        QCOMPARE(window.offlineScreen().labelStatus->text(), QStringLiteral("Writing flash"));

        // Back on the factory password: a warning that stays until tapped.
        shell.setState(IPCClient::IPC_READY, true);
        QVERIFY(window.isVisible());
        QCOMPARE(window.popup().findChild<QLabel*>()->text(),
                 QStringLiteral("WARNING! It is strongly recommended that you change the remote control password for "
                                "security reasons."));
        QTest::qWait(50);
        QVERIFY2(window.popup().isVisible(), "the warning stays until dismissed");
    }
};

QTEST_MAIN(TestOfflinePopup)
#include "test_offline_popup.moc"
