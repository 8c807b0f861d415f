#include "editconfigsetting.h"

#include "debuglog.h"
#include "ipcinstances.h"

EditConfigSetting::EditConfigSetting(QWidget* parent)
    : QWidget(parent),
      m_pages(*this)
{
    setupUi(this);
    OptionEditorPages::connectForm(this);
    connect(&g_ipcClient, &IPCClient::recvSaveOption, this, &EditConfigSetting::handleSaveOption);
}

void EditConfigSetting::setPath(const std::string& path)
{
    g_log.log(LOG_DEBUG, "EditConfigSetting::setPath path=%s", path.c_str());
    m_path = path;
    g_ipcClient.requestConfigSetting(path);
}

void EditConfigSetting::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    connect(&g_ipcClient, &IPCClient::recvConfigSetting, this, &EditConfigSetting::handleRecvConfigSetting,
            Qt::UniqueConnection);
    buttonCancel->setFocus();
}

void EditConfigSetting::paneAboutToHide()
{
    PaneBase::paneAboutToHide();
    disconnect(&g_ipcClient, &IPCClient::recvConfigSetting, this, &EditConfigSetting::handleRecvConfigSetting);
}

void EditConfigSetting::handleRecvConfigSetting(Message msg)
{
    debugMessage("received config setting:", msg);
    if (msg.num_children("option") != 1)
        return;
    m_option = ConfigOption(msg.get_child("option", 0), m_path);
    populate();
}

void EditConfigSetting::handleSaveOption(Message msg)
{
    debugMessage("received save option:", msg);
}

OptionEditorPages::Page EditConfigSetting::page() const
{
    using Page = OptionEditorPages::Page;
    switch (m_option.getType()) {
    case ConfigOptionType::Int:
        return Page::Int;
    case ConfigOptionType::Bool:
        return Page::Bool;
    case ConfigOptionType::String:
        return Page::String;
    case ConfigOptionType::Select:
        return Page::Select;
    case ConfigOptionType::Bulk:
        break;
    }
    return Page::None;
}

// The backend displays the default itself, so its text goes out as given, without units.
void EditConfigSetting::populate()
{
    OptionEditorPages::PageContent content;
    content.page = page();
    content.title = QString::fromStdString(m_option.displayName());
    content.description = QString::fromStdString(m_option.descr());
    content.units = QString::fromStdString(m_option.units());
    content.currentLabel = QString::fromStdString(m_option.displayText(m_option.currentValue()));
    if (content.page == OptionEditorPages::Page::Int)
        content.currentLabel += QStringLiteral(" ") + content.units;
    content.defaultLabel = QString::fromStdString(m_option.displayDefault());
    content.minimum = m_option.minimum();
    content.maximum = m_option.maximum();
    content.value = m_option.currentValue();
    content.choices = m_option.choices();
    content.blankWhenUnmatched = true;
    content.isDefault = m_option.isDefault();
    content.isChanged = m_option.isChanged();
    m_populating = true;
    m_pages.fill(content);
    m_populating = false;
}

void EditConfigSetting::storeEdit(const std::string& newValue)
{
    m_option.setValue(newValue);
    m_pages.updateButtons(m_option.isChanged(), m_option.isDefault());
}

void EditConfigSetting::intChanged(int new_int)
{
    if (!m_populating)
        storeEdit(std::to_string(new_int));
}

void EditConfigSetting::boolChanged(int new_bool)
{
    if (m_populating)
        return;
    storeEdit(OptionEditorPages::boolValue(new_bool));
    buttonSave->setFocus();
}

void EditConfigSetting::textChanged(QString new_string)
{
    if (!m_populating)
        storeEdit(new_string.toStdString());
}

void EditConfigSetting::selectChanged(int new_idx)
{
    if (!m_populating)
        storeEdit(m_pages.selectValue(new_idx));
}

void EditConfigSetting::clearStringText()
{
    m_pages.clearStringText();
}

void EditConfigSetting::saveClicked()
{
    m_option.commit();
    emit editConfigSettingDone(true);
}

void EditConfigSetting::defaultClicked()
{
    m_option.setDefault();
    populate();
}

void EditConfigSetting::cancelClicked()
{
    emit editConfigSettingDone(false);
}

void EditConfigSetting::handleKey(int keycode, bool pressed, bool repeat)
{
    m_pages.handleKey(page(), keycode, pressed, repeat);
}
