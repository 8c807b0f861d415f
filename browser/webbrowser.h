#ifndef WEBBROWSER_H
#define WEBBROWSER_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_webbrowser.h"

#include <QList>
#include <QSslError>
#include <QString>
#include <QUrl>
#include <QWidget>

class QAuthenticator;
class QNetworkReply;

// A small web browser for captive portals and simple pages. It holds a page only while it is on
// show: every showing starts afresh at the home page, and hiding throws the page away with its
// history, cookies and logins.
class WebBrowser : public QWidget, public Ui::WebBrowser, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(WebBrowser)

public:
    explicit WebBrowser(QWidget* parent = nullptr);
    ~WebBrowser() override;

    // The address the operator means by what he typed: a scheme is kept, a dotted name gets one.
    static QUrl addressFromText(const QString& typed);

    QString homeUrl() const { return m_homeUrl; }

    void paneAboutToShow() override;
    void paneAboutToHide() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

public slots:
    void browserHomeChanged(const QString& url);

private slots:
    void loadURL();
    void loadHome();
    void urlChanged();
    void loadStarted();
    void loadFinished();
    void urlEdited();
    void buttonEnables();
    void increaseFont();
    void decreaseFont();
    void sslErrors(QNetworkReply* reply, const QList<QSslError>& errors);
    void authenticationRequired(QNetworkReply* reply, QAuthenticator* authenticator);

private:
    void dropPage();

    QString m_homeUrl;
    // Authentication dialogs open: the page that asked is on the stack below them.
    int m_asking = 0;
};

#endif
