#ifndef OPTIONEDITORPAGES_H
#define OPTIONEDITORPAGES_H

#include "optiondescription.h"
#include "ui_editsetting.h"

#include <QString>

#include <string>
#include <vector>

// The typed pages of the option editor form and their keypad rules, shared by the profile and
// system option editor and the network manager's option editor. Each editor describes its
// option as a PageContent; the pages never see the option record itself.
class OptionEditorPages {
public:
    enum class Page { Int, Bool, String, Select, Codec, None };

    struct PageContent {
        Page page = Page::None;
        QString title;
        QString description;
        QString currentLabel;
        QString defaultLabel;
        QString units;
        int minimum = 0;
        int maximum = 0;
        std::string value;
        std::vector<OptionDescription::Choice> choices;
        // A value matching no choice leaves no entry current instead of the first.
        bool blankWhenUnmatched = false;
        bool isDefault = true;
        bool isChanged = false;
    };

    explicit OptionEditorPages(Ui::EditSetting& form);

    // Wires the form's buttons and inputs to the editor's slots of the same names.
    template <class Editor>
    static void connectForm(Editor* editor);

    // Fills the labels, prepares the page of the option's type and focuses its input. A Codec
    // page is left to its editor; None hides the pages.
    void fill(const PageContent& content);
    void updateButtons(bool isChanged, bool isDefault);
    // The stored text of a check box state.
    static std::string boolValue(int state);
    // The stored value of entry i of the select page.
    std::string selectValue(int index) const;
    void clearStringText();
    void handleKey(Page page, int keycode, bool pressed, bool repeat);

private:
    void fillSelectPage(const PageContent& content);
    void stepCombo(QComboBox* combo, int keycode, bool pressed, bool repeat);

    Ui::EditSetting& m_form;
};

template <class Editor>
void OptionEditorPages::connectForm(Editor* editor)
{
    QObject::connect(editor->buttonSave, &QPushButton::clicked, editor, &Editor::saveClicked);
    QObject::connect(editor->buttonDefault, &QPushButton::clicked, editor, &Editor::defaultClicked);
    QObject::connect(editor->buttonCancel, &QPushButton::clicked, editor, &Editor::cancelClicked);
    QObject::connect(editor->buttonStringClear, &QPushButton::clicked, editor, &Editor::clearStringText);
    QObject::connect(editor->spinValue, QOverload<int>::of(&QSpinBox::valueChanged), editor, &Editor::intChanged);
    QObject::connect(editor->checkValue, &QCheckBox::stateChanged, editor, &Editor::boolChanged);
    QObject::connect(editor->lineValue, &QLineEdit::textChanged, editor, &Editor::textChanged);
    QObject::connect(editor->comboValue, QOverload<int>::of(&QComboBox::currentIndexChanged), editor,
                     &Editor::selectChanged);
}

#endif
