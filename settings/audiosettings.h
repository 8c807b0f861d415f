#ifndef AUDIOSETTINGS_H
#define AUDIOSETTINGS_H

#include "keypadhandler.h"
#include "panebase.h"
#include "ui_audiosettings.h"

#include <QWidget>

#include <utility>
#include <vector>

class QCheckBox;

// The audio hardware switches of the system options' "audio" group. The form follows the backend
// until the operator changes a switch; from then on it keeps the operator's choice until Apply.
class AudioSettings : public QWidget, public Ui::AudioSettings, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(AudioSettings)

public:
    explicit AudioSettings(QWidget* parent = nullptr);

    void paneAboutToShow() override;
    void handleKey(int keycode, bool pressed, bool repeat) override;

private slots:
    void populateSettings();
    void updateSettings();
    void saveSettings();

private:
    // Each switch with the parameter it stands for in the "audio" group.
    std::vector<std::pair<QCheckBox*, const char*>> switches() const;
};

#endif
