#ifndef EDITSETTING_H
#define EDITSETTING_H

#include "keypadhandler.h"
#include "optioneditorpages.h"
#include "panebase.h"
#include "settingoption.h"
#include "ui_editsetting.h"

#include <QString>
#include <QWidget>

// The editor for one option of a settings tree: shows its values, offers an input page for its
// type and stores it on Save. One instance serves the profile tree and the system tree.
class EditSetting : public QWidget, public Ui::EditSetting, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(EditSetting)
    friend class OptionEditorPages;

public:
    explicit EditSetting(QWidget* parent = nullptr);

    // Called by a tree screen just before it asks for the editor.
    void setOption(const SettingOption& option);

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void profileEditDone();
    void channelEditDone();

public slots:
    void populateProfileItem();
    void populateChannelItem();

private slots:
    void intChanged(int new_int);
    void boolChanged(int new_bool);
    void textChanged(QString new_string);
    void selectChanged(int new_idx);
    void codecChanged(int new_idx);
    void clearStringText();
    void saveClicked();
    void defaultClicked();
    void cancelClicked();

private:
    void populate();
    OptionEditorPages::Page page() const;
    OptionEditorPages::PageContent pageContent() const;
    void fillCodecPage();
    void showCodecDetails(const std::string& codecId);
    void storeEdit(const std::string& newValue);
    void updateButtons();
    void finishEdit();

    OptionEditorPages m_pages;
    SettingOption m_option;
    bool m_populating = false;
    bool m_editingProfile = false;
};

#endif
