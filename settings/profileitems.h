#ifndef PROFILEITEMS_H
#define PROFILEITEMS_H

#include "keypadhandler.h"
#include "panebase.h"
#include "settingoption.h"
#include "ui_profileitems.h"

#include <QWidget>

class EditSetting;

// One settings profile as a tree of its global, local and remote settings; hands the selected
// setting to the shared editor. Factory profiles are shown read-only but for "Visible".
class ProfileItems : public QWidget, public Ui::ProfileItems, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(ProfileItems)

public:
    explicit ProfileItems(EditSetting* editor, QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void editProfileSetting();
    void doneClicked();

public slots:
    void populateItems(int profile_id, bool is_factory);

private slots:
    void editSelected();
    void changeSelection();
    void repopulateItems();
    void refreshItems();

private:
    bool isEditable(const QTreeWidgetItem* row) const;

    EditSetting* m_editor;
    int m_profileId = 0;
    bool m_isFactory = false;
    // The profile's channel decides which local and remote settings exist.
    SettingOption m_channelOption;
};

#endif
