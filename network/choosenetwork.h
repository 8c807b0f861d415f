#ifndef CHOOSENETWORK_H
#define CHOOSENETWORK_H

#include "keypadhandler.h"
#include "message.h"
#include "panebase.h"
#include "ui_choosenetwork.h"

#include <QListWidgetItem>
#include <QMap>
#include <QPixmap>
#include <QString>
#include <QVector>
#include <QWidget>

#include <string>

// One device of the list: its id and its latest description with the "status" child.
class NetworkListItem : public QListWidgetItem {
public:
    explicit NetworkListItem(const std::string& id);

    const std::string& id() const { return m_id; }
    const Message& desc() const { return m_desc; }
    // The device's status fields; empty until the first status arrives.
    const Params& status() const;
    bool viewOnly() const;

    // A new description: its status is applied by the caller, its name shown here.
    void setDesc(const Message& node);
    // Replaces the description's status by `status`, kept as a child named "status".
    void setStatus(const Message& status);

private:
    std::string m_id;
    Message m_desc;
};

// The unit's network devices with the selected one's state: enables, disables and deletes
// devices and tells the rest of the program whether the network is ready and how strong the
// wireless signals are.
class ChooseNetwork : public QWidget, public Ui::ChooseNetwork, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(ChooseNetwork)

public:
    explicit ChooseNetwork(QWidget* parent = nullptr);

    void paneAboutToShow() override;

    // For the menu: both false without a current device.
    bool isSelectedInstalled() const;
    bool isSelectedViewOnly() const;

signals:
    void newNetworkSelected(const std::string& id);
    void configureRequested();
    void netReadyChanged();
    void signalStrength(uint strength);
    void signalStrengthOff();
    void signalStrengthMulti();

public slots:
    void handleKey(int keycode, bool pressed, bool repeat) override;
    void handleSelectionChanged();
    void handleEnable();
    void handleDisable();
    void deleteNetwork();
    bool getNetReady() const;
    void handleRestrictedToggled(bool restricted);
    void handleRecvNetworkList(Message msg);
    void handleRecvNetworkDevice(Message msg);
    void handleUnsoNetmgrData(QString id, Message msg);
    void handleUnsoNetmgrStatus(QString id, Message msg);
    void handleUnsoNetmgrOverallStatus(QString id, Message msg);

private:
    NetworkListItem* currentDevice() const;
    NetworkListItem* findItem(const std::string& id) const;
    void updateNetReady(const Message& msg);
    void insertItem(NetworkListItem* item, int row);
    void updateItem(NetworkListItem* item, const Message& node);
    void applyStatus(NetworkListItem* item, const Message& status);
    void announceSignals();
    void removeDevice(const std::string& id);
    void redisplayIfCurrent(const NetworkListItem* item);
    void updateButtons(const NetworkListItem* item);
    void sendEnabled(bool enabled);

    bool m_net_ready = false;
    bool m_restricted = false;
    QVector<QPixmap> m_signal_icons;
    QMap<QString, uint> m_signal_strengths;
};

#endif
