#include "keypadsetup.h"

#include "browserhome.h"
#include "ipcinstances.h"
#include "logger.h"
#include "message.h"


namespace {

struct F2Choice {
    const char* text;
    KeypadSetup::F2Mode mode;
};

// In the order offered.
const F2Choice kF2Choices[] = {
    {"Cycle Through Screens", KeypadSetup::F2Cycle},
    {"Toggle to Network Manager", KeypadSetup::F2ToggleNetworks},
    {"Toggle to Remote Manager", KeypadSetup::F2ToggleRemotes},
    {"Toggle to Peer Stats", KeypadSetup::F2TogglePeerStats},
    {"Toggle to Channel Stats", KeypadSetup::F2ToggleChannelStats},
    {"Toggle to Braid Stats", KeypadSetup::F2ToggleBraidStats},
    {"Toggle to Audio Meters", KeypadSetup::F2ToggleMeters},
    {"Toggle On-Screen Keyboard", KeypadSetup::F2ToggleKeyboard},
    {"Toggle Chat", KeypadSetup::F2ToggleChat},
    {"Remote Contact Closure", KeypadSetup::F2RemoteContactClosure},
};
constexpr int kHighestF2Mode = KeypadSetup::F2ToggleBraidStats;

} // namespace

KeypadSetup::KeypadSetup(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    for (const F2Choice& choice : kF2Choices)
        comboF2KeyMode->addItem(QString::fromLatin1(choice.text), choice.mode);

    connect(&g_ipcClient, &IPCClient::recvSettings, this, &KeypadSetup::receiveSettings);
    connect(comboF2KeyMode, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &KeypadSetup::f2ModeChange);
    connect(browserHomeURL, &QLineEdit::textChanged, this, &KeypadSetup::browserHomeChange);
    connect(restrictedUser, &QCheckBox::toggled, this, &KeypadSetup::restrictedModeChange);
}

void KeypadSetup::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    comboF2KeyMode->setFocus();
}

void KeypadSetup::store(Message& request)
{
    g_ipcClient.sendRequest(request);
    if (g_log.enabled(LOG_DEBUG)) {
        g_log.log(LOG_DEBUG, "user interface settings: stored");
        request._dump(LOG_DEBUG, 0, 1);
    }
}

void KeypadSetup::f2ModeChange(int idx)
{
    if (m_populating)
        return;
    m_f2Mode = comboF2KeyMode->itemData(idx).toInt();
    Message request("storeSettings");
    request.params().set_string("group", "p_keypad");
    request.params().set_int("keypadF2Mode", m_f2Mode);
    store(request);
}

void KeypadSetup::browserHomeChange(const QString& url)
{
    if (!m_populating) {
        Message request("storeSettings");
        request.params().set_string("group", "p_browser");
        request.params().set_string("homeURL", url.toStdString());
        store(request);
        g_ipcClient.requestSettings();
    }
    emit browserHomeChanged(url);
}

void KeypadSetup::restrictedModeChange(bool on)
{
    if (!m_populating) {
        Message request("storeSettings");
        request.params().set_string("group", "p_general");
        request.params().set_bool("restricted", on);
        store(request);
    }
    emit restrictedModeChanged(on);
}

void KeypadSetup::receiveSettings()
{
    Message settings;
    if (!g_ipcClient.copyResponse("loadSettings", settings))
        return;
    if (g_log.enabled(LOG_DEBUG)) {
        g_log.log(LOG_DEBUG, "user interface settings: loaded");
        settings._dump(LOG_DEBUG, 0, 1);
    }

    m_populating = true;
    browserHomeURL->setText(QString::fromLatin1(kDefaultBrowserHome));
    for (unsigned int i = 0; i < settings.num_children("group"); ++i) {
        const Params& group = settings.get_child("group", i).params();
        const std::string name = group.get_string("name", "");
        if (name == "p_keypad") {
            m_f2Mode = group.get_int("keypadF2Mode", 0);
            if (m_f2Mode > kHighestF2Mode)
                m_f2Mode = 0;
            comboF2KeyMode->setCurrentIndex(comboF2KeyMode->findData(m_f2Mode));
        } else if (name == "p_browser") {
            browserHomeURL->setText(QString::fromStdString(group.get_string("homeURL", "")));
        } else if (name == "p_general") {
            restrictedUser->setChecked(group.get_bool("restricted", false));
        }
    }
    m_populating = false;
}

void KeypadSetup::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        if (listOpen())
            injectKey(Qt::Key_Enter, pressed, repeat);
        else if (!browserHomeURL->hasFocus())
            injectKey(Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (browserHomeURL->hasFocus())
            injectKey(keycode, pressed, repeat);
        else if (comboF2KeyMode->hasFocus())
            injectKey(keycode == Qt::Key_Left ? Qt::Key_Up : Qt::Key_Down, pressed, repeat);
        else if (restrictedUser->hasFocus())
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
