#include "editsetting.h"

#include "ipcinstances.h"

#include <QMutexLocker>

namespace {
const char* const kFollowValue = "!follow";
const char* const kRemoteSection = "remote";

} // namespace

EditSetting::EditSetting(QWidget* parent)
    : QWidget(parent),
      m_pages(*this)
{
    setupUi(this);
    OptionEditorPages::connectForm(this);
    connect(comboCodec, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &EditSetting::codecChanged);
}

void EditSetting::setOption(const SettingOption& option)
{
    m_option = option;
}

void EditSetting::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    buttonCancel->setFocus();
}

void EditSetting::populateProfileItem()
{
    m_editingProfile = true;
    populate();
}

void EditSetting::populateChannelItem()
{
    m_editingProfile = false;
    populate();
}

void EditSetting::populate()
{
    m_populating = true;
    if (m_option.getType() == OptionType::Codec)
        fillCodecPage();
    m_pages.fill(pageContent());
    m_populating = false;
}

OptionEditorPages::Page EditSetting::page() const
{
    using Page = OptionEditorPages::Page;
    switch (m_option.getType()) {
    case OptionType::Int:
        return Page::Int;
    case OptionType::Bool:
        return Page::Bool;
    case OptionType::String:
        return Page::String;
    case OptionType::Select:
        return Page::Select;
    case OptionType::Codec:
        return Page::Codec;
    }
    return Page::None;
}

OptionEditorPages::PageContent EditSetting::pageContent() const
{
    using Page = OptionEditorPages::Page;
    OptionEditorPages::PageContent content;
    content.page = page();
    content.title = QString::fromStdString(m_option.displayName());
    content.description = QString::fromStdString(m_option.descr());
    content.units = QString::fromStdString(m_option.units());
    const QString suffix = content.page == Page::Int ? QStringLiteral(" ") + content.units : QString();
    content.currentLabel = QString::fromStdString(m_option.currentText()) + suffix;
    content.defaultLabel = QString::fromStdString(m_option.defaultText()) + suffix;
    content.minimum = m_option.minimum();
    content.maximum = m_option.maximum();
    content.value = m_option.currentValue();
    if (content.page == Page::Select)
        content.choices = m_option.choices();
    content.isDefault = m_option.isDefault();
    content.isChanged = m_option.isChanged();
    return content;
}

void EditSetting::fillCodecPage()
{
    stackEdit->setCurrentWidget(pageCodec);
    comboCodec->clear();
    // Only the far end can be told to send what the local encoder sends.
    if (m_option.getSection() == kRemoteSection)
        comboCodec->addItem(QStringLiteral("Follow local encoder"), QString::fromLatin1(kFollowValue));
    {
        QMutexLocker lock(g_ipcClient.mutex());
        if (const Message* codecs = g_ipcClient.getResponse("codecList")) {
            for (unsigned int i = 0; i < codecs->num_children("codec"); ++i) {
                const Params& codec = codecs->get_child("codec", i).params();
                comboCodec->addItem(QString::fromStdString(codec.get_string("code", "") + ": " + codec.get_string("mode", "") + " "
                                       + codec.get_string("name", "")),
                                    QString::fromStdString(codec.get_string("id", "")));
            }
        }
    }
    const int match = comboCodec->findData(QString::fromStdString(m_option.currentValue()));
    if (match >= 0)
        comboCodec->setCurrentIndex(match);
    // Without a match the first entry stays current: the details describe what the combo shows.
    showCodecDetails(comboCodec->currentData().toString().toStdString());
}

void EditSetting::showCodecDetails(const std::string& codecId)
{
    if (codecId == kFollowValue) {
        labelCodecDescription->setText(QStringLiteral("Follow the local encoder settings."));
        labelCodecQuality->setText(QStringLiteral("(follow)"));
        labelCodecDelay->setText(QStringLiteral("(follow)"));
        return;
    }
    QMutexLocker lock(g_ipcClient.mutex());
    const Message* codecs = g_ipcClient.getResponse("codecList");
    for (unsigned int i = 0; codecs && i < codecs->num_children("codec"); ++i) {
        const Params& codec = codecs->get_child("codec", i).params();
        if (codec.get_string("id", "") != codecId)
            continue;
        labelCodecDescription->setText(QString::fromStdString(codec.get_string("descr", "")));
        // A codec that does not state its quality or delay shows nothing rather than a bare unit.
        const auto withUnit = [&codec](const char* key, const char* unit) {
            const QString value = QString::fromStdString(codec.get_string(key, ""));
            return value.isEmpty() ? value : value + QLatin1String(unit);
        };
        labelCodecQuality->setText(withUnit("quality", "%"));
        labelCodecDelay->setText(withUnit("delay", "ms"));
        return;
    }
    labelCodecDescription->clear();
    labelCodecQuality->clear();
    labelCodecDelay->clear();
}

void EditSetting::storeEdit(const std::string& newValue)
{
    m_option.setValue(newValue);
    updateButtons();
}

void EditSetting::updateButtons()
{
    m_pages.updateButtons(m_option.isChanged(), m_option.isDefault());
}

void EditSetting::intChanged(int new_int)
{
    if (!m_populating)
        storeEdit(std::to_string(new_int));
}

void EditSetting::boolChanged(int new_bool)
{
    if (m_populating)
        return;
    storeEdit(OptionEditorPages::boolValue(new_bool));
    buttonSave->setFocus();
}

void EditSetting::textChanged(QString new_string)
{
    if (!m_populating)
        storeEdit(new_string.toStdString());
}

void EditSetting::selectChanged(int new_idx)
{
    if (!m_populating)
        storeEdit(m_pages.selectValue(new_idx));
}

void EditSetting::codecChanged(int new_idx)
{
    if (m_populating)
        return;
    const std::string codecId = comboCodec->itemData(new_idx).toString().toStdString();
    m_option.setValue(codecId);
    showCodecDetails(codecId);
    updateButtons();
}

void EditSetting::clearStringText()
{
    m_pages.clearStringText();
}

void EditSetting::saveClicked()
{
    m_option.commit();
    finishEdit();
}

void EditSetting::defaultClicked()
{
    m_option.setDefault();
    populate();
}

void EditSetting::cancelClicked()
{
    finishEdit();
}

void EditSetting::finishEdit()
{
    if (m_editingProfile)
        emit profileEditDone();
    else
        emit channelEditDone();
}

void EditSetting::handleKey(int keycode, bool pressed, bool repeat)
{
    m_pages.handleKey(page(), keycode, pressed, repeat);
}
