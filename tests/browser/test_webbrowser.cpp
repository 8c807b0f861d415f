#include "modalwatch.h"
#include "portallogin.h"
#include "webbrowser.h"

#include <QApplication>
#include <QClipboard>
#include <QSignalSpy>
#include <QTimer>
#include <QWebElement>
#include <QWebFrame>
#include <QWebHistory>
#include <QWebPage>
#include <QtTest>

#include <functional>
#include <memory>

namespace {
constexpr int kLoadMs = 15000;
} // namespace

class TestWebBrowser : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void addressRule_data();
    void addressRule();
    void buttonsFollowTheLoads();
    void keypadWalksThePage();
    void login_data();
    void login();
    void selfSignedCertificateLoads();
    void hidingDropsTheLoadAndShowingStartsAfresh();
    void hidingWhileAskingClosesTheDialog();
    void textSizeResetsOnShow();
    void scriptsRunWithoutTheClipboard();

private:
    void show(const QString& path);
    bool waitForLoad();
    QWebPage* livePage() const { return m_browser->webView->findChild<QWebPage*>(); }
    // Runs `answer` on the authentication dialog whenever one opens, and counts them.
    void onDialog(const std::function<void(WebAuth&)>& answer);

    std::unique_ptr<LocalWebServer> m_server;
    std::unique_ptr<WebBrowser> m_browser;
    QTimer m_dialogWatch;
    int m_dialogs = 0;
};

void TestWebBrowser::init()
{
    m_server = std::make_unique<LocalWebServer>();
    QVERIFY(m_server->start());
    m_browser = std::make_unique<WebBrowser>();
    m_browser->resize(640, 430);
    m_browser->show();
    m_dialogs = 0;
}

void TestWebBrowser::cleanup()
{
    m_dialogWatch.stop();
    m_dialogWatch.disconnect();
    m_browser.reset();
    m_server.reset();
}

void TestWebBrowser::show(const QString& path)
{
    m_browser->browserHomeChanged(m_server->url(path).toString());
    m_browser->paneAboutToShow();
}

bool TestWebBrowser::waitForLoad()
{
    QSignalSpy finished(m_browser->webView, &QWebView::loadFinished);
    return finished.wait(kLoadMs);
}

void TestWebBrowser::onDialog(const std::function<void(WebAuth&)>& answer)
{
    answerEveryModal<WebAuth>(m_dialogWatch, [this, answer](WebAuth& dialog) {
        ++m_dialogs;
        answer(dialog);
    });
}

void TestWebBrowser::addressRule_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("address");

    QTest::newRow("scheme kept") << "https://portal.example/login?x=1" << "https://portal.example/login?x=1";
    QTest::newRow("other scheme kept") << "about:blank" << "about:blank";
    QTest::newRow("dotted name") << "portal.example/a b" << "http://portal.example/a%20b";
    QTest::newRow("address with port") << "  10.0.0.1:8080/x  " << "http://10.0.0.1:8080/x";
    QTest::newRow("ftp in any case") << "FTP.example.org/pub" << "ftp://ftp.example.org/pub";
    QTest::newRow("ftp only before the first dot") << "ftpmirror.example.org" << "http://ftpmirror.example.org";
    QTest::newRow("scheme before a dot") << "mailto:desk@press.example" << "mailto:desk@press.example";
    QTest::newRow("dotted but no address, as typed") << "host1:80.example" << "host1:80.example";
    QTest::newRow("plain word") << " portal " << "portal";
}

void TestWebBrowser::addressRule()
{
    QFETCH(QString, typed);
    QFETCH(QString, address);
    QCOMPARE(QString::fromLatin1(WebBrowser::addressFromText(typed).toEncoded()), address);
}

void TestWebBrowser::buttonsFollowTheLoads()
{
    auto* w = m_browser.get();
    QSignalSpy started(w->webView, &QWebView::loadStarted);
    connect(w->webView, &QWebView::loadStarted, this, [w] {
        QVERIFY(w->buttonStop->isEnabled());
        QVERIFY(!w->buttonReload->isEnabled());
        QVERIFY(!w->buttonBack->isEnabled());
        QVERIFY(!w->buttonForward->isEnabled());
        QVERIFY(w->progressLoad->isVisible());
    });
    show("/");
    QCOMPARE(w->lineURL->text(), m_server->url("/").toString());
    QVERIFY(waitForLoad());
    QCOMPARE(started.count(), 1);
    QVERIFY(!w->buttonStop->isEnabled());
    QVERIFY(w->buttonReload->isEnabled());
    QVERIFY(!w->progressLoad->isVisible());
    QCOMPARE(w->progressLoad->value(), 100);
    QVERIFY(!w->buttonBack->isEnabled());
    QVERIFY(!w->buttonGo->isEnabled());

    w->lineURL->setText(QStringLiteral("127.0.0.1:%1/terms").arg(m_server->serverPort()));
    QVERIFY(w->buttonGo->isEnabled());
    QTest::mouseClick(w->buttonGo, Qt::LeftButton);
    QVERIFY(waitForLoad());
    // The logo comes from the cache on the second page.
    QCOMPARE(m_server->requests(), QStringList({"/", "/logo.svg", "/terms"}));
    QCOMPARE(w->lineURL->text(), m_server->url("/terms").toString());
    QVERIFY(!w->buttonGo->isEnabled());
    QVERIFY(w->buttonBack->isEnabled());
    QVERIFY(!w->buttonForward->isEnabled());

    QTest::mouseClick(w->buttonBack, Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(w->lineURL->text(), m_server->url("/").toString(), kLoadMs);
    QTRY_VERIFY_WITH_TIMEOUT(w->buttonForward->isEnabled(), kLoadMs);
    QVERIFY(!w->buttonBack->isEnabled());
    QTest::mouseClick(w->buttonForward, Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(w->lineURL->text(), m_server->url("/terms").toString(), kLoadMs);
    QCOMPARE(started.count(), 4);
}

void TestWebBrowser::keypadWalksThePage()
{
    show("/");
    QVERIFY(waitForLoad());
    QWebFrame* frame = livePage()->mainFrame();
    auto focused = [frame] { return frame->evaluateJavaScript("document.activeElement.id").toString(); };
    m_browser->handleKey(Qt::Key_Down, false, false);
    QCOMPARE(focused(), QString());
    m_browser->handleKey(Qt::Key_Down, true, false);
    QCOMPARE(focused(), QStringLiteral("signin"));
    m_browser->handleKey(Qt::Key_Down, true, false);
    QCOMPARE(focused(), QStringLiteral("next"));
    m_browser->handleKey(Qt::Key_Up, true, false);
    QCOMPARE(focused(), QStringLiteral("signin"));
    m_browser->handleKey(Qt::Key_Down, true, false);
    // Enter follows the focused link.
    m_browser->handleKey(Qt::Key_Enter, true, false);
    m_browser->handleKey(Qt::Key_Enter, false, false);
    QVERIFY(waitForLoad());
    QCOMPARE(m_server->requests().last(), QStringLiteral("/terms"));

    m_browser->handleKey(Qt::Key_Left, true, false);
    QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->url(), m_server->url("/"), kLoadMs);
    QTRY_VERIFY_WITH_TIMEOUT(m_browser->buttonForward->isEnabled(), kLoadMs);
    m_browser->handleKey(Qt::Key_Right, false, false);
    QTest::qWait(100);
    QCOMPARE(m_browser->webView->url(), m_server->url("/"));
    m_browser->handleKey(Qt::Key_Right, true, false);
    QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->url(), m_server->url("/terms"), kLoadMs);
}

void TestWebBrowser::login_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("authorised");

    QTest::newRow("OK") << "ok" << "Signed in" << 1;
    QTest::newRow("Cancel") << "cancel" << "Unauthorized" << 0;
}

void TestWebBrowser::login()
{
    QFETCH(QString, answer);
    QFETCH(QString, title);
    QFETCH(int, authorised);

    onDialog([answer](WebAuth& dialog) {
        QCOMPARE(dialog.pos(), QPoint(0, 0));
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(typePortalLogin(dialog));
        QCOMPARE(dialog.linePassword->text(), QString(LocalWebServer::kPassword));
        QTest::mousePress(answer == "ok" ? dialog.buttonOK : dialog.buttonCancel, Qt::LeftButton);
    });
    show("/login");
    QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->title(), title, kLoadMs);
    QCOMPARE(m_dialogs, 1);
    QCOMPARE(m_server->authorised(), authorised);

    // The login left with the page: a new showing asks again.
    m_browser->paneAboutToHide();
    m_browser->paneAboutToShow();
    QTRY_COMPARE_WITH_TIMEOUT(m_dialogs, 2, kLoadMs);
}

void TestWebBrowser::selfSignedCertificateLoads()
{
    LocalWebServer secure(true);
    QVERIFY(secure.start());
    m_browser->browserHomeChanged(secure.url("/").toString());
    m_browser->paneAboutToShow();
    QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->title(), QStringLiteral("/"), kLoadMs);
}

void TestWebBrowser::hidingDropsTheLoadAndShowingStartsAfresh()
{
    show("/");
    QVERIFY(waitForLoad());
    m_browser->lineURL->setText(m_server->url("/slow").toString());
    QTest::mouseClick(m_browser->buttonGo, Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(m_server->slowOpen(), kLoadMs);
    QVERIFY(m_browser->buttonStop->isEnabled());

    m_browser->paneAboutToHide();
    QVERIFY(!livePage());
    QTRY_VERIFY_WITH_TIMEOUT(!m_server->slowOpen(), kLoadMs);
    QVERIFY(!m_browser->buttonStop->isEnabled());

    // A new home while hidden is only remembered.
    m_browser->browserHomeChanged(m_server->url("/terms").toString());
    QTest::qWait(100);
    QCOMPARE(m_server->requests(), QStringList({"/", "/logo.svg", "/slow"}));
    QVERIFY(!livePage());

    m_browser->paneAboutToShow();
    QVERIFY(waitForLoad());
    // Nothing of the first showing served the second: not the page, not its logo.
    QCOMPARE(m_server->requests(), QStringList({"/", "/logo.svg", "/slow", "/terms", "/logo.svg"}));
    QVERIFY(!m_browser->webView->history()->canGoBack());
}

// A login dialog still open when the screen goes is closed, and the page goes after it.
void TestWebBrowser::hidingWhileAskingClosesTheDialog()
{
    onDialog([this](WebAuth& dialog) {
        // Up and Down walk the dialog's fields, not the page waiting under it.
        m_browser->handleKey(Qt::Key_Down, true, false);
        QCOMPARE(dialog.focusWidget(), dialog.linePassword);
        m_browser->handleKey(Qt::Key_Up, true, false);
        QCOMPARE(dialog.focusWidget(), dialog.lineUsername);
        m_browser->paneAboutToHide();
    });
    show("/login");
    QTRY_COMPARE_WITH_TIMEOUT(m_dialogs, 1, kLoadMs);
    QTRY_VERIFY_WITH_TIMEOUT(!livePage(), kLoadMs);
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(m_server->authorised(), 0);
}

void TestWebBrowser::textSizeResetsOnShow()
{
    show("/");
    QTest::mouseClick(m_browser->buttonFontUp, Qt::LeftButton);
    QTest::mouseClick(m_browser->buttonFontUp, Qt::LeftButton);
    QTest::mouseClick(m_browser->buttonFontDown, Qt::LeftButton);
    // The engine keeps the factor in single precision.
    QVERIFY(qAbs(m_browser->webView->zoomFactor() - 1.1) < 1e-6);
    QTest::mouseClick(m_browser->buttonFontUp, Qt::LeftButton);
    QVERIFY(qAbs(m_browser->webView->zoomFactor() - 1.21) < 1e-6);
    m_browser->paneAboutToHide();
    m_browser->paneAboutToShow();
    QCOMPARE(m_browser->webView->zoomFactor(), 1.0);
}

void TestWebBrowser::scriptsRunWithoutTheClipboard()
{
    QApplication::clipboard()->setText(QStringLiteral("kept"));
    show("/script");
    QVERIFY(waitForLoad());
    QCOMPARE(livePage()->mainFrame()->findFirstElement("#ran").toPlainText(), QStringLiteral("yes"));
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kept"));
}

QTEST_MAIN(TestWebBrowser)
#include "test_webbrowser.moc"
