#ifndef CHAT_H
#define CHAT_H

#include "ipcclient.h"
#include "keypadhandler.h"
#include "panebase.h"
#include "ui_chat.h"

#include <QWidget>

// Text chat with the far end and the unit's other user interfaces: every line the backend relays
// goes into the transcript, and a line from someone else raises chatAlert().
class Chat : public QWidget, public Ui::Chat, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(Chat)

public:
    explicit Chat(QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void chatAlert();

private slots:
    void textChanged();
    void newChatMessage(const Message& record);
    void sendChat();
    void sendHello();
    void ipcChangedState(IPCClient::IPC_STATE state, bool def_pwd);

private:
    static void sendRecord(const char* type, const QString& text);
};

#endif
