#include "configurenetwork.h"

#include "debuglog.h"
#include "deviceclassicons.h"
#include "devicestatus.h"
#include "ipcinstances.h"
#include "strutil.h"

#include <QColor>
#include <QHeaderView>
#include <QMessageBox>

namespace {
const char* const kDevicesPrefix = "netmgr.devices.";
constexpr int kSettingsColumnWidth = 200;
// Wide enough for an indented option name under its location.
constexpr int kLocationsNameWidth = 230;
constexpr int kIconSize = 32;

std::string rowName(const QTreeWidgetItem* row, int role = ConfigParser::NameRole)
{
    return row->data(0, role).toString().toStdString();
}
} // namespace

ConfigureNetwork::ConfigureNetwork(QWidget* parent)
    : QWidget(parent),
      m_signal_icons(devicestatus::loadSignalIcons())
{
    setupUi(this);
    tabNetwork->removeTab(tabNetwork->indexOf(tabScan));
    treeSettings->setColumnWidth(0, kSettingsColumnWidth);
    treeSettings->setColumnWidth(1, kSettingsColumnWidth);
    treeLocations->setColumnWidth(0, kLocationsNameWidth);

    connect(buttonEditSetting, &QPushButton::clicked, this, &ConfigureNetwork::handleEditSetting);
    connect(buttonEditLocationSetting, &QPushButton::clicked, this, &ConfigureNetwork::handleEditLocationSetting);
    connect(buttonApply, &QPushButton::clicked, this, &ConfigureNetwork::handleApply);
    connect(buttonDone, &QPushButton::clicked, this, &ConfigureNetwork::handleDone);
    connect(buttonScan, &QPushButton::clicked, this, &ConfigureNetwork::handleScan);
    connect(buttonCreateLocation, &QPushButton::clicked, this, &ConfigureNetwork::handleCreateLocation);
    connect(buttonDeleteLocation, &QPushButton::clicked, this, &ConfigureNetwork::handleDeleteLocation);
    connect(buttonAddLocation, &QPushButton::clicked, this, &ConfigureNetwork::handleAddLocation);
    connect(checkAdvanced, &QCheckBox::stateChanged, this, &ConfigureNetwork::handleAdvancedChanged);
    connect(treeSettings, &QTreeWidget::itemSelectionChanged, this, &ConfigureNetwork::changeSettingsSelection);
    connect(treeLocations, &QTreeWidget::itemSelectionChanged, this, &ConfigureNetwork::changeLocationsSelection);
    connect(treeScan, &QTreeWidget::itemSelectionChanged, this, &ConfigureNetwork::changeScanSelection);
    connect(treeSettings, &QTreeWidget::itemClicked, this, &ConfigureNetwork::settingsClicked);
    connect(treeLocations, &QTreeWidget::itemClicked, this, &ConfigureNetwork::locationsClicked);
    connect(treeScan, &QTreeWidget::itemClicked, this, &ConfigureNetwork::scanClicked);
    connect(treeLocations, &QTreeWidget::itemExpanded, this, &ConfigureNetwork::locationItemExpanded);
}

std::string ConfigureNetwork::devicePath() const
{
    return kDevicesPrefix + m_device_id;
}

void ConfigureNetwork::setSelectedID(std::string id)
{
    g_log.log(LOG_INFO, "configurenetwork.cc: setSelectedID %s", id.c_str());
    m_device_id = id;
}

void ConfigureNetwork::showStatusTab()
{
    tabNetwork->setCurrentWidget(tabStatus);
}

void ConfigureNetwork::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    connect(&g_ipcClient, &IPCClient::recvNetworkDevice, this, &ConfigureNetwork::handleRecvNetworkDevice,
            Qt::UniqueConnection);
    connect(&g_ipcClient, &IPCClient::unsoNetmgrData, this, &ConfigureNetwork::handleUnsoNetmgrData,
            Qt::UniqueConnection);
    connect(&g_ipcClient, &IPCClient::unsoNetmgrStatus, this, &ConfigureNetwork::handleUnsoNetmgrStatus,
            Qt::UniqueConnection);
    showScanMessage(QStringLiteral("Scan to see nearby wifi networks."));
    buttonCreateLocation->setEnabled(false);
    tabNetwork->setFocus();
    g_ipcClient.requestNetworkDevice(m_device_id, 1);
}

void ConfigureNetwork::paneAboutToHide()
{
    PaneBase::paneAboutToHide();
    disconnect(&g_ipcClient, &IPCClient::unsoNetmgrData, this, &ConfigureNetwork::handleUnsoNetmgrData);
    disconnect(&g_ipcClient, &IPCClient::unsoNetmgrStatus, this, &ConfigureNetwork::handleUnsoNetmgrStatus);
    if (isScanShown())
        tabNetwork->removeTab(tabNetwork->indexOf(tabScan));
}

bool ConfigureNetwork::isScanShown() const
{
    return tabNetwork->indexOf(tabScan) >= 0;
}

// One unselectable row spanning the columns: the scan's hint or its progress.
void ConfigureNetwork::showScanMessage(const QString& text)
{
    treeScan->setSelectionMode(QAbstractItemView::NoSelection);
    treeScan->clear();
    auto* row = new QTreeWidgetItem(treeScan, QTreeWidgetItem::Type);
    row->setText(0, text);
    row->setFirstColumnSpanned(true);
}

void ConfigureNetwork::handleRecvNetworkDevice(Message msg)
{
    g_log.log(LOG_DEBUG, "ConfigureNetwork::handleRecvNetworkDevice()");
    buttonEditSetting->setEnabled(false);
    buttonEditLocationSetting->setEnabled(false);
    buttonAddLocation->setEnabled(false);
    buttonDeleteLocation->setEnabled(false);
    const Message* device = msg.find_child("node");
    if (!device)
        return;
    const Params& params = device->params();
    labelDeviceName->setText(QString::fromStdString(params.get_string("display_name", "")));
    labelID->setText(QString::fromStdString(params.get_string("name", "")));
    buttonApply->setEnabled(hasCommand(nodeCommands(*device), "apply"));
    const bool wireless = params.get_string("type", "") == "wifi";
    buttonScan->setVisible(wireless);
    if (wireless && !isScanShown())
        tabNetwork->addTab(tabScan, QStringLiteral("Scan"));
    if (const Message* status = device->find_child("status"))
        showStatus(*status);
    for (unsigned int i = 0; i < device->num_children("group"); ++i) {
        const Message& group = device->get_child("group", i);
        const std::string name = group.params().get_string("name", "");
        if (name.empty())
            fillSettings(group);
        else if (name == "loc")
            fillLocations(group);
        // Further answers come from the option editor's return or a location change, each of
        // which asks again; until the screen is shown again this one is the last.
        disconnect(&g_ipcClient, &IPCClient::recvNetworkDevice, this, &ConfigureNetwork::handleRecvNetworkDevice);
    }
}

void ConfigureNetwork::fillSettings(const Message& group)
{
    const QString selected = selectedPath(treeSettings);
    treeSettings->clear();
    addOptionItems(group, treeSettings, nullptr, std::string());
    selectPath(treeSettings, selected);
}

void ConfigureNetwork::fillLocations(const Message& group)
{
    const std::vector<std::string> commands = nodeCommands(group);
    buttonAddLocation->setEnabled(hasCommand(commands, "_add"));
    buttonScan->setEnabled(hasCommand(commands, "scan"));
    const QString selected = selectedPath(treeLocations);
    g_log.log(LOG_DEBUG, "^^^ clearing tree locations: selected=%s", selected.toUtf8().constData());
    treeLocations->clear();
    for (unsigned int i = 0; i < group.num_children("node"); ++i)
        addLocation(group.get_child("node", i));
    selectPath(treeLocations, selected);
}

void ConfigureNetwork::addLocation(const Message& location)
{
    QTreeWidgetItem* row = addNodeItem(location, treeLocations);
    if (const Message* options = location.find_child("group"))
        addOptionItems(*options, nullptr, row, location.params().get_string("name", ""));
}

void ConfigureNetwork::showStatus(const Message& status)
{
    const Params& fields = status.params();
    if (fields.has_param("class")) {
        const QIcon icon = deviceclassicons::lookup(QString::fromStdString(fields.get_string("class", "")),
                                                    fields.get_bool("enabled", false),
                                                    fields.get_bool("installed", false));
        labelDeviceIcon->setPixmap(icon.pixmap(kIconSize, kIconSize));
    }
    labelStatus->setText(devicestatus::primaryText(fields));
    labelStatus2->setText(QString::fromStdString(fields.get_string("status", "")));
    const bool hasSignal = fields.has_param("signal");
    labelSignalIcon->setVisible(hasSignal);
    if (hasSignal)
        labelSignalIcon->setPixmap(devicestatus::signalIcon(m_signal_icons, fields.get_uint("signal", 0)));
}

void ConfigureNetwork::handleRecvNetworkDeviceLocation(Message msg)
{
    disconnect(&g_ipcClient, &IPCClient::recvNetworkDeviceLocation, this,
               &ConfigureNetwork::handleRecvNetworkDeviceLocation);
    g_log.log(LOG_DEBUG, "ConfigureNetwork::handleRecvNetworkDeviceLocation()");
    const Message* location = msg.find_child("node");
    if (!location)
        return;
    removeNodeItem(location->params().get_string("name", ""), treeLocations);
    addLocation(*location);
    QTreeWidgetItem* row = treeLocations->topLevelItem(treeLocations->topLevelItemCount() - 1);
    treeLocations->setCurrentItem(row);
    row->setExpanded(true);
    tabNetwork->setCurrentWidget(tabLocations);
}

void ConfigureNetwork::handleUnsoNetmgrData(QString id, Message msg)
{
    if (!id.contains(QString::fromStdString(m_device_id)))
        return;
    g_log.log(LOG_DEBUG, "handleUnsoNetmgrData id=%s", id.toUtf8().constData());
    const std::string name = msg.params().get_string("name", "");
    if (name.rfind(kDevicesPrefix, 0) != 0)
        return;
    const std::vector<std::string> parts = split(name, ".");
    if (parts.size() != 4)
        return;
    const std::string type = msg.params().get_string("type", "");
    if (type == "delete") {
        g_log.log(LOG_INFO, "removing location id=%s for device id=%s", parts[3].c_str(), parts[2].c_str());
        removeNodeItem(parts[3], treeLocations);
    } else if (type == "add") {
        g_log.log(LOG_INFO, "add location id=%s for device id=%s", parts[3].c_str(), parts[2].c_str());
        removeNodeItem(parts[3], treeLocations);
        connect(&g_ipcClient, &IPCClient::recvNetworkDeviceLocation, this,
                &ConfigureNetwork::handleRecvNetworkDeviceLocation, Qt::UniqueConnection);
        g_ipcClient.requestNetworkPath(name, 0);
    }
}

void ConfigureNetwork::handleUnsoNetmgrStatus(QString id, Message msg)
{
    if (id.contains(QString::fromStdString(m_device_id)))
        showStatus(msg);
}

void ConfigureNetwork::sendCommand(const char* name, const std::string& path, const char* group, const char* seq,
                                   const std::string& selection)
{
    Message request("cfgCmd");
    Params& params = request.params();
    params.set_string("name", name);
    params.set_string("path", path);
    if (group)
        params.set_string("group", group);
    if (seq)
        params.set_string("seq", seq);
    if (!selection.empty())
        params.set_string("sel", selection);
    g_ipcClient.sendRaw(request);
}

void ConfigureNetwork::handleScan()
{
    buttonScan->setEnabled(false);
    buttonCreateLocation->setEnabled(false);
    showScanMessage(QStringLiteral("Scanning..."));
    connect(&g_ipcClient, &IPCClient::unsoNetmgrWifi, this, &ConfigureNetwork::handleUnsoNetmgrWifi,
            Qt::UniqueConnection);
    sendCommand("scan", devicePath(), "loc", nullptr);
}

void ConfigureNetwork::handleUnsoNetmgrWifi(QString id, Message msg)
{
    if (!id.contains(QString::fromStdString(m_device_id)))
        return;
    disconnect(&g_ipcClient, &IPCClient::unsoNetmgrWifi, this, &ConfigureNetwork::handleUnsoNetmgrWifi);
    g_log.log(LOG_DEBUG, "netmgr wifi unso id=%s:", id.toUtf8().constData());
    treeScan->clear();
    static const QIcon locked(QStringLiteral(":/icons/locked.png"));
    static const QIcon unlocked(QStringLiteral(":/icons/unlocked.png"));
    for (unsigned int i = 0; i < msg.num_children("net"); ++i) {
        const Message& found = msg.get_child("net", i);
        const Params& net = found.params();
        const unsigned int signal = net.get_uint("signal", 0);
        auto* row = new QTreeWidgetItem(treeScan, QTreeWidgetItem::Type);
        row->setIcon(0, QIcon(devicestatus::signalIcon(m_signal_icons, signal)));
        row->setText(0, QString::fromStdString(net.get_string("signal", "")) + QStringLiteral("%"));
        row->setForeground(0, QColor(96, 96, 96));
        row->setText(1, QString::fromUtf8(net.get_string("essid", "").c_str()));
        row->setIcon(2, net.get_string("sec", "") == "none" ? unlocked : locked);
        row->setText(2, QStringLiteral(" "));
        row->setData(0, NameRole, row->text(1));
        row->setData(0, BssidRole, QString::fromStdString(net.get_string("bssid", "")));
    }
    treeScan->header()->resizeSections(QHeaderView::ResizeToContents);
    buttonScan->setEnabled(true);
    treeScan->setSelectionMode(QAbstractItemView::SingleSelection);
    treeScan->setFocus();
    if (QTreeWidgetItem* first = treeScan->topLevelItem(0))
        first->setSelected(true);
}

void ConfigureNetwork::handleCreateLocation()
{
    const QList<QTreeWidgetItem*> selected = treeScan->selectedItems();
    if (selected.size() == 1)
        sendCommand("pick", devicePath() + ".scanner", "", "pickWifiNetwork", rowName(selected.first(), BssidRole));
}

void ConfigureNetwork::handleAddLocation()
{
    sendCommand("_add", devicePath(), "loc", "addLocation");
}

void ConfigureNetwork::handleDeleteLocation()
{
    const QList<QTreeWidgetItem*> selected = treeLocations->selectedItems();
    if (selected.size() != 1)
        return;
    const QTreeWidgetItem* row = selected.first();
    emit changeModal(true);
    const QMessageBox::StandardButton answer = QMessageBox::warning(
        this, QStringLiteral("Warning!"),
        QStringLiteral("Do you really wish to delete this network location?\n\n%1").arg(row->text(0)),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    emit changeModal(false);
    if (answer == QMessageBox::Yes)
        sendCommand("_del", devicePath() + "." + rowName(row), nullptr, "deleteLocation");
}

void ConfigureNetwork::handleApply()
{
    sendCommand("apply", devicePath(), nullptr, nullptr);
    emit configureDone();
}

void ConfigureNetwork::handleDone()
{
    emit configureDone();
}

void ConfigureNetwork::saveSettings()
{
    emit configureDone();
}

void ConfigureNetwork::cancelConfigure()
{
    emit configureDone();
}

void ConfigureNetwork::handleEditSetting()
{
    const QList<QTreeWidgetItem*> selected = treeSettings->selectedItems();
    if (selected.isEmpty())
        return;
    const std::string path = devicePath() + "." + rowName(selected.first());
    g_log.log(LOG_DEBUG, "edit config setting path=%s", path.c_str());
    emit editNetworkSetting(path);
}

void ConfigureNetwork::handleEditLocationSetting()
{
    const QList<QTreeWidgetItem*> selected = treeLocations->selectedItems();
    if (selected.isEmpty())
        return;
    const QTreeWidgetItem* row = selected.first();
    const std::string path = devicePath() + "." + rowName(row, LocationRole) + "." + rowName(row);
    g_log.log(LOG_DEBUG, "edit location setting path=%s", path.c_str());
    emit editNetworkSetting(path);
}

void ConfigureNetwork::handleAdvancedChanged(int state)
{
    m_show_advanced = state == Qt::Checked;
    for (int i = 0; i < treeSettings->topLevelItemCount(); ++i)
        applyAdvancedFilter(treeSettings->topLevelItem(i));
    for (int i = 0; i < treeLocations->topLevelItemCount(); ++i) {
        QTreeWidgetItem* location = treeLocations->topLevelItem(i);
        for (int c = 0; c < location->childCount(); ++c)
            applyAdvancedFilter(location->child(c));
    }
}

void ConfigureNetwork::changeSettingsSelection()
{
    buttonEditSetting->setEnabled(treeSettings->selectedItems().size() == 1);
}

void ConfigureNetwork::changeLocationsSelection()
{
    const QList<QTreeWidgetItem*> selected = treeLocations->selectedItems();
    const QTreeWidgetItem* row = selected.size() == 1 ? selected.first() : nullptr;
    buttonEditLocationSetting->setEnabled(row && isOptionItem(row));
    buttonDeleteLocation->setEnabled(row && !isOptionItem(row) && row->data(0, DeletableRole).toBool());
}

void ConfigureNetwork::changeScanSelection()
{
    if (treeScan->selectedItems().size() == 1)
        buttonCreateLocation->setEnabled(true);
}

void ConfigureNetwork::locationItemExpanded(QTreeWidgetItem* item)
{
    collapseOthers(treeLocations, item);
}

void ConfigureNetwork::settingsClicked()
{
    treeSettings->setFocus();
}

void ConfigureNetwork::locationsClicked()
{
    treeLocations->setFocus();
}

void ConfigureNetwork::scanClicked()
{
    treeScan->setFocus();
}

// Arrows cannot select the only row of a tree, so entering one without a selection selects its
// first visible row.
void ConfigureNetwork::enterTree(QTreeWidget* tree)
{
    tree->setFocus();
    if (!tree->selectedItems().isEmpty())
        return;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        if (!tree->topLevelItem(i)->isHidden()) {
            tree->setCurrentItem(tree->topLevelItem(i));
            return;
        }
    }
}

void ConfigureNetwork::handleKey(int keycode, bool pressed, bool repeat)
{
    const QWidget* focused = focusWidget();
    const bool inTree = focused == treeSettings || focused == treeLocations || focused == treeScan;
    // The tab widget hands its focus to its tab bar.
    const bool onTabs = focused && (focused == tabNetwork || focused == tabNetwork->focusProxy());
    switch (keycode) {
    case Qt::Key_Enter:
        if (onTabs) {
            const QWidget* page = tabNetwork->currentWidget();
            if (page == tabSettings && treeSettings->topLevelItemCount() > 0)
                enterTree(treeSettings);
            else if (page == tabLocations && treeLocations->topLevelItemCount() > 0)
                enterTree(treeLocations);
            else if (page == tabScan && treeScan->topLevelItemCount() > 0 && buttonCreateLocation->isEnabled())
                enterTree(treeScan);
        } else if (pressed && focused == treeSettings) {
            buttonEditSetting->setFocus();
        } else if (pressed && focused == treeLocations) {
            buttonEditLocationSetting->setFocus();
        } else if (pressed && focused == treeScan) {
            (buttonCreateLocation->isEnabled() ? buttonCreateLocation : buttonScan)->setFocus();
        } else {
            injectKey(Qt::Key_Space, pressed, repeat);
        }
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (onTabs || focused == treeLocations)
            injectKey(keycode, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (inTree)
            injectKey(keycode, pressed, repeat);
        else if (keycode == Qt::Key_Up)
            injectBacktab(pressed, repeat);
        else
            injectKey(Qt::Key_Tab, pressed, repeat);
        break;
    default:
        break;
    }
}
