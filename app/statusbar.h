#ifndef STATUSBAR_H
#define STATUSBAR_H

#include "ui_statusbar.h"

#include <QIcon>
#include <QMap>
#include <QPixmap>
#include <QWidget>

class QTimer;

// What the status bar asks of the screens it reports on.
class StatusSource {
public:
    virtual ~StatusSource() = default;
    // The chat screen is the one on show: its lines need no alert.
    virtual bool chatOnShow() const = 0;
    // Some network device is alive.
    virtual bool networkReady() const = 0;
    // Some call is up.
    virtual bool anyCallActive() const = 0;
};

// The strip along the bottom: signal strength, link/call, Braid, chat alert, keyboard button and
// the small level meter (drawn by the backend over smallMeterWidget).
class StatusBar : public QWidget, public Ui::StatusBar {
    Q_OBJECT
    Q_DISABLE_COPY(StatusBar)

public:
    StatusBar(QWidget* frame, const StatusSource& source);

    void setKeyboardButtonEnabled(bool enabled);
    bool keyboardButtonEnabled() const;
    bool chatAlerting() const { return chatAlert; }
    void clearChatAlert() { chatAlert = false; }

public slots:
    void handleChatAlert();
    void updateLinkIndicator();
    void updateSignalStrength(uint str);
    void updateBraidStatus(QString state);
    void braidStatusOff();
    void signalStrengthOff();
    void signalStrengthMulti();

private slots:
    void handleAlertTimer();

private:
    bool chatAlert = false;
    const StatusSource& m_source;
    QMap<int, QPixmap> signalIcons;
    QPixmap multiIcon;
    QMap<QString, QPixmap> braidIcons;
    QPixmap linkGo;
    QPixmap linkUp;
    QPixmap linkError;
    QPixmap linkBreak;
    QIcon chatIcon;
    QIcon chatAddIcon;
    QTimer* alertTimer;
    // Shared by every instance, as the blink phase is a property of the display, not of one bar.
    static bool blinkPhase;
};

#endif
