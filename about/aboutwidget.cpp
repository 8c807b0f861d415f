#include "aboutwidget.h"

#include "ipcinstances.h"
#include "message.h"

#include <QCoreApplication>
#include <QFile>
#include <QKeyEvent>
#include <QTextDocument>

namespace {
const int kLegalTab = 1;
}

AboutWidget::AboutWidget(QWidget *parent, const QString &licenseFile)
    : QWidget(parent)
    , m_licenseFile(licenseFile)
{
    setupUi(this);
    connect(&g_ipcClient, &IPCClient::recvVersion, this, &AboutWidget::updateVersion);
    loadLicense();
}

void AboutWidget::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    tabWidget->setFocus();
    tabWidget->setTabText(kLegalTab, tr("Legal"));
    loadLicense();
}

void AboutWidget::loadLicense()
{
    // Not setSource(): it renders every file but Markdown as HTML, which runs the lines of
    // plain-text notices together.
    QFile file(m_licenseFile);
    if (!file.open(QIODevice::ReadOnly)) {
        browserLicense->clear();
        return;
    }
    const QString notices = QString::fromUtf8(file.readAll());
    if (Qt::mightBeRichText(notices))
        browserLicense->setHtml(notices);
    else
        browserLicense->setPlainText(notices);
}

void AboutWidget::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Left:
    case Qt::Key_Right:
        tabWidget->setFocus();
        injectKey(keycode, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (tabWidget->currentIndex() == kLegalTab) {
            QCoreApplication::postEvent(browserLicense,
                                        new QKeyEvent(pressed ? QEvent::KeyPress : QEvent::KeyRelease,
                                                      keycode, Qt::NoModifier));
        }
        break;
    default:
        break;
    }
}

void AboutWidget::updateVersion()
{
    Message version;
    if (!g_ipcClient.copyResponse("version", version))
        return;
    labelVersion->setText(QString::fromStdString(version.params().get_string("version", "")));
    labelNodeID->setText(QString::fromStdString(version.params().get_string("node_id", "")));
}
