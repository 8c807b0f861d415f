#ifndef KEYPADSETUP_H
#define KEYPADSETUP_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_keypadsetup.h"

#include <QString>
#include <QWidget>

class Message;

// The user-interface preferences the backend stores for this screen: what F2 does, the browser's
// home page and restricted user mode. Every change is stored at once; stored values come back
// with the client's "loadSettings" answer.
class KeypadSetup : public QWidget, public Ui::KeypadSetup, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(KeypadSetup)

public:
    // The F2 key's behaviours, by the value stored with the user's choice.
    enum F2Mode {
        F2Cycle = 0,
        F2ToggleNetworks = 1,
        F2ToggleRemotes = 2,
        F2TogglePeerStats = 3,
        F2ToggleChannelStats = 4,
        F2ToggleMeters = 5,
        F2ToggleKeyboard = 6,
        F2ToggleChat = 7,
        F2RemoteContactClosure = 8,
        F2ToggleBraidStats = 9
    };

    explicit KeypadSetup(QWidget* parent = nullptr);

    // The F2 behaviour last chosen or loaded, by its stored number.
    int f2Mode() const { return m_f2Mode; }

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void restrictedModeChanged(bool on);
    void browserHomeChanged(const QString& url);

private slots:
    void f2ModeChange(int idx);
    void browserHomeChange(const QString& url);
    void restrictedModeChange(bool on);
    void receiveSettings();

private:
    static void store(Message& request);

    bool m_populating = false;
    int m_f2Mode = 0;
};

#endif
