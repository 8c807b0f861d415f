#ifndef OFFLINE_H
#define OFFLINE_H

#include "ipcclient.h"
#include "ui_offline.h"

#include <QDialog>
#include <QPixmap>

// Stands in front of everything while the backend is not ready, saying what the link is doing.
class Offline : public QDialog, public Ui::Offline {
    Q_OBJECT
    Q_DISABLE_COPY(Offline)

public:
    explicit Offline(QWidget* parent);

public slots:
    void setStatus(QString status);
    void setState(IPCClient::IPC_STATE state, bool def_pwd);

private:
    void showState(const QPixmap& icon, const QString& state);

    bool firstRun = true;
    QPixmap offline;
    QPixmap loggedIn;
    QPixmap updating;
    QPixmap ready;
};

#endif
