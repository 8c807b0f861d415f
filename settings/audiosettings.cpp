#include "audiosettings.h"

#include "ipcinstances.h"
#include "message.h"

#include <QMutexLocker>

namespace {
// Front ends of this revision have no professional line level.
constexpr unsigned int kRevisionWithoutProLevel = 2;
}

AudioSettings::AudioSettings(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    connect(buttonApply, &QPushButton::clicked, this, &AudioSettings::saveSettings);
    for (const auto& entry : switches())
        connect(entry.first, &QCheckBox::toggled, this, &AudioSettings::updateSettings);
    connect(&g_ipcClient, &IPCClient::recvSysOptions, this, &AudioSettings::populateSettings);
}

std::vector<std::pair<QCheckBox*, const char*>> AudioSettings::switches() const
{
    return {
        {checkPhantom, "phantom"},
        {checkCell, "cell"},
        {checkPGM, "pgm"},
        {checkCue, "cue"},
        {checkProLevel, "pro_level"},
        {checkMixerPhantom, "mixer_phantom"},
        {checkMixerCell, "mixer_cell"},
    };
}

void AudioSettings::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    checkPhantom->setFocus();
    QMutexLocker lock(g_ipcClient.mutex());
    const Message* version = g_ipcClient.getResponse("version");
    const unsigned int revision = version ? version->params().get_uint("portable_rev", 0) : 0;
    checkProLevel->setVisible(revision != kRevisionWithoutProLevel);
}

// Changes the operator has not applied yet win over what the backend reports.
void AudioSettings::populateSettings()
{
    if (buttonApply->isEnabled())
        return;
    QMutexLocker lock(g_ipcClient.mutex());
    const Message* options = g_ipcClient.getResponse("sysOptions");
    const Message* audio = options ? options->find_child("audio") : nullptr;
    if (!audio)
        return;
    for (const auto& entry : switches())
        entry.first->setChecked(audio->params().get_bool(entry.second, false));
    // What the backend reports is nothing to apply.
    buttonApply->setEnabled(false);
}

void AudioSettings::updateSettings()
{
    buttonApply->setEnabled(true);
}

void AudioSettings::saveSettings()
{
    buttonApply->setEnabled(false);
    Message request("setSysOptions");
    Message& audio = request.add_child("audio");
    for (const auto& entry : switches())
        audio.params().set_bool(entry.second, entry.first->isChecked());
    g_ipcClient.sendRequest(request);
}

void AudioSettings::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
    case Qt::Key_Left:
    case Qt::Key_Right:
        injectKey(Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveThroughForm(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}
