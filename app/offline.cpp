#include "offline.h"

namespace {
const char* const kPleaseWait = "Please Wait...";
const char* const kFailed = "Operation Failed.";
} // namespace

Offline::Offline(QWidget* parent)
    : QDialog(parent)
    , offline(QStringLiteral(":/icons/connect_creating.png"))
    , loggedIn(QStringLiteral(":/icons/connect_established.png"))
    , updating(QStringLiteral(":/icons/package.png"))
    , ready(QStringLiteral(":/icons/alert_info.png"))
{
    setupUi(this);
    setWindowFlags((windowFlags() & ~Qt::WindowTitleHint) | Qt::FramelessWindowHint);
    setModal(true);

    QPalette pal = palette();
    pal.setColor(QPalette::Window, QColor(60, 60, 200, 255));
    pal.setColor(QPalette::WindowText, QColor(255, 255, 255, 255));
    pal.setColor(QPalette::Shadow, QColor(230, 230, 255, 255));
    setPalette(pal);
    setAutoFillBackground(true);
}

void Offline::setStatus(QString status)
{
    labelStatus->setText(status);
}

void Offline::setState(IPCClient::IPC_STATE state, bool)
{
    switch (state) {
    case IPCClient::IPC_DISCONNECTED:
        showState(offline, firstRun ? tr("System Booted.") : tr(kPleaseWait));
        setStatus(firstRun ? tr("Loading Application...") : tr(kFailed));
        break;
    case IPCClient::IPC_LOGGED_IN:
        showState(loggedIn, firstRun ? tr("Application Loaded.") : tr(kPleaseWait));
        setStatus(firstRun ? tr("Starting application...") : tr(kFailed));
        firstRun = false;
        break;
    case IPCClient::IPC_READY:
        showState(ready, tr("Ready."));
        setStatus(QString());
        break;
    case IPCClient::IPC_UPDATING:
        // The backend's own progress text arrives through setStatus.
        showState(updating, tr("Firmware Updating."));
        break;
    }
}

void Offline::showState(const QPixmap& icon, const QString& state)
{
    labelIcon->setPixmap(icon);
    labelState->setText(state);
}
