#ifndef PROFILELIST_H
#define PROFILELIST_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_profilelist.h"

#include <QIcon>
#include <QWidget>

class QListWidgetItemIPC;

// The settings profiles the backend keeps: add, copy, remove, mark the default, and open one in
// the profile settings screen. The list follows every "profileList" and keeps its selection.
class ProfileList : public QWidget, public Ui::ProfileList, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(ProfileList)

public:
    explicit ProfileList(QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void editProfile(int id, bool isFactory);
    // On while the removal question is open, so that the keypad drives its buttons.
    void changeModal(bool modal);

private slots:
    void selectNewProfile();
    void populateSettings();
    void editSelected();
    void copySelected();
    void removeSelected();
    void addNew();
    void makeDefault();
    void changeSelection();

private:
    QListWidgetItemIPC* currentProfile() const;

    QIcon m_blankIcon;
    QIcon m_factoryIcon;
    int m_newProfileId = 0;
};

#endif
