#include "chat.h"

#include "ipcinstances.h"
#include "logger.h"
#include "message.h"

#include <QMutexLocker>

namespace {
// How this user interface names itself to the other ends of the chat.
const char* const kSelfName = "Portable";
const char* const kMessage = "message";
const char* const kStatus = "status";
} // namespace

Chat::Chat(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    connect(lineMessage, &QLineEdit::textChanged, this, &Chat::textChanged);
    connect(buttonSend, &QPushButton::clicked, this, &Chat::sendChat);
    connect(&g_ipcClient, &IPCClient::recvChat, this, &Chat::newChatMessage);
    connect(&g_ipcClient, &IPCClient::changedState, this, &Chat::ipcChangedState);
}

void Chat::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    lineMessage->setFocus();
}

void Chat::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        if (pressed)
            buttonSend->click();
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        lineMessage->setFocus();
        injectKey(keycode, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        textChat->setFocus();
        injectKey(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}

void Chat::textChanged()
{
    buttonSend->setEnabled(!lineMessage->text().isEmpty());
}

void Chat::newChatMessage()
{
    std::string type;
    std::string from;
    std::string text;
    bool portable = false;
    {
        QMutexLocker lock(g_ipcClient.mutex());
        const Message* record = g_ipcClient.getResponse("chat");
        if (!record)
            return;
        type = record->params().get_string("type", "");
        from = record->params().get_string("from", "");
        text = record->params().get_string("text", "");
        portable = record->params().get_bool("portable", false);
    }

    // Senders may use markup, so the text goes in as received.
    const QString sender = QString::fromStdString(from);
    const QString line = QString::fromStdString(text);
    bool alert = false;
    if (type == kMessage && portable) {
        textChat->append("<font color='#227722'><strong>>></strong> " + line + "</font>");
    } else if (type == kMessage) {
        textChat->append("<font color='#222277'><strong>[" + sender + "]</strong> " + line + "</font>");
        alert = true;
    } else if (type == kStatus) {
        textChat->append("<font color='#772222'></strong>*** " + sender + " " + line + "</strong></font>");
        alert = !portable;
    } else {
        return;
    }

    g_log.log(LOG_DEBUG, "chat: %s line from %s%s", type.c_str(), from.c_str(), alert ? ", alert" : "");
    if (alert)
        emit chatAlert();
}

void Chat::sendChat()
{
    sendRecord(kMessage, lineMessage->text());
    lineMessage->clear();
    lineMessage->setFocus();
}

void Chat::sendHello()
{
    sendRecord(kStatus, QStringLiteral("has entered chat."));
}

void Chat::ipcChangedState(IPCClient::IPC_STATE state, bool)
{
    if (state == IPCClient::IPC_READY)
        sendHello();
}

void Chat::sendRecord(const char* type, const QString& text)
{
    Message record("chat");
    record.params().set_string("type", type);
    record.params().set_string("from", kSelfName);
    record.params().set_string("when", "");
    record.params().set_string("text", text.toStdString());
    record.params().set_bool("portable", true);
    g_ipcClient.sendRequest(record);
}
