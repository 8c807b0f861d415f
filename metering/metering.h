#ifndef METERING_H
#define METERING_H

#include "ipcclient.h"
#include "keypadhandler.h"
#include "ui_metering.h"

#include <QWidget>

class BigMeter;
class SmallMeter;

// The meters screen and the controller of both meters. The backend draws the bars; this class
// tells it where they lie and switches them off whenever they are hidden or covered.
class Metering : public QWidget, public Ui::Metering, public KeypadHandler {
    Q_OBJECT
    Q_DISABLE_COPY(Metering)

public:
    explicit Metering(QWidget *parent = nullptr);

    void createSmallMeter(QWidget *parent);
    void setBigMeterEnabled(bool enabled);
    void setSuspended(bool suspended, bool bigPaused);

signals:
    void smallMeterClicked();
    void metersSuspended();
    void metersActive();

protected slots:
    void ipcChangedState(IPCClient::IPC_STATE state, bool def_pwd);
    void handleMeterChange();
    void menuAboutToShow();
    void menuAboutToHide();

private:
    void sendMetering();

    BigMeter *m_bigMeter;
    SmallMeter *m_smallMeter = nullptr;
    bool m_smallEnabled = false;
    bool m_bigEnabled = false;
    bool m_suspended = false;
    bool m_bigPaused = false;
};

#endif
