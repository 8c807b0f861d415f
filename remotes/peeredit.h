#ifndef PEEREDIT_H
#define PEEREDIT_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_peeredit.h"

#include <QString>
#include <QWidget>

class QRegularExpressionValidator;

// Adds a remote or changes the selected one's settings: name, address, password, Braid, the
// profile its calls use and its backup. Also removes the selected remote once the operator
// has confirmed it.
class PeerEdit : public QWidget, public Ui::PeerEdit, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(PeerEdit)

public:
    explicit PeerEdit(QWidget* parent = nullptr);

    void handleKey(int keycode, bool pressed, bool repeat) override;
    void paneAboutToShow() override;

signals:
    void editPeerDone();

public slots:
    void setPeerID(int peer_id);
    void setEdit(bool edit);
    void populate();
    void savePeer();
    void cancelSavePeer();
    void deletePeer();
    void braidStateChanged(int state);
    void nameEditTextChanged(QString text);
    void addressEditTextChanged(QString text);
    void macAddrEditTextChanged(QString text);

private:
    void populatePeer();
    void populateProfiles();
    void setPlaitShown(bool shown);
    bool macAcceptable() const;
    void recolourMac();
    void updateOkButton();

    int m_peerId = 0;
    bool m_edit = true;
    bool m_plaitShown = true;
    // The profile of the remote being edited, offered even when hidden.
    int m_peerProfile = 0;
    QRegularExpressionValidator* m_macValidator;
};

#endif
