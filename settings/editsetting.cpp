#include "editsetting.h"

#include "ipcinstances.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMutexLocker>

#include <algorithm>
#include <iterator>

namespace {
const char* const kFollowValue = "!follow";
const char* const kRemoteSection = "remote";

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}
} // namespace

EditSetting::EditSetting(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    connect(buttonSave, &QPushButton::clicked, this, &EditSetting::saveClicked);
    connect(buttonDefault, &QPushButton::clicked, this, &EditSetting::defaultClicked);
    connect(buttonCancel, &QPushButton::clicked, this, &EditSetting::cancelClicked);
    connect(buttonStringClear, &QPushButton::clicked, this, &EditSetting::clearStringText);
    connect(spinValue, QOverload<int>::of(&QSpinBox::valueChanged), this, &EditSetting::intChanged);
    connect(checkValue, &QCheckBox::stateChanged, this, &EditSetting::boolChanged);
    connect(lineValue, &QLineEdit::textChanged, this, &EditSetting::textChanged);
    connect(comboCodec, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &EditSetting::codecChanged);
    connect(comboValue, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &EditSetting::selectChanged);
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
    buttonDefault->setEnabled(!m_option.isDefault());
    labelTitle->setText(qs(m_option.displayName()));
    labelDescription->setText(qs(m_option.descr()));

    switch (m_option.getType()) {
    case OptionType::Int: {
        const QString units = QStringLiteral(" ") + qs(m_option.units());
        showValueLabels(units);
        labelMaximumValue->setText(QString::number(m_option.maximum()) + units);
        labelMinimumValue->setText(QString::number(m_option.minimum()) + units);
        stackEdit->setCurrentWidget(pageInt);
        spinValue->setSuffix(units);
        spinValue->setMaximum(m_option.maximum());
        spinValue->setMinimum(m_option.minimum());
        spinValue->setValue(qs(m_option.currentValue()).toInt());
        spinValue->setFocus();
        break;
    }
    case OptionType::Bool:
        showValueLabels();
        checkValue->setText(qs(m_option.units()));
        stackEdit->setCurrentWidget(pageBool);
        checkValue->setChecked(m_option.currentValue() == "true");
        checkValue->setFocus();
        break;
    case OptionType::String:
        showValueLabels();
        stackEdit->setCurrentWidget(pageString);
        lineValue->setText(qs(m_option.currentValue()));
        lineValue->setFocus();
        break;
    case OptionType::Select:
        fillSelectPage();
        showValueLabels();
        comboValue->setFocus();
        break;
    case OptionType::Codec:
        fillCodecPage();
        showValueLabels();
        comboCodec->setFocus();
        break;
    }

    buttonDefault->show();
    labelDefVal->show();
    labelDefaultValue->show();
    buttonSave->setEnabled(m_option.isChanged());
    m_populating = false;
}

void EditSetting::showValueLabels(const QString& suffix)
{
    labelCurrentValue->setText(qs(m_option.currentText()) + suffix);
    labelDefaultValue->setText(qs(m_option.defaultText()) + suffix);
}

void EditSetting::fillSelectPage()
{
    stackEdit->setCurrentWidget(pageSelect);
    comboValue->clear();
    const QString current = qs(m_option.currentValue());
    int match = -1;
    for (const SettingOption::Choice& choice : m_option.choices()) {
        comboValue->addItem(qs(choice.first), qs(choice.second));
        if (qs(choice.second) == current)
            match = comboValue->count() - 1;
    }
    if (match >= 0)
        comboValue->setCurrentIndex(match);
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
                comboCodec->addItem(qs(codec.get_string("code", "") + ": " + codec.get_string("mode", "") + " "
                                       + codec.get_string("name", "")),
                                    qs(codec.get_string("id", "")));
            }
        }
    }
    const int match = comboCodec->findData(qs(m_option.currentValue()));
    if (match >= 0) {
        comboCodec->setCurrentIndex(match);
        showCodecDetails(m_option.currentValue());
    }
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
        labelCodecDescription->setText(qs(codec.get_string("descr", "")));
        labelCodecQuality->setText(qs(codec.get_string("quality", "")) + QStringLiteral("%"));
        labelCodecDelay->setText(qs(codec.get_string("delay", "")) + QStringLiteral("ms"));
        return;
    }
}

void EditSetting::storeEdit(const std::string& newValue)
{
    m_option.setValue(newValue);
    updateButtons();
}

void EditSetting::updateButtons()
{
    buttonSave->setEnabled(m_option.isChanged());
    buttonDefault->setEnabled(!m_option.isDefault());
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
    storeEdit(new_bool == Qt::Checked ? "true" : "false");
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
        storeEdit(comboValue->itemData(new_idx).toString().toStdString());
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
    lineValue->setText(QString());
    lineValue->setFocus();
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

void EditSetting::stepCombo(QComboBox* combo, int keycode, bool pressed, bool repeat)
{
    combo->setFocus();
    injectKey(keycode == Qt::Key_Left ? Qt::Key_Up : Qt::Key_Down, pressed, repeat);
}

void EditSetting::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter: {
        if (listOpen()) {
            injectKey(Qt::Key_Enter, pressed, repeat);
            break;
        }
        const QWidget* focused = focusWidget();
        const QWidget* const pressable[] = {checkValue, buttonCancel, buttonDefault, buttonSave,
                                            buttonStringClear, comboCodec, comboValue};
        if (focused && std::find(std::begin(pressable), std::end(pressable), focused) != std::end(pressable))
            injectKey(Qt::Key_Space, pressed, repeat);
        break;
    }
    case Qt::Key_Left:
    case Qt::Key_Right:
        switch (m_option.getType()) {
        case OptionType::Int:
            QCoreApplication::postEvent(spinValue, new QKeyEvent(pressed ? QEvent::KeyPress : QEvent::KeyRelease,
                                                                 keycode == Qt::Key_Left ? Qt::Key_Down : Qt::Key_Up,
                                                                 Qt::NoModifier));
            break;
        case OptionType::Bool:
            if (pressed) {
                checkValue->setFocus();
                checkValue->setChecked(!checkValue->isChecked());
            }
            break;
        case OptionType::String:
            lineValue->setFocus();
            injectKey(keycode, pressed, repeat);
            break;
        case OptionType::Select:
            stepCombo(comboValue, keycode, pressed, repeat);
            break;
        case OptionType::Codec:
            stepCombo(comboCodec, keycode, pressed, repeat);
            break;
        }
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveThroughForm(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}
