// The operator's way through the browser against the simulated unit: the home page stored with the
// user-interface settings, the browser opened from the menu with the keypad, a portal's login
// typed on the dialog's keyboard, and nothing left of the page once the screen is left.
#include "keypadsetup.h"
#include "modalwatch.h"
#include "portallogin.h"
#include "shellsession.h"
#include "webbrowser.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QWebPage>
#include <QtTest>

class TestBrowserSession : public QObject {
    Q_OBJECT

private slots:
    void signInThroughThePortalThenLeave();

private:
    ShellSession m_shell;
};

void TestBrowserSession::signInThroughThePortalThenLeave()
{
    LocalWebServer portal;
    QVERIFY(m_shell.start() && portal.start());
    const QString home = portal.url("/").toString();
    m_shell.screen<KeypadSetup>(Pane::ScreenKeypadSetup)->browserHomeURL->setText(home);
    QVERIFY(m_shell.simEvent("storeSettings group=p_browser").contains(QString::number(portal.serverPort())));

    QMenuBar* bar = m_shell.window().menuBar();
    m_shell.key(Qt::Key_F1);
    QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return bar->activeAction()->text() == "Network"; }));
    QMenu* network = bar->activeAction()->menu();
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] {
        return network->activeAction() && network->activeAction()->text() == "Web Browser";
    }));
    m_shell.key(Qt::Key_Enter);
    auto* browser = m_shell.screen<WebBrowser>(Pane::ScreenBrowser);
    QTRY_COMPARE_WITH_TIMEOUT(browser->webView->url().toString(), home, ShellSession::kCommandMs);
    QTRY_VERIFY_WITH_TIMEOUT(browser->buttonReload->isEnabled(), ShellSession::kCommandMs);

    QTimer watch;
    answerEveryModal<WebAuth>(watch, [](WebAuth& dialog) {
        QVERIFY(typePortalLogin(dialog));
        QTest::mousePress(dialog.buttonOK, Qt::LeftButton);
    });
    // Down to the sign-in link, Enter follows it.
    m_shell.key(Qt::Key_Down);
    m_shell.key(Qt::Key_Enter);
    QTRY_COMPARE_WITH_TIMEOUT(browser->webView->title(), QStringLiteral("Signed in"), ShellSession::kCommandMs);
    QCOMPARE(portal.authorised(), 1);

    m_shell.key(Qt::Key_F2);
    QVERIFY(m_shell.window().pane().currentScreen() != Pane::ScreenBrowser);
    QVERIFY(!browser->webView->findChild<QWebPage*>());
}

QTEST_MAIN(TestBrowserSession)
#include "test_browsersession.moc"
