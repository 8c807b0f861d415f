#include "braidsettings.h"

#include "ipcinstances.h"
#include "logger.h"

#include <exception>

namespace {
const char* const kTunnelPath = "netmgr.tunnel";
}

BraidSettings::BraidSettings(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    buttonEdit->setEnabled(false);
}

void BraidSettings::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    m_connections = {
        connect(&g_ipcClient, &IPCClient::recvBraidSettings, this, &BraidSettings::handleRecvBraidSettings),
        connect(buttonEdit, &QPushButton::clicked, this, &BraidSettings::handleEditSetting),
        connect(treeSettings, &QTreeWidget::itemSelectionChanged, this, &BraidSettings::changeSettingsSelection),
    };
    g_ipcClient.requestBraidSettings();
    treeSettings->setFocus();
}

void BraidSettings::paneAboutToHide()
{
    PaneBase::paneAboutToHide();
    for (const QMetaObject::Connection& connection : m_connections)
        disconnect(connection);
}

// The tunnel's own settings are the options of its unnamed groups; the row edited last is
// selected again, which enables Edit again.
void BraidSettings::handleRecvBraidSettings(Message msg)
{
    g_log.log(LOG_DEBUG, "BraidSettings::handleRecvBraidSettings()");
    buttonEdit->setEnabled(false);
    try {
        const Message* node = msg.find_child("node");
        if (!node)
            return;
        for (unsigned int i = 0; i < node->num_children("group"); ++i) {
            const Message& group = node->get_child("group", i);
            if (!group.params().get_string("name", "").empty())
                continue;
            const QString selected = selectedPath(treeSettings);
            treeSettings->clear();
            addOptionItems(group, treeSettings, nullptr, std::string());
            selectPath(treeSettings, selected);
        }
    } catch (const std::exception& error) {
        g_log.log(LOG_ERROR, "BraidSettings::handleRecvBraidSettings exception %s", error.what());
    }
}

void BraidSettings::handleEditSetting()
{
    const QList<QTreeWidgetItem*> selected = treeSettings->selectedItems();
    if (selected.isEmpty())
        return;
    const std::string path =
        std::string(kTunnelPath) + "." + selected.first()->data(0, NameRole).toString().toStdString();
    g_log.log(LOG_DEBUG, "edit braid setting path=%s", path.c_str());
    emit editBraidSetting(path);
}

void BraidSettings::changeSettingsSelection()
{
    buttonEdit->setEnabled(treeSettings->selectedItems().size() == 1);
}

void BraidSettings::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        buttonEdit->setFocus();
        injectKey(Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        treeSettings->setFocus();
        injectKey(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}
