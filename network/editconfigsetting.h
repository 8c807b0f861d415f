#ifndef EDITCONFIGSETTING_H
#define EDITCONFIGSETTING_H

#include "configoption.h"
#include "keypadhandler.h"
#include "optioneditorpages.h"
#include "panebase.h"
#include "ui_editsetting.h"

#include <QWidget>

#include <string>

// The editor for one option of the network manager's tree, given its dotted path: fetches the
// description, offers the page of its type and stores it with one request on Save.
class EditConfigSetting : public QWidget, public Ui::EditSetting, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(EditConfigSetting)
    friend class OptionEditorPages;

public:
    explicit EditConfigSetting(QWidget* parent = nullptr);

    // Asks for the option's description; the editor fills itself when it arrives.
    void setPath(const std::string& path);

    void paneAboutToShow() override;
    void paneAboutToHide() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void editConfigSettingDone(bool saved);

private slots:
    void intChanged(int new_int);
    void boolChanged(int new_bool);
    void textChanged(QString new_string);
    void selectChanged(int new_idx);
    void clearStringText();
    void saveClicked();
    void defaultClicked();
    void cancelClicked();
    void handleRecvConfigSetting(Message msg);
    void handleSaveOption(Message msg);

private:
    void populate();
    OptionEditorPages::Page page() const;
    void storeEdit(const std::string& newValue);

    OptionEditorPages m_pages;
    bool m_populating = false;
    std::string m_path;
    ConfigOption m_option;
};

#endif
