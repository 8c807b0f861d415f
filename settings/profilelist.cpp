#include "profilelist.h"

#include "ipcinstances.h"
#include "logger.h"
#include "message.h"
#include "qlistwidgetitemipc.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMutexLocker>

#include <utility>
#include <vector>

namespace {

// The profile's own parameters with its global settings over them.
Params mergedProfile(const Message& profile)
{
    Params merged = profile.params();
    if (const Message* settings = profile.find_child("settings"))
        merged += settings->params();
    return merged;
}

int profileId(const Params& profile)
{
    return profile.get_int("id", 0);
}

bool isFactory(const Params& profile)
{
    return profile.get_bool("factory", false);
}

} // namespace

ProfileList::ProfileList(QWidget* parent)
    : QWidget(parent)
    , m_blankIcon(QStringLiteral(":/icons/blank_16x16.png"))
    , m_factoryIcon(QStringLiteral(":/icons/factory.png"))
{
    setupUi(this);
    labelFactory->hide();

    connect(buttonEdit, &QPushButton::clicked, this, &ProfileList::editSelected);
    connect(buttonNew, &QPushButton::clicked, this, &ProfileList::addNew);
    connect(buttonCopy, &QPushButton::clicked, this, &ProfileList::copySelected);
    connect(buttonRemove, &QPushButton::clicked, this, &ProfileList::removeSelected);
    connect(buttonDefault, &QPushButton::clicked, this, &ProfileList::makeDefault);
    connect(listProfiles, &QListWidget::currentItemChanged, this, &ProfileList::changeSelection);
    connect(&g_ipcClient, &IPCClient::recvProfileList, this, &ProfileList::populateSettings);
    connect(&g_ipcClient, &IPCClient::recvAddProfile, this, &ProfileList::selectNewProfile);
}

void ProfileList::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    buttonEdit->setFocus();
}

QListWidgetItemIPC* ProfileList::currentProfile() const
{
    return static_cast<QListWidgetItemIPC*>(listProfiles->currentItem());
}

void ProfileList::selectNewProfile()
{
    QMutexLocker lock(g_ipcClient.mutex());
    if (const Message* added = g_ipcClient.getResponse("addProfile"))
        m_newProfileId = added->params().get_int("id", 0);
}

void ProfileList::populateSettings()
{
    int selectId = -1;
    if (m_newProfileId != 0) {
        selectId = m_newProfileId;
        m_newProfileId = 0;
    } else if (const QListWidgetItemIPC* current = currentProfile()) {
        selectId = profileId(current->params());
    }

    listProfiles->clear();
    // Under the lock only what the rows keep is copied; the rows are built after.
    std::vector<Params> profiles;
    {
        QMutexLocker lock(g_ipcClient.mutex());
        const Message* answer = g_ipcClient.getResponse("profileList");
        if (!answer)
            return;
        const unsigned int count = answer->num_children("profile");
        profiles.reserve(count);
        for (unsigned int i = 0; i < count; ++i)
            profiles.push_back(mergedProfile(answer->get_child("profile", i)));
    }
    QListWidgetItemIPC* candidate = nullptr;
    for (Params& profile : profiles) {
        QString text = QString::fromStdString(profile.get_string("name", ""));
        if (profile.get_bool("default", false))
            text.prepend(QLatin1Char('*'));
        const int id = profileId(profile);
        auto* row = new QListWidgetItemIPC(isFactory(profile) ? m_factoryIcon : m_blankIcon, text, std::move(profile));
        listProfiles->addItem(row);
        if (!candidate || id == selectId)
            candidate = row;
    }
    if (candidate && candidate != listProfiles->currentItem())
        listProfiles->setCurrentItem(candidate);
}

void ProfileList::changeSelection()
{
    const bool buttonHadFocus = buttonEdit->hasFocus() || buttonNew->hasFocus() || buttonCopy->hasFocus()
                                || buttonRemove->hasFocus() || buttonDefault->hasFocus();
    if (const QListWidgetItemIPC* current = currentProfile()) {
        const bool factory = isFactory(current->params());
        buttonEdit->setText(factory ? tr("View") : tr("Edit"));
        buttonRemove->setEnabled(!factory);
        labelFactory->setVisible(factory);
    }
    if (shown && !buttonHadFocus)
        buttonEdit->setFocus();
}

void ProfileList::editSelected()
{
    const QListWidgetItemIPC* current = currentProfile();
    if (!current) {
        g_log.log(LOG_ERROR, "profile list, item is null");
        return;
    }
    emit editProfile(profileId(current->params()), isFactory(current->params()));
}

void ProfileList::addNew()
{
    Message request("addProfile");
    request.params().set_string("name", "New Profile");
    request.params().set_string("channel", "rtp_udp_mux");
    g_ipcClient.sendRequest(request);
}

void ProfileList::copySelected()
{
    const QListWidgetItemIPC* current = currentProfile();
    if (!current)
        return;
    Message request("copyProfile");
    request.params().set_int("id", profileId(current->params()));
    request.params().set_string("name", "Copy of " + current->params().get_string("name", ""));
    g_ipcClient.sendRequest(request);
}

void ProfileList::removeSelected()
{
    const QListWidgetItemIPC* current = currentProfile();
    if (!current)
        return;
    // The row may be rebuilt while the question is open: keep what the answer needs.
    const int id = profileId(current->params());
    const QString text = current->text();

    emit changeModal(true);
    const QMessageBox::StandardButton answer = QMessageBox::warning(
        this, tr("Warning!"), tr("This will delete the '%1' profile.\n\nDo you wish to continue?").arg(text),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer == QMessageBox::Yes) {
        Message request("deleteProfile");
        request.params().set_int("id", id);
        g_ipcClient.sendRequest(request);
    }
    emit changeModal(false);
}

void ProfileList::makeDefault()
{
    const QListWidgetItemIPC* current = currentProfile();
    if (!current)
        return;
    Message request("setProfile");
    request.params().set_int("id", profileId(current->params()));
    request.params().set_bool("default", true);
    g_ipcClient.sendRequest(request);
}

void ProfileList::handleKey(int keycode, bool pressed, bool repeat)
{
    handleListScreenKey(listProfiles, keycode, pressed, repeat);
}
