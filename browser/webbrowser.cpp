#include "webbrowser.h"

#include "browserhome.h"
#include "webauth.h"

#include <QAuthenticator>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QTimer>
#include <QWebHistory>
#include <QWebPage>
#include <QWebSettings>

namespace {
constexpr qreal kZoomStep = 1.1;
} // namespace

WebBrowser::WebBrowser(QWidget* parent)
    : QWidget(parent)
    , m_homeUrl(QString::fromLatin1(kDefaultBrowserHome))
{
    setupUi(this);
    progressLoad->hide();

    connect(buttonGo, &QPushButton::clicked, this, &WebBrowser::loadURL);
    connect(lineURL, &QLineEdit::returnPressed, this, &WebBrowser::loadURL);
    connect(lineURL, &QLineEdit::textChanged, this, &WebBrowser::urlEdited);
    connect(buttonHome, &QPushButton::clicked, this, &WebBrowser::loadHome);
    connect(buttonStop, &QPushButton::clicked, webView, &QWebView::stop);
    connect(buttonBack, &QPushButton::clicked, webView, &QWebView::back);
    connect(buttonForward, &QPushButton::clicked, webView, &QWebView::forward);
    connect(buttonReload, &QPushButton::clicked, webView, &QWebView::reload);
    connect(buttonFontUp, &QPushButton::clicked, this, &WebBrowser::increaseFont);
    connect(buttonFontDown, &QPushButton::clicked, this, &WebBrowser::decreaseFont);
    connect(webView, &QWebView::urlChanged, this, &WebBrowser::urlChanged);
    connect(webView, &QWebView::loadStarted, this, &WebBrowser::loadStarted);
    connect(webView, &QWebView::loadFinished, this, &WebBrowser::loadFinished);
    connect(webView, &QWebView::loadProgress, progressLoad, &QProgressBar::setValue);
}

// A page dying in the middle of a load still reports; it must go while this is whole.
WebBrowser::~WebBrowser()
{
    dropPage();
}

QUrl WebBrowser::addressFromText(const QString& typed)
{
    static const QRegularExpression kWithScheme(QRegularExpression::anchoredPattern(QStringLiteral("[a-zA-Z]+\\:.*")));
    const QString text = typed.trimmed();
    if (kWithScheme.match(text).hasMatch()) {
        const QUrl url(text, QUrl::TolerantMode);
        if (url.isValid())
            return url;
    }
    const int dot = text.indexOf(QLatin1Char('.'));
    if (dot >= 0) {
        const QString scheme = text.left(dot).toLower() == QLatin1String("ftp") ? QStringLiteral("ftp")
                                                                                : QStringLiteral("http");
        const QUrl url(scheme + QLatin1String("://") + text, QUrl::TolerantMode);
        if (url.isValid())
            return url;
    }
    return QUrl(text, QUrl::TolerantMode);
}

void WebBrowser::browserHomeChanged(const QString& url)
{
    m_homeUrl = url;
}

void WebBrowser::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    // Set here rather than at construction: the engine starts only when the browser is first
    // shown. Global, so that every page has them.
    QWebSettings* settings = QWebSettings::globalSettings();
    settings->setAttribute(QWebSettings::JavascriptEnabled, true);
    settings->setAttribute(QWebSettings::JavaEnabled, false);
    settings->setAttribute(QWebSettings::JavascriptCanOpenWindows, false);
    settings->setAttribute(QWebSettings::JavascriptCanAccessClipboard, false);
    // A fresh page: no history, no logins, and the text at its normal size.
    auto* page = new QWebPage(webView);
    webView->setPage(page);
    QNetworkAccessManager* network = page->networkAccessManager();
    connect(network, &QNetworkAccessManager::authenticationRequired, this, &WebBrowser::authenticationRequired);
    connect(network, &QNetworkAccessManager::sslErrors, this, &WebBrowser::sslErrors);
    loadHome();
    lineURL->setText(m_homeUrl);
    webView->setFocus();
}

void WebBrowser::paneAboutToHide()
{
    PaneBase::paneAboutToHide();
    // A page waiting for a login is on the stack under the dialog: it goes once it has its answer.
    if (m_asking > 0) {
        for (WebAuth* dialog : findChildren<WebAuth*>())
            dialog->reject();
        return;
    }
    dropPage();
}

void WebBrowser::dropPage()
{
    // The view's own page is its child, so this deletes it with its content and network state.
    // A page dying in the middle of a load still reports through the view; nothing may answer.
    {
        const QSignalBlocker quiet(webView);
        webView->setPage(nullptr);
    }
    // The engine keeps what pages loaded in caches of its own, shared by all pages.
    QWebSettings::clearMemoryCaches();
    progressLoad->hide();
    for (QPushButton* button : {buttonStop, buttonReload, buttonBack, buttonForward})
        button->setEnabled(false);
}

void WebBrowser::handleKey(int keycode, bool pressed, bool repeat)
{
    if (keycode == Qt::Key_Enter) {
        injectKey(Qt::Key_Enter, pressed, repeat);
        return;
    }
    // A login dialog is open: Up and Down walk its fields and buttons instead of the page.
    if (m_asking > 0) {
        if (keycode == Qt::Key_Up || keycode == Qt::Key_Down)
            moveThroughForm(keycode, pressed, repeat);
        return;
    }
    if (!pressed)
        return;
    switch (keycode) {
    case Qt::Key_Left:
        buttonBack->setFocus();
        buttonBack->click();
        break;
    case Qt::Key_Right:
        buttonForward->setFocus();
        buttonForward->click();
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        webView->setFocus();
        webView->page()->focusNextPrevChild(keycode == Qt::Key_Down);
        break;
    default:
        break;
    }
}

void WebBrowser::loadURL()
{
    webView->load(addressFromText(lineURL->text()));
}

void WebBrowser::loadHome()
{
    webView->load(addressFromText(m_homeUrl));
}

void WebBrowser::urlChanged()
{
    lineURL->setText(webView->url().toString());
    buttonEnables();
}

void WebBrowser::loadStarted()
{
    progressLoad->show();
    buttonStop->setEnabled(true);
    buttonReload->setEnabled(false);
    buttonBack->setEnabled(false);
    buttonForward->setEnabled(false);
}

void WebBrowser::loadFinished()
{
    progressLoad->hide();
    buttonStop->setEnabled(false);
    buttonReload->setEnabled(true);
    buttonEnables();
}

void WebBrowser::urlEdited()
{
    buttonGo->setEnabled(true);
}

void WebBrowser::buttonEnables()
{
    QWebHistory* history = webView->history();
    buttonBack->setEnabled(history->canGoBack());
    buttonForward->setEnabled(history->canGoForward());
    buttonGo->setEnabled(false);
}

void WebBrowser::increaseFont()
{
    webView->setZoomFactor(webView->zoomFactor() * kZoomStep);
}

void WebBrowser::decreaseFont()
{
    webView->setZoomFactor(webView->zoomFactor() / kZoomStep);
}

// A captive portal rarely has a certificate the unit could check; the operator decides.
void WebBrowser::sslErrors(QNetworkReply* reply, const QList<QSslError>& errors)
{
    reply->ignoreSslErrors(errors);
}

void WebBrowser::authenticationRequired(QNetworkReply*, QAuthenticator* authenticator)
{
    WebAuth dialog(this);
    ++m_asking;
    const bool given = dialog.exec() == QDialog::Accepted;
    --m_asking;
    if (!shown) {
        // Hidden while asking: the page goes once the network code that asked has returned.
        if (m_asking == 0)
            QTimer::singleShot(0, this, [this] {
                if (!shown)
                    dropPage();
            });
        return;
    }
    if (given) {
        authenticator->setUser(dialog.lineUsername->text());
        authenticator->setPassword(dialog.linePassword->text());
    }
}
