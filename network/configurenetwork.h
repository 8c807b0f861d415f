#ifndef CONFIGURENETWORK_H
#define CONFIGURENETWORK_H

#include "configparser.h"
#include "keypadhandler.h"
#include "message.h"
#include "panebase.h"
#include "ui_configurenetwork.h"

#include <QPixmap>
#include <QString>
#include <QVector>
#include <QWidget>

#include <string>

// One network device in full: status, settings, locations and, for a wireless device, a scan
// of nearby networks. Settings are edited one at a time in the option editor; this screen
// lists them and sends the device's commands.
class ConfigureNetwork : public QWidget, public Ui::ConfigureNetwork, public KeypadHandler, public PaneBase,
                         public ConfigParser {
    Q_OBJECT
    Q_DISABLE_COPY(ConfigureNetwork)

public:
    explicit ConfigureNetwork(QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void paneAboutToHide() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;
    // The stack opens the screen on its Status page.
    void showStatusTab();

signals:
    void configureDone();
    void editNetworkSetting(const std::string& path);
    // A question is open: the keypad drives its buttons meanwhile.
    void changeModal(bool modal);

public slots:
    void setSelectedID(std::string id);
    void saveSettings();
    void cancelConfigure();
    void handleRecvNetworkDevice(Message msg);
    void handleRecvNetworkDeviceLocation(Message msg);
    void handleUnsoNetmgrWifi(QString id, Message msg);
    void handleUnsoNetmgrData(QString id, Message msg);
    void handleUnsoNetmgrStatus(QString id, Message msg);
    void handleEditSetting();
    void handleEditLocationSetting();
    void handleApply();
    void handleDone();
    void handleScan();
    void handleCreateLocation();
    void handleDeleteLocation();
    void handleAddLocation();
    void handleAdvancedChanged(int state);
    void changeSettingsSelection();
    void changeLocationsSelection();
    void changeScanSelection();
    void locationItemExpanded(QTreeWidgetItem* item);
    void settingsClicked();
    void locationsClicked();
    void scanClicked();

private:
    std::string devicePath() const;
    void showStatus(const Message& status);
    void fillSettings(const Message& group);
    void fillLocations(const Message& group);
    void addLocation(const Message& location);
    void showScanMessage(const QString& text);
    void sendCommand(const char* name, const std::string& path, const char* group, const char* seq,
                     const std::string& selection = std::string());
    bool isScanShown() const;
    void enterTree(QTreeWidget* tree);

    std::string m_device_id;
    QVector<QPixmap> m_signal_icons;
};

#endif
