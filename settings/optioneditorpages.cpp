#include "optioneditorpages.h"

#include "keypadhandler.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <algorithm>
#include <iterator>

namespace {
// Keys go through KeypadHandler's injection so that the focused widget acts on them.
struct Keys : KeypadHandler {
    using KeypadHandler::listOpen;
    using KeypadHandler::moveThroughForm;
};
} // namespace

OptionEditorPages::OptionEditorPages(Ui::EditSetting& form)
    : m_form(form)
{
}

void OptionEditorPages::fill(const PageContent& content)
{
    m_form.buttonDefault->setEnabled(!content.isDefault);
    m_form.labelTitle->setText(content.title);
    m_form.labelDescription->setText(content.description);
    m_form.labelCurrentValue->setText(content.currentLabel);
    m_form.labelDefaultValue->setText(content.defaultLabel);
    // An option without an input of its own is shown, never edited through another type's page.
    m_form.stackEdit->setVisible(content.page != Page::None);
    switch (content.page) {
    case Page::Int: {
        const QString units = QStringLiteral(" ") + content.units;
        m_form.labelMaximumValue->setText(QString::number(content.maximum) + units);
        m_form.labelMinimumValue->setText(QString::number(content.minimum) + units);
        m_form.stackEdit->setCurrentWidget(m_form.pageInt);
        m_form.spinValue->setSuffix(units);
        m_form.spinValue->setMaximum(content.maximum);
        m_form.spinValue->setMinimum(content.minimum);
        m_form.spinValue->setValue(QString::fromStdString(content.value).toInt());
        m_form.spinValue->setFocus();
        break;
    }
    case Page::Bool:
        m_form.checkValue->setText(content.units);
        m_form.stackEdit->setCurrentWidget(m_form.pageBool);
        m_form.checkValue->setChecked(content.value == "true");
        m_form.checkValue->setFocus();
        break;
    case Page::String:
        m_form.stackEdit->setCurrentWidget(m_form.pageString);
        m_form.lineValue->setText(QString::fromStdString(content.value));
        m_form.lineValue->setFocus();
        break;
    case Page::Select:
        fillSelectPage(content);
        m_form.comboValue->setFocus();
        break;
    case Page::Codec:
        m_form.comboCodec->setFocus();
        break;
    case Page::None:
        break;
    }
    m_form.buttonSave->setEnabled(content.isChanged);
}

void OptionEditorPages::fillSelectPage(const PageContent& content)
{
    m_form.stackEdit->setCurrentWidget(m_form.pageSelect);
    m_form.comboValue->clear();
    int match = -1;
    for (const OptionDescription::Choice& choice : content.choices) {
        m_form.comboValue->addItem(QString::fromStdString(choice.first), QString::fromStdString(choice.second));
        if (choice.second == content.value)
            match = m_form.comboValue->count() - 1;
    }
    if (match >= 0 || content.blankWhenUnmatched)
        m_form.comboValue->setCurrentIndex(match);
}

void OptionEditorPages::updateButtons(bool isChanged, bool isDefault)
{
    m_form.buttonSave->setEnabled(isChanged);
    m_form.buttonDefault->setEnabled(!isDefault);
}

std::string OptionEditorPages::boolValue(int state)
{
    return state == Qt::Checked ? "true" : "false";
}

std::string OptionEditorPages::selectValue(int index) const
{
    return m_form.comboValue->itemData(index).toString().toStdString();
}

void OptionEditorPages::clearStringText()
{
    m_form.lineValue->setText(QString());
    m_form.lineValue->setFocus();
}

void OptionEditorPages::stepCombo(QComboBox* combo, int keycode, bool pressed, bool repeat)
{
    combo->setFocus();
    Keys::injectKey(keycode == Qt::Key_Left ? Qt::Key_Up : Qt::Key_Down, pressed, repeat);
}

void OptionEditorPages::handleKey(Page page, int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter: {
        if (Keys::listOpen()) {
            Keys::injectKey(Qt::Key_Enter, pressed, repeat);
            break;
        }
        const QWidget* focused = m_form.buttonSave->window()->focusWidget();
        const QWidget* const pressable[] = {m_form.checkValue,        m_form.buttonCancel, m_form.buttonDefault,
                                            m_form.buttonSave,        m_form.buttonStringClear,
                                            m_form.comboCodec,        m_form.comboValue};
        if (focused && std::find(std::begin(pressable), std::end(pressable), focused) != std::end(pressable))
            Keys::injectKey(Qt::Key_Space, pressed, repeat);
        break;
    }
    case Qt::Key_Left:
    case Qt::Key_Right:
        switch (page) {
        case Page::Int:
            QCoreApplication::postEvent(m_form.spinValue,
                                        new QKeyEvent(pressed ? QEvent::KeyPress : QEvent::KeyRelease,
                                                      keycode == Qt::Key_Left ? Qt::Key_Down : Qt::Key_Up,
                                                      Qt::NoModifier));
            break;
        case Page::Bool:
            if (pressed) {
                m_form.checkValue->setFocus();
                m_form.checkValue->setChecked(!m_form.checkValue->isChecked());
            }
            break;
        case Page::String:
            m_form.lineValue->setFocus();
            Keys::injectKey(keycode, pressed, repeat);
            break;
        case Page::Select:
            stepCombo(m_form.comboValue, keycode, pressed, repeat);
            break;
        case Page::Codec:
            stepCombo(m_form.comboCodec, keycode, pressed, repeat);
            break;
        case Page::None:
            break;
        }
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        Keys::moveThroughForm(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}
