// The browser against a local web server: addresses from typed text, buttons through loads, the
// keypad, logins, certificates, and what goes when the screen is hidden.
#include "modalwatch.h"
#include "portallogin.h"
#include "webbrowser.h"

#include <QApplication>
#include <QClipboard>
#include <QSignalSpy>
#include <QWebElement>
#include <QWebFrame>
#include <QWebHistory>
#include <QWebPage>
#include <QtTest>

namespace {
constexpr int kLoadMs = 15000;

// "stop reload back forward go progress", each 1 when enabled (shown for the progress bar).
QString buttons(WebBrowser* w)
{
    QString out;
    for (QWidget* widget : std::initializer_list<QWidget*>{w->buttonStop, w->buttonReload, w->buttonBack, w->buttonForward,
                                                          w->buttonGo})
        out += widget->isEnabled() ? '1' : '0';
    return out + (w->progressLoad->isVisible() ? '1' : '0');
}
} // namespace

class TestWebBrowser : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<LocalWebServer>();
        QVERIFY(m_server->start());
        m_browser = std::make_unique<WebBrowser>();
        m_browser->resize(640, 430);
        m_browser->show();
        m_dialogs = 0;
    }
    void cleanup()
    {
        m_dialogWatch.stop();
        m_dialogWatch.disconnect();
        m_browser.reset();
        m_server.reset();
    }
    // What is typed, then the address loaded: a scheme is kept, a dotted name gets one.
    void addressRule()
    {
        const QString rows = R"(https://portal.example/login?x=1|https://portal.example/login?x=1
portal.example/a b|http://portal.example/a%20b
  10.0.0.1:8080/x  |http://10.0.0.1:8080/x
FTP.example.org/pub|ftp://ftp.example.org/pub
ftpmirror.example.org|http://ftpmirror.example.org
mailto:desk@press.example|mailto:desk@press.example
host1:80.example|host1:80.example
 portal |portal)";
        for (const QString& row : rows.split('\n'))
            QCOMPARE(QString::fromLatin1(WebBrowser::addressFromText(row.section('|', 0, 0)).toEncoded()), row.section('|', 1));
    }
    // Go, Return and Reload, with the buttons while each loads and after it; then the keypad.
    void buttonsAndKeypadFollowTheLoads()
    {
        auto* w = m_browser.get();
        QStringList whileLoading;
        connect(w->webView, &QWebView::loadStarted, this, [&] { whileLoading << buttons(w).remove(4, 1); });
        show("/", false);
        QCOMPARE(w->focusWidget(), static_cast<QWidget*>(w->webView));
        QVERIFY(waitForLoad());
        QCOMPARE(buttons(w), QString("010000"));
        QCOMPARE(w->progressLoad->value(), 100);
        w->lineURL->setText(QStringLiteral("127.0.0.1:%1/terms").arg(m_server->serverPort()));
        QCOMPARE(buttons(w), QString("010010"));
        QTest::mouseClick(w->buttonGo, Qt::LeftButton);
        QVERIFY(waitForLoad());
        QCOMPARE(w->lineURL->text(), m_server->url("/terms").toString());
        QCOMPARE(buttons(w), QString("011000"));
        w->lineURL->setText(m_server->url("/").toString());
        QTest::keyClick(w->lineURL, Qt::Key_Return);
        QVERIFY(waitForLoad());
        QTest::mouseClick(w->buttonReload, Qt::LeftButton);
        QVERIFY(waitForLoad());
        QCOMPARE(buttons(w), QString("011000"));
        QCOMPARE(whileLoading.join(" "), QString("10001 ").repeated(4).trimmed());

        // The keypad: Up and Down walk the page's links on their press.
        QWebFrame* frame = livePage()->mainFrame();
        QStringList focused;
        for (auto [keycode, pressed] : std::initializer_list<std::pair<int, bool>>{
                 {Qt::Key_Down, false}, {Qt::Key_Down, true}, {Qt::Key_Down, true}, {Qt::Key_Up, true}, {Qt::Key_Down, true}}) {
            key(keycode, pressed);
            focused << frame->evaluateJavaScript("document.activeElement.id").toString();
        }
        QCOMPARE(focused, QStringList({"", "signin", "next", "signin", "next"}));
        // Enter follows the focused link; Left and Right go back and forward on their press.
        key(Qt::Key_Enter);
        key(Qt::Key_Enter, false);
        QVERIFY(waitForLoad());
        QCOMPARE(m_server->requests().last(), QStringLiteral("/terms"));
        key(Qt::Key_Left);
        QTRY_COMPARE_WITH_TIMEOUT(buttons(m_browser.get()), QString("011100"), kLoadMs);
        QCOMPARE(m_browser->lineURL->text(), m_server->url("/").toString());
        key(Qt::Key_Right, false);
        key(Qt::Key_Right);
        QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->url(), m_server->url("/terms"), kLoadMs);
        QTest::mouseClick(m_browser->buttonHome, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->url(), m_server->url("/"), kLoadMs);
    }
    void login_data()
    {
        QTest::addColumn<int>("answer"); // 1 OK, 0 Cancel, -1 the screen hidden while asking
        QTest::addColumn<QString>("title");
        QTest::newRow("OK") << 1 << "Signed in";
        QTest::newRow("Cancel") << 0 << "Unauthorized";
        QTest::newRow("hidden while asking") << -1 << "";
    }
    void login()
    {
        QFETCH(int, answer);
        QFETCH(QString, title);

        onDialog([this, answer](WebAuth& dialog) {
            QCOMPARE(dialog.pos(), QPoint(0, 0));
            QCOMPARE(dialog.focusWidget(), dialog.lineUsername);
            // Up and Down walk the dialog's fields, not the page waiting under it.
            for (auto [keycode, field] : {std::pair(Qt::Key_Down, dialog.linePassword), std::pair(Qt::Key_Left, dialog.linePassword),
                                          std::pair(Qt::Key_Up, dialog.lineUsername)}) {
                key(keycode);
                QCOMPARE(dialog.focusWidget(), field);
            }
            QVERIFY(typePortalLogin(dialog));
            if (answer < 0)
                m_browser->paneAboutToHide();
            else
                QTest::mousePress(answer ? dialog.buttonOK : dialog.buttonCancel, Qt::LeftButton);
            QVERIFY(!dialog.isVisible());
        });
        show("/login", false);
        if (answer < 0) {
            // The dialog is closed, and the page goes after it.
            QTRY_VERIFY_WITH_TIMEOUT(m_dialogs == 1 && !livePage(), kLoadMs);
            QVERIFY(!QApplication::activeModalWidget());
            QCOMPARE(m_server->authorised(), 0);
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_browser->webView->title(), title, kLoadMs);
        QCOMPARE(m_dialogs, 1);
        QCOMPARE(m_server->authorised(), answer);
        for (QPushButton* button : {m_browser->buttonFontUp, m_browser->buttonFontUp, m_browser->buttonFontDown})
            QTest::mouseClick(button, Qt::LeftButton);
        // The engine keeps the factor in single precision.
        QVERIFY(qAbs(m_browser->webView->zoomFactor() - 1.1) < 1e-6);
        // The login and the text size left with the page: a new showing asks again, at the normal size.
        m_browser->paneAboutToHide();
        m_browser->paneAboutToShow();
        QCOMPARE(m_browser->webView->zoomFactor(), 1.0);
        QTRY_COMPARE_WITH_TIMEOUT(m_dialogs, 2, kLoadMs);
    }
    void hidingDropsTheLoadAndShowingStartsAfresh()
    {
        show("/");
        m_browser->lineURL->setText(m_server->url("/slow").toString());
        QTest::mouseClick(m_browser->buttonGo, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(m_server->slowOpen(), kLoadMs);
        QTest::mouseClick(m_browser->buttonStop, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!m_server->slowOpen(), kLoadMs);
        QTest::keyClick(m_browser->lineURL, Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(m_server->slowOpen(), kLoadMs);
        m_browser->paneAboutToHide();
        QVERIFY(!livePage());
        QCOMPARE(buttons(m_browser.get()).remove(4, 1), QString("00000"));
        QTRY_VERIFY_WITH_TIMEOUT(!m_server->slowOpen(), kLoadMs);
        // A new home while hidden is only remembered; nothing of the first showing serves the second.
        m_browser->browserHomeChanged(m_server->url("/terms").toString());
        m_browser->paneAboutToShow();
        QVERIFY(waitForLoad());
        QCOMPARE(m_server->requests(), QStringList({"/", "/logo.svg", "/slow", "/slow", "/terms", "/logo.svg"}));
        QVERIFY(!m_browser->webView->history()->canGoBack());
    }
    void scriptsRunWithoutTheClipboardAndCertificatesPass()
    {
        QApplication::clipboard()->setText(QStringLiteral("kept"));
        show("/script");
        QCOMPARE(livePage()->mainFrame()->findFirstElement("#ran").toPlainText(), QStringLiteral("yes"));
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kept"));
        // A certificate nobody signed: the operator is trusted to know the portal.
        m_server = std::make_unique<LocalWebServer>(true);
        QVERIFY(m_server->start());
        show("/");
        QCOMPARE(m_browser->webView->title(), QStringLiteral("/"));
    }

private:
    void show(const QString& path, bool wait = true)
    {
        m_browser->browserHomeChanged(m_server->url(path).toString());
        m_browser->paneAboutToShow();
        if (wait)
            QVERIFY(waitForLoad());
    }
    bool waitForLoad() { return QSignalSpy(m_browser->webView, &QWebView::loadFinished).wait(kLoadMs); }
    QWebPage* livePage() const { return m_browser->webView->findChild<QWebPage*>(); }
    void key(int keycode, bool pressed = true) { m_browser->handleKey(keycode, pressed, false); }
    // Runs `answer` on the authentication dialog whenever one opens, and counts them.
    void onDialog(const std::function<void(WebAuth&)>& answer)
    {
        answerEveryModal<WebAuth>(m_dialogWatch, [this, answer](WebAuth& dialog) {
            ++m_dialogs;
            answer(dialog);
            // One its buttons failed to close would hold the test for good.
            QTimer::singleShot(3000, &dialog, [&dialog] { dialog.done(-1); });
        });
    }

    std::unique_ptr<LocalWebServer> m_server;
    std::unique_ptr<WebBrowser> m_browser;
    QTimer m_dialogWatch;
    int m_dialogs = 0;
};


QTEST_MAIN(TestWebBrowser)
#include "test_webbrowser.moc"
