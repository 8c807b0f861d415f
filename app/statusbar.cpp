#include "statusbar.h"

#include <QTimer>

bool StatusBar::blinkPhase = false;

namespace {
constexpr int kBlinkMs = 500;
constexpr int kSignalLevels = 5;
constexpr uint kSignalStep = 25;
} // namespace

StatusBar::StatusBar(QWidget* frame, const StatusSource& source)
    : QWidget(frame)
    , m_source(source)
    , multiIcon(QStringLiteral(":/icons/signal_strength_multiple.png"))
    , linkGo(QStringLiteral(":/icons/link_go.png"))
    , linkUp(QStringLiteral(":/icons/link.png"))
    , linkError(QStringLiteral(":/icons/link_error.png"))
    , linkBreak(QStringLiteral(":/icons/link_break.png"))
    , chatIcon(QStringLiteral(":/icons/comment.png"))
    , chatAddIcon(QStringLiteral(":/icons/comment_add.png"))
    , alertTimer(new QTimer(this))
{
    setupUi(this);
    for (int level = 0; level < kSignalLevels; ++level)
        signalIcons.insert(level, QPixmap(QStringLiteral(":/icons/signal_strength_%1.png").arg(level)));
    for (const char* colour : {"green", "yellow", "red", "gray"})
        braidIcons.insert(QString::fromLatin1(colour), QPixmap(QStringLiteral(":/icons/braid_%1.png").arg(QLatin1String(colour))));

    labelSignalMeter->hide();
    labelBraidStatus->hide();

    alertTimer->setInterval(kBlinkMs);
    connect(alertTimer, &QTimer::timeout, this, &StatusBar::handleAlertTimer);
}

void StatusBar::setKeyboardButtonEnabled(bool enabled)
{
    keyboardButton->setEnabled(enabled);
}

bool StatusBar::keyboardButtonEnabled() const
{
    return keyboardButton->isEnabled();
}

void StatusBar::handleChatAlert()
{
    if (m_source.chatOnShow())
        return;
    chatAlert = true;
    alertTimer->start(kBlinkMs);
}

void StatusBar::updateLinkIndicator()
{
    const bool netReady = m_source.networkReady();
    const bool active = m_source.anyCallActive();
    if (netReady)
        labelLink->setPixmap(active ? linkGo : linkUp);
    else
        labelLink->setPixmap(active ? linkError : linkBreak);
}

void StatusBar::updateSignalStrength(uint str)
{
    // Above 100 there is no icon and the label goes blank.
    labelSignalMeter->setPixmap(signalIcons.value(int((str + kSignalStep - 1) / kSignalStep)));
    labelSignalMeter->show();
}

void StatusBar::updateBraidStatus(QString state)
{
    labelBraidStatus->show();
    const auto icon = braidIcons.constFind(state);
    if (icon != braidIcons.constEnd())
        labelBraidStatus->setPixmap(*icon);
}

void StatusBar::braidStatusOff()
{
    labelBraidStatus->hide();
}

void StatusBar::signalStrengthOff()
{
    labelSignalMeter->hide();
}

void StatusBar::signalStrengthMulti()
{
    labelSignalMeter->setPixmap(multiIcon);
    labelSignalMeter->show();
}

void StatusBar::handleAlertTimer()
{
    if (chatAlert) {
        chatButton->setIcon(blinkPhase ? chatIcon : chatAddIcon);
        blinkPhase = !blinkPhase;
        return;
    }
    chatButton->setIcon(chatIcon);
    alertTimer->stop();
    blinkPhase = false;
}
