#include "choosenetwork.h"

#include "debuglog.h"
#include "deviceclassicons.h"
#include "devicestatus.h"
#include "ipcinstances.h"
#include "strutil.h"

#include <map>

namespace {
const char* const kDevicesPrefix = "netmgr.devices.";

std::string devicePath(const std::string& id)
{
    return kDevicesPrefix + id;
}

bool startsWith(const std::string& text, const char* prefix)
{
    return text.rfind(prefix, 0) == 0;
}
} // namespace

NetworkListItem::NetworkListItem(const std::string& id)
    : QListWidgetItem(nullptr, QListWidgetItem::Type),
      m_id(id)
{
}

const Params& NetworkListItem::status() const
{
    static const Params kNone;
    const Message* status = m_desc.find_child("status");
    return status ? status->params() : kNone;
}

bool NetworkListItem::viewOnly() const
{
    return m_desc.params().get_bool("view_only", false);
}

// A description without status keeps the status the item had.
void NetworkListItem::setDesc(const Message& node)
{
    const Message* previous = m_desc.find_child("status");
    const Message kept = previous && !node.find_child("status") ? *previous : Message();
    m_desc = node;
    if (!kept.name.empty())
        m_desc.add_child(kept);
    setText(QString::fromStdString(node.params().get_string("display_name", "")));
}

void NetworkListItem::setStatus(const Message& status)
{
    Message& held = m_desc.num_children("status") ? m_desc.get_child("status", 0) : m_desc.add_child("status");
    held = status;
    held.name = "status";
}

ChooseNetwork::ChooseNetwork(QWidget* parent)
    : QWidget(parent),
      m_signal_icons(devicestatus::loadSignalIcons())
{
    setupUi(this);
    buttonEnable->setEnabled(false);
    buttonDisable->setEnabled(false);
    connect(&g_ipcClient, &IPCClient::recvNetworkList, this, &ChooseNetwork::handleRecvNetworkList);
    connect(&g_ipcClient, &IPCClient::recvNetworkDevice, this, &ChooseNetwork::handleRecvNetworkDevice);
    connect(&g_ipcClient, &IPCClient::unsoNetmgrData, this, &ChooseNetwork::handleUnsoNetmgrData);
    connect(&g_ipcClient, &IPCClient::unsoNetmgrStatus, this, &ChooseNetwork::handleUnsoNetmgrStatus);
    connect(&g_ipcClient, &IPCClient::unsoNetmgrOverallStatus, this, &ChooseNetwork::handleUnsoNetmgrOverallStatus);
    connect(networkList, &QListWidget::currentItemChanged, this, &ChooseNetwork::handleSelectionChanged);
    connect(buttonEnable, &QPushButton::clicked, this, &ChooseNetwork::handleEnable);
    connect(buttonDisable, &QPushButton::clicked, this, &ChooseNetwork::handleDisable);
    connect(buttonConfigure, &QPushButton::clicked, this, &ChooseNetwork::configureRequested);
}

void ChooseNetwork::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    buttonConfigure->setFocus();
}

NetworkListItem* ChooseNetwork::currentDevice() const
{
    return static_cast<NetworkListItem*>(networkList->currentItem());
}

NetworkListItem* ChooseNetwork::findItem(const std::string& id) const
{
    for (int row = 0; row < networkList->count(); ++row) {
        auto* item = static_cast<NetworkListItem*>(networkList->item(row));
        if (item->id() == id)
            return item;
    }
    return nullptr;
}

bool ChooseNetwork::isSelectedInstalled() const
{
    const NetworkListItem* item = currentDevice();
    return item && item->status().get_bool("installed", false);
}

bool ChooseNetwork::isSelectedViewOnly() const
{
    const NetworkListItem* item = currentDevice();
    return item && item->viewOnly();
}

bool ChooseNetwork::getNetReady() const
{
    return m_net_ready;
}

// The count of live devices comes with the list answer (under its devices node) and with every
// overall-status notification (as the message's own fields).
void ChooseNetwork::updateNetReady(const Message& msg)
{
    debugMessage("net ready from:", msg);
    unsigned int numAlive = 0;
    const Message* devices = msg.name == "resp" ? msg.find_child("node") : nullptr;
    const Message* status = devices ? devices->find_child("status") : nullptr;
    if (msg.name == "node") {
        numAlive = msg.params().get_uint("num_alive", 0);
        g_log.log(LOG_INFO, "num_alive from unso = %u, tunnel_alive = %u", numAlive,
                  unsigned(msg.params().get_bool("tunnel_alive", false)));
    } else if (status) {
        numAlive = status->params().get_uint("num_alive", 0);
        g_log.log(LOG_INFO, "num_alive from resp = %u, tunnel_alive = %u", numAlive,
                  unsigned(status->params().get_bool("tunnel_alive", false)));
    }
    const bool ready = numAlive != 0;
    if (ready != m_net_ready) {
        m_net_ready = ready;
        emit netReadyChanged();
    }
}

void ChooseNetwork::handleRecvNetworkList(Message msg)
{
    updateNetReady(msg);

    // Ordered by id; the first of two nodes with the same id wins.
    std::map<std::string, const Message*> devices;
    const Message* root = msg.find_child("node");
    const Message* group = root && root->params().get_string("name", "") == "devices" ? root->find_child("group")
                                                                                      : nullptr;
    if (group) {
        for (unsigned int i = 0; i < group->num_children("node"); ++i) {
            const Message& node = group->get_child("node", i);
            devices.emplace(node.params().get_string("name", ""), &node);
        }
    }

    std::map<std::string, NetworkListItem*> items;
    for (int row = networkList->count() - 1; row >= 0; --row) {
        auto* item = static_cast<NetworkListItem*>(networkList->item(row));
        if (devices.count(item->id()))
            items.emplace(item->id(), item);
        else
            removeDevice(item->id());
    }

    // A new device goes right after the one before it in id order, or last when it is the first.
    int nextRow = -1;
    for (const auto& device : devices) {
        const auto existing = items.find(device.first);
        NetworkListItem* item = existing != items.end() ? existing->second : nullptr;
        if (item) {
            updateItem(item, *device.second);
            redisplayIfCurrent(item);
        } else {
            item = new NetworkListItem(device.first);
            updateItem(item, *device.second);
            insertItem(item, nextRow < 0 ? networkList->count() : nextRow);
        }
        nextRow = networkList->row(item) + 1;
    }
}

void ChooseNetwork::handleRecvNetworkDevice(Message msg)
{
    const Message* node = msg.find_child("node");
    if (!node)
        return;
    const std::string id = node->params().get_string("name", "");
    if (NetworkListItem* item = findItem(id)) {
        updateItem(item, *node);
        redisplayIfCurrent(item);
        return;
    }
    auto* item = new NetworkListItem(id);
    updateItem(item, *node);
    insertItem(item, networkList->count());
}

void ChooseNetwork::insertItem(NetworkListItem* item, int row)
{
    networkList->insertItem(row, item);
    if (networkList->count() == 1)
        networkList->setCurrentItem(item);
}

void ChooseNetwork::updateItem(NetworkListItem* item, const Message& node)
{
    item->setDesc(node);
    if (const Message* status = node.find_child("status"))
        applyStatus(item, *status);
    else
        g_log.log(LOG_WARNING, "updateDeviceItem: status missing");
}

void ChooseNetwork::applyStatus(NetworkListItem* item, const Message& status)
{
    item->setStatus(status);
    const Params& fields = status.params();
    const bool installed = fields.get_bool("installed", false);
    item->setIcon(deviceclassicons::lookup(QString::fromStdString(fields.get_string("class", "")),
                                           fields.get_bool("enabled", false) || item->viewOnly(), installed));
    item->setForeground(installed ? Qt::black : Qt::gray);

    const QString id = QString::fromStdString(item->id());
    if (!installed && m_signal_strengths.contains(id))
        m_signal_strengths.remove(id);
    else if (fields.has_param("signal"))
        m_signal_strengths[id] = fields.get_uint("signal", 0);
    else
        return;
    announceSignals();
}

void ChooseNetwork::announceSignals()
{
    g_log.log(LOG_DEBUG, "total signal strength count=%u", unsigned(m_signal_strengths.size()));
    if (m_signal_strengths.isEmpty()) {
        emit signalStrengthOff();
    } else if (m_signal_strengths.size() == 1) {
        const uint strength = m_signal_strengths.first();
        g_log.log(LOG_DEBUG, "one signal strength found, strength=%u", strength);
        emit signalStrength(strength);
    } else {
        emit signalStrengthMulti();
    }
}

void ChooseNetwork::removeDevice(const std::string& id)
{
    // Taking out the current row moves the current row on, which the list announces itself.
    if (NetworkListItem* item = findItem(id))
        delete networkList->takeItem(networkList->row(item));
    if (m_signal_strengths.remove(QString::fromStdString(id)))
        announceSignals();
}

void ChooseNetwork::redisplayIfCurrent(const NetworkListItem* item)
{
    if (item == currentDevice())
        handleSelectionChanged();
}

void ChooseNetwork::handleSelectionChanged()
{
    const NetworkListItem* item = currentDevice();
    if (!item)
        return;
    updateButtons(item);
    const Params& status = item->status();
    labelStatus->setText(devicestatus::primaryText(status, item->viewOnly()));
    labelStatus2->setText(item->viewOnly() ? QString() : QString::fromStdString(status.get_string("status", "")));
    const bool hasSignal = status.has_param("signal");
    labelSignalIcon->setVisible(hasSignal);
    labelSignal->setVisible(hasSignal);
    if (hasSignal) {
        const unsigned int signal = status.get_uint("signal", 0);
        labelSignalIcon->setPixmap(devicestatus::signalIcon(m_signal_icons, signal));
        labelSignal->setText(QStringLiteral("%1%").arg(signal));
    }
    emit newNetworkSelected(item->id());
}

// A keypad user who pressed Enable lands on Disable, and the reverse.
void ChooseNetwork::updateButtons(const NetworkListItem* item)
{
    if (item->viewOnly()) {
        buttonEnable->setEnabled(false);
        buttonDisable->setEnabled(false);
        buttonConfigure->setEnabled(false);
        return;
    }
    buttonConfigure->setEnabled(true);
    // Asked before the switch: disabling the focused button hands its focus on.
    const bool configureFocused = buttonConfigure->hasFocus();
    const bool enabled = item->status().get_bool("enabled", false);
    buttonDisable->setEnabled(enabled);
    buttonEnable->setEnabled(!enabled);
    if (shown && !configureFocused)
        (enabled ? buttonDisable : buttonEnable)->setFocus();
}

void ChooseNetwork::handleUnsoNetmgrData(QString, Message msg)
{
    debugMessage("netmgr data:", msg);
    const std::string name = msg.params().get_string("name", "");
    if (!startsWith(name, kDevicesPrefix))
        return;
    const std::vector<std::string> parts = split(name, ".");
    const std::string type = msg.params().get_string("type", "");
    const std::string& id = parts[2];
    if (type == "add" && parts.size() == 3) {
        g_ipcClient.requestNetworkDevice(id, 1);
    } else if (type == "delete" && parts.size() == 3) {
        g_log.log(LOG_INFO, "removing network device id=%s", id.c_str());
        removeDevice(id);
    } else if (type == "value" && parts.size() == 4 && parts[3] == "name") {
        const Message* descr = msg.find_child("descr");
        NetworkListItem* item = findItem(id);
        if (descr && item)
            item->setText(QString::fromStdString(descr->params().get_string("display_value", "")));
    }
}

void ChooseNetwork::handleUnsoNetmgrStatus(QString, Message msg)
{
    if (NetworkListItem* item = findItem(msg.params().get_string("name", ""))) {
        applyStatus(item, msg);
        redisplayIfCurrent(item);
    }
}

void ChooseNetwork::handleUnsoNetmgrOverallStatus(QString, Message msg)
{
    updateNetReady(msg);
}

void ChooseNetwork::sendEnabled(bool enabled)
{
    const NetworkListItem* item = currentDevice();
    if (!item)
        return;
    Message request("cfgSetOption");
    request.params().set_string("path", devicePath(item->id()));
    Params& option = request.add_child("option").params();
    option.set_string("name", "enabled");
    option.set_bool("value", enabled);
    g_ipcClient.sendRequest(request);
}

void ChooseNetwork::handleEnable()
{
    sendEnabled(true);
}

void ChooseNetwork::handleDisable()
{
    sendEnabled(false);
}

void ChooseNetwork::deleteNetwork()
{
    const NetworkListItem* item = currentDevice();
    if (!item)
        return;
    Message request("cfgCmd");
    request.params().set_string("path", devicePath(item->id()));
    request.params().set_string("name", "_del");
    g_ipcClient.sendRaw(request);
}

void ChooseNetwork::handleRestrictedToggled(bool restricted)
{
    m_restricted = restricted;
    buttonConfigure->setVisible(!restricted);
}

void ChooseNetwork::handleKey(int keycode, bool pressed, bool repeat)
{
    handleListScreenKey(networkList, keycode, pressed, repeat);
}
