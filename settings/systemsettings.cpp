#include "systemsettings.h"

#include "editsetting.h"
#include "ipcinstances.h"
#include "qtreewidgetitemsetting.h"
#include "settinggrouplist.h"
#include "settingstree.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace {
const QColor kGroupColour(128, 128, 128);
}

SystemSettings::SystemSettings(EditSetting* editor, QWidget* parent)
    : QWidget(parent),
      m_editor(editor)
{
    setupUi(this);
    settingstree::setFixedColumns(treeSysConfig);
    connect(buttonEdit, &QPushButton::clicked, this, &SystemSettings::editSelected);
    connect(checkAdvanced, &QCheckBox::toggled, this, &SystemSettings::populateSettings);
    connect(treeSysConfig, &QTreeWidget::itemSelectionChanged, this, &SystemSettings::changeSelection);
    connect(&g_ipcClient, &IPCClient::recvChannelList, this, &SystemSettings::refreshSettings);
    connect(&g_ipcClient, &IPCClient::recvChannelOpts, this, &SystemSettings::populateSettings);
    connect(&g_ipcClient, &IPCClient::recvSysOptions, this, &SystemSettings::refreshSettings);
    connect(&g_ipcClient, &IPCClient::recvDirectoryServer, this, &SystemSettings::refreshSettings);
}

void SystemSettings::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    buttonEdit->setFocus();
}

void SystemSettings::populateSettings()
{
    treeSysConfig->clear();
    SettingGroupList groups;
    groups.buildSystemGroups(checkAdvanced->isChecked());
    settingstree::fill(treeSysConfig, std::move(groups), [](QTreeWidgetItem* row) {
        if (!row->parent())
            settingstree::setRowColour(row, kGroupColour);
    });
}

void SystemSettings::refreshSettings()
{
    settingstree::refresh(treeSysConfig);
}

void SystemSettings::editSelected()
{
    if (QTreeWidgetItemSetting* row = settingstree::selectedSetting(treeSysConfig)) {
        m_editor->setOption(row->setting());
        emit editOption();
    }
}

void SystemSettings::changeSelection()
{
    const QList<QTreeWidgetItem*> selected = treeSysConfig->selectedItems();
    buttonEdit->setEnabled(!selected.isEmpty() && selected.first()->parent());
    if (shown && buttonEdit->isEnabled())
        buttonEdit->setFocus();
}

void SystemSettings::handleKey(int keycode, bool pressed, bool repeat)
{
    handleListScreenKey(treeSysConfig, keycode, pressed, repeat);
}
