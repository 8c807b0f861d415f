// The browser in the whole program against the simulated unit: the home page is stored with the
// user-interface settings and the browser, opened from the menu, starts there.
#include "keypadsetup.h"
#include "localwebserver.h"
#include "shellsession.h"
#include "webbrowser.h"

#include <QAction>
#include <QtTest>

class TestBrowserSession : public QObject {
    Q_OBJECT

private slots:
    void opensTheStoredHome()
    {
        ShellSession shell;
        LocalWebServer portal;
        QVERIFY(shell.start() && portal.start());
        const QString home = portal.url("/").toString();
        shell.screen<KeypadSetup>(Pane::ScreenKeypadSetup)->browserHomeURL->setText(home);
        QVERIFY(shell.simEvent("storeSettings group=p_browser").contains(QString::number(portal.serverPort())));
        shell.window().menu().actionBrowser->trigger();
        auto* browser = shell.screen<WebBrowser>(Pane::ScreenBrowser);
        QTRY_COMPARE_WITH_TIMEOUT(browser->webView->url().toString(), home, ShellSession::kCommandMs);
        QTRY_COMPARE_WITH_TIMEOUT(portal.requests().value(0), QString("/"), ShellSession::kCommandMs);
    }
};

QTEST_MAIN(TestBrowserSession)
#include "test_browsersession.moc"
