#ifndef BRAIDSETTINGS_H
#define BRAIDSETTINGS_H

#include "configparser.h"
#include "keypadhandler.h"
#include "panebase.h"
#include "ui_braidsettings.h"

#include <QWidget>

#include <string>

// The bonded tunnel's settings, read from the network manager each time the screen is shown;
// the selected one goes to the configuration option editor.
class BraidSettings : public QWidget, public Ui::BraidSettings, public KeypadHandler, public PaneBase,
                      public ConfigParser {
    Q_OBJECT
    Q_DISABLE_COPY(BraidSettings)

public:
    explicit BraidSettings(QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void paneAboutToHide() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

signals:
    void editBraidSetting(const std::string& path);

private slots:
    void handleRecvBraidSettings(Message msg);
    void handleEditSetting();
    void changeSettingsSelection();

private:
    // Connected while the screen is on show.
    QList<QMetaObject::Connection> m_connections;
};

#endif
