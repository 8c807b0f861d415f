#ifndef ABOUTWIDGET_H
#define ABOUTWIDGET_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_about.h"

#include <QString>
#include <QWidget>

// Firmware version and node identity from the backend, and the unit's legal notices.
class AboutWidget : public QWidget, public Ui::About, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(AboutWidget)

public:
    // The unit keeps its notices in /usr/etc/license.txt; tests point elsewhere.
    explicit AboutWidget(QWidget *parent = nullptr,
                         const QString &licenseFile = QStringLiteral("/usr/etc/license.txt"));

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

private slots:
    void updateVersion();

private:
    void loadLicense();

    const QString m_licenseFile;
};

#endif
