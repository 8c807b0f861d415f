#include "peeredit.h"

#include "ipcinstances.h"
#include "logger.h"
#include "message.h"

#include <QRegularExpressionValidator>

namespace {

const QColor kMacInvalidColour(255, 221, 221);

QString text(const Params& params, const char* key)
{
    return QString::fromStdString(params.get_string(key, ""));
}

void selectData(QComboBox* combo, int data)
{
    const int index = combo->findData(data);
    if (index >= 0)
        combo->setCurrentIndex(index);
}

} // namespace

PeerEdit::PeerEdit(QWidget* parent)
    : QWidget(parent)
    , m_macValidator(new QRegularExpressionValidator(
          QRegularExpression(QStringLiteral("^([0-9A-Fa-f]{2}:){5}([0-9A-Fa-f]{2})$")), this))
{
    setupUi(this);
    macAddrEdit->setValidator(m_macValidator);
    macAddrEdit->setAutoFillBackground(true);

    connect(buttonOK, &QPushButton::clicked, this, &PeerEdit::savePeer);
    connect(buttonCancel, &QPushButton::clicked, this, &PeerEdit::cancelSavePeer);
    connect(checkBraid, &QCheckBox::stateChanged, this, &PeerEdit::braidStateChanged);
    connect(nameEdit, &QLineEdit::textChanged, this, &PeerEdit::nameEditTextChanged);
    connect(addressEdit, &QLineEdit::textChanged, this, &PeerEdit::addressEditTextChanged);
    connect(macAddrEdit, &QLineEdit::textChanged, this, &PeerEdit::macAddrEditTextChanged);
}

void PeerEdit::setPeerID(int peer_id)
{
    m_peerId = peer_id;
}

void PeerEdit::setEdit(bool edit)
{
    m_edit = edit;
}

void PeerEdit::populate()
{
    labelTitle->setText(m_edit ? tr("Edit Remote Settings") : tr("Add New Remote"));
    populatePeer();
    populateProfiles();
    updateOkButton();
}

void PeerEdit::populatePeer()
{
    Message peers;
    if (!g_ipcClient.copyResponse("peerList", peers))
        return;

    comboBackup->clear();
    comboBackup->addItem(tr("(No backup)"), 0);
    if (m_edit)
        comboBackup->addItem(tr("(Keep retrying this remote)"), m_peerId);
    int backup = m_peerId;

    if (!m_edit) {
        for (QLineEdit* edit : {nameEdit, addressEdit, passwordEdit}) {
            edit->setEnabled(true);
            edit->clear();
        }
        macAddrEdit->setEnabled(false);
        macAddrEdit->clear();
        setPlaitShown(true);
        checkBraid->setChecked(false);
        checkFallForward->setChecked(false);
    }

    for (unsigned int i = 0; i < peers.num_children("peer"); ++i) {
        const Message& peer = peers.get_child("peer", i);
        const Params& params = peer.params();
        const int id = params.get_int("id", 0);
        if (id != m_peerId) {
            comboBackup->addItem(text(params, "name"), id);
            continue;
        }
        if (!m_edit)
            continue;
        nameEdit->setText(text(params, "name"));
        addressEdit->setText(text(params, "addr"));
        passwordEdit->setText(text(params, "password"));
        macAddrEdit->setText(text(params, "unit"));
        m_peerProfile = params.get_int("profile", 0);
        checkFallForward->setChecked(params.get_bool("retry_primary", false));
        checkBraid->setChecked(params.get_bool("use_plait", false));
        backup = params.get_int("backup_id", 0);
        macAddrEdit->setEnabled(false);
        setPlaitShown(params.get_bool("plait", false));
        // The directory server owns what it lists.
        const bool listed = peer.find_child("directory") != nullptr;
        for (QLineEdit* edit : {nameEdit, addressEdit, passwordEdit})
            edit->setEnabled(!listed);
    }

    if (m_edit)
        selectData(comboBackup, backup);
    recolourMac();
}

void PeerEdit::populateProfiles()
{
    Message profiles;
    if (!g_ipcClient.copyResponse("profileList", profiles))
        return;

    comboProfile->clear();
    comboProfile->addItem(tr("(Default Profile)"), 0);
    for (unsigned int i = 0; i < profiles.num_children("profile"); ++i) {
        const Message& profile = profiles.get_child("profile", i);
        const Message* settings = profile.find_child("settings");
        if (!settings)
            continue;
        const int id = profile.params().get_int("id", 0);
        if (settings->params().get_bool("visible", false) || (m_edit && id == m_peerProfile))
            comboProfile->addItem(text(settings->params(), "name"), id);
    }
    if (m_edit)
        selectData(comboProfile, m_peerProfile);
    else
        comboProfile->setCurrentIndex(0);
}

void PeerEdit::setPlaitShown(bool shown)
{
    m_plaitShown = shown;
    macAddrEdit->setVisible(shown);
    labelMacAddr->setVisible(shown);
    checkBraid->setVisible(shown);
}

bool PeerEdit::macAcceptable() const
{
    QString mac = macAddrEdit->text();
    int position = 0;
    return m_macValidator->validate(mac, position) == QValidator::Acceptable;
}

void PeerEdit::recolourMac()
{
    QPalette palette = macAddrEdit->palette();
    const bool white = macAcceptable() || !macAddrEdit->isEnabled();
    palette.setColor(QPalette::Base, white ? QColor(Qt::white) : kMacInvalidColour);
    macAddrEdit->setPalette(palette);
}

void PeerEdit::updateOkButton()
{
    const bool macMissing = m_plaitShown && checkBraid->isChecked() && !macAcceptable();
    const bool nameMissing = nameEdit->text().isEmpty() && nameEdit->isEnabled();
    const bool addressMissing = addressEdit->text().isEmpty() && addressEdit->isEnabled();
    buttonOK->setEnabled(!macMissing && !nameMissing && !addressMissing);
}

void PeerEdit::braidStateChanged(int)
{
    macAddrEdit->setEnabled(checkBraid->isChecked() && !m_edit);
    recolourMac();
    updateOkButton();
}

void PeerEdit::nameEditTextChanged(QString)
{
    updateOkButton();
}

void PeerEdit::addressEditTextChanged(QString)
{
    updateOkButton();
}

void PeerEdit::macAddrEditTextChanged(QString)
{
    recolourMac();
    updateOkButton();
}

void PeerEdit::savePeer()
{
    Message request(m_edit ? "setPeerSettings" : "addPeer");
    Params& params = request.params();
    params.set_int("id", m_peerId);
    params.set_string("name", nameEdit->text().toStdString());
    params.set_string("addr", addressEdit->text().toStdString());
    const bool mac = macAcceptable();
    if (mac)
        params.set_string("unit", macAddrEdit->text().toStdString());
    params.set_bool("plait", mac);
    if (mac)
        params.set_bool("use_plait", checkBraid->isChecked());
    params.set_string("password", passwordEdit->text().toStdString());
    params.set_int("profile", comboProfile->currentData().toInt());
    params.set_int("backup_id", comboBackup->currentData().toInt());
    params.set_bool("retry_primary", checkFallForward->isChecked());
    g_ipcClient.sendRequest(request);
    request._dump(LOG_DEBUG, 0, 0);
    emit editPeerDone();
}

void PeerEdit::cancelSavePeer()
{
    emit editPeerDone();
}

void PeerEdit::deletePeer()
{
    Message request("removePeer");
    request.params().set_int("id", m_peerId);
    g_ipcClient.sendRequest(request);
}

void PeerEdit::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    nameEdit->setFocus();
}

void PeerEdit::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        if (listOpen())
            injectKey(Qt::Key_Enter, pressed, repeat);
        else if (!nameEdit->hasFocus() && !addressEdit->hasFocus() && !passwordEdit->hasFocus())
            injectKey(Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Left:
    case Qt::Key_Right: {
        const bool left = keycode == Qt::Key_Left;
        if (pressed && (comboProfile->hasFocus() || comboBackup->hasFocus()))
            injectKey(left ? Qt::Key_Down : Qt::Key_Up, pressed, repeat);
        else if (checkFallForward->hasFocus())
            injectKey(Qt::Key_Space, pressed, repeat);
        else if (!(left && buttonCancel->hasFocus()) && !(!left && buttonOK->hasFocus()))
            injectKey(keycode, pressed, repeat);
        break;
    }
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveThroughForm(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}
