#ifndef SYSTEMSETTINGS_H
#define SYSTEMSETTINGS_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_systemsettings.h"

#include <QWidget>

class EditSetting;

// Every system option and every channel option not kept in profiles, as a settings tree; the
// selected option goes to the shared setting editor.
class SystemSettings : public QWidget, public Ui::SystemSettings, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(SystemSettings)

public:
    explicit SystemSettings(EditSetting* editor, QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void editOption();

public slots:
    void populateSettings();
    void refreshSettings();
    void editSelected();
    void changeSelection();

private:
    EditSetting* m_editor;
};

#endif
