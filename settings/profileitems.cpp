#include "profileitems.h"

#include "editsetting.h"
#include "ipcinstances.h"
#include "qtreewidgetitemsetting.h"
#include "settinggrouplist.h"
#include "settingstree.h"

#include <QColor>
#include <QCoreApplication>
#include <QKeyEvent>

namespace {

const QColor kGray(128, 128, 128);
const QColor kBlack(0, 0, 0);
// The one setting a factory profile lets the operator change.
const char* const kFactoryEditable = "Visible";

} // namespace

ProfileItems::ProfileItems(EditSetting* editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
{
    setupUi(this);
    settingstree::setFixedColumns(treeProfileItems);

    connect(buttonEdit, &QPushButton::clicked, this, &ProfileItems::editSelected);
    connect(buttonDone, &QPushButton::clicked, this, &ProfileItems::doneClicked);
    connect(treeProfileItems, &QTreeWidget::itemSelectionChanged, this, &ProfileItems::changeSelection);
    connect(checkAdvanced, &QCheckBox::toggled, this, &ProfileItems::repopulateItems);
    connect(&g_ipcClient, &IPCClient::recvProfileList, this, &ProfileItems::refreshItems);
}

void ProfileItems::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    buttonEdit->setFocus();
}

bool ProfileItems::isEditable(const QTreeWidgetItem* row) const
{
    if (!row || !row->parent())
        return false;
    if (!m_isFactory)
        return true;
    const auto* setting = dynamic_cast<const QTreeWidgetItemSetting*>(row);
    return setting && setting->setting().displayName() == kFactoryEditable;
}

void ProfileItems::populateItems(int profile_id, bool is_factory)
{
    m_profileId = profile_id;
    m_isFactory = is_factory;
    treeProfileItems->clear();

    SettingGroupList groups;
    m_channelOption = *groups.buildProfileGroups(std::to_string(profile_id), checkAdvanced->isChecked());
    labelProfileSettings->setText(tr("Profile Settings - <b>%1</b>")
                                      .arg(QString::fromStdString(groups.profileName()).toHtmlEscaped()));

    // Group rows are never editable: gray.
    settingstree::fill(treeProfileItems, std::move(groups),
                       [this](QTreeWidgetItem* row) { settingstree::setRowColour(row, isEditable(row) ? kBlack : kGray); });
}

void ProfileItems::repopulateItems()
{
    if (m_profileId != 0)
        populateItems(m_profileId, m_isFactory);
}

void ProfileItems::refreshItems()
{
    if (m_profileId == 0)
        return;
    if (m_channelOption.isChanged())
        repopulateItems();
    else
        settingstree::refresh(treeProfileItems);
}

void ProfileItems::changeSelection()
{
    const QList<QTreeWidgetItem*> selected = treeProfileItems->selectedItems();
    const bool editable = !selected.isEmpty() && isEditable(selected.first());
    buttonEdit->setEnabled(editable);
    if (shown) {
        if (editable)
            buttonEdit->setFocus();
        else
            buttonDone->setFocus();
    }
}

void ProfileItems::editSelected()
{
    if (const QTreeWidgetItemSetting* row = settingstree::selectedSetting(treeProfileItems)) {
        m_editor->setOption(row->setting());
        emit editProfileSetting();
    }
}

void ProfileItems::handleKey(int keycode, bool pressed, bool repeat)
{
    handleListScreenKey(treeProfileItems, keycode, pressed, repeat);
}
