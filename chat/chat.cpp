#include "chat.h"

#include "ipcinstances.h"
#include "logger.h"
#include "message.h"

#include <QRegularExpression>
#include <QTextDocument>

namespace {
// How this user interface names itself to the other ends of the chat.
const char* const kSelfName = "Portable";
const char* const kMessage = "message";
const char* const kStatus = "status";
// Longest far-end text shown, in characters, and how many lines the transcript keeps.
constexpr int kMaxLineChars = 1000;
constexpr int kMaxTranscriptLines = 500;
const char* const kCutMark = " [\u2026]";

// One tag of far-end markup that is kept: inline formatting only. Everything else is shown as
// text, so a line cannot pull in images, links or tables.
QString allowedTag(const QString& tag)
{
    static const QRegularExpression simple(QStringLiteral("^<(/?)(b|i|u|em|strong|br\\s*/?|font)\\s*>$"),
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression colour(
        QStringLiteral("^<font\\s+color\\s*=\\s*(['\"]?)(#[0-9a-f]{3,8}|[a-z]{1,20})\\1\\s*>$"),
        QRegularExpression::CaseInsensitiveOption);
    if (const auto match = simple.match(tag); match.hasMatch())
        return QLatin1Char('<') + match.captured(1) + match.captured(2).toLower() + QLatin1Char('>');
    if (const auto match = colour.match(tag); match.hasMatch())
        return QStringLiteral("<font color='%1'>").arg(match.captured(2));
    return QString();
}

// The far end's text as markup that is safe to append: capped in length, the allowed tags kept,
// every other '<' and '&' shown as text.
QString farEndMarkup(const std::string& received)
{
    QString text = QString::fromStdString(received);
    const bool cut = text.size() > kMaxLineChars;
    if (cut)
        text.truncate(kMaxLineChars);
    static const QRegularExpression entity(QStringLiteral("^&(#[0-9]{1,7}|#x[0-9a-f]{1,6}|[a-z]{1,10});"),
                                           QRegularExpression::CaseInsensitiveOption);
    QString markup;
    markup.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('<')) {
            // Without a closing '>' this is the rest of the line, which no tag matches.
            const int end = text.indexOf(QLatin1Char('>'), i);
            const QString kept = allowedTag(text.mid(i, end - i + 1));
            if (!kept.isEmpty()) {
                markup += kept;
                i = end;
            } else {
                markup += QStringLiteral("&lt;");
            }
        } else if (c == QLatin1Char('&')) {
            const auto match = entity.match(text.mid(i, 20));
            markup += match.hasMatch() ? match.captured(0) : QStringLiteral("&amp;");
            if (match.hasMatch())
                i += match.capturedLength() - 1;
        } else {
            markup += c;
        }
    }
    if (cut)
        markup += QString::fromUtf8(kCutMark);
    return markup;
}
} // namespace

Chat::Chat(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    connect(lineMessage, &QLineEdit::textChanged, this, &Chat::textChanged);
    connect(buttonSend, &QPushButton::clicked, this, &Chat::sendChat);
    connect(&g_ipcClient, &IPCClient::recvChatRecord, this, &Chat::newChatMessage);
    textChat->document()->setMaximumBlockCount(kMaxTranscriptLines);
    connect(&g_ipcClient, &IPCClient::changedState, this, &Chat::ipcChangedState);
}

void Chat::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    lineMessage->setFocus();
}

void Chat::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        if (pressed)
            buttonSend->click();
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        lineMessage->setFocus();
        injectKey(keycode, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        textChat->setFocus();
        injectKey(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}

void Chat::textChanged()
{
    buttonSend->setEnabled(!lineMessage->text().isEmpty());
}

void Chat::newChatMessage(const Message& record)
{
    const std::string type = record.params().get_string("type", "");
    const std::string from = record.params().get_string("from", "");
    const bool portable = record.params().get_bool("portable", false);
    const QString sender = farEndMarkup(from);
    const QString line = farEndMarkup(record.params().get_string("text", ""));
    bool alert = false;
    if (type == kMessage && portable) {
        textChat->append("<font color='#227722'><strong>>></strong> " + line + "</font>");
    } else if (type == kMessage) {
        textChat->append("<font color='#222277'><strong>[" + sender + "]</strong> " + line + "</font>");
        alert = true;
    } else if (type == kStatus) {
        textChat->append("<font color='#772222'></strong>*** " + sender + " " + line + "</strong></font>");
        alert = !portable;
    } else {
        return;
    }

    g_log.log(LOG_DEBUG, "chat: %s line from %s%s", type.c_str(), from.c_str(), alert ? ", alert" : "");
    if (alert)
        emit chatAlert();
}

void Chat::sendChat()
{
    sendRecord(kMessage, lineMessage->text());
    lineMessage->clear();
    lineMessage->setFocus();
}

void Chat::sendHello()
{
    sendRecord(kStatus, QStringLiteral("has entered chat."));
}

void Chat::ipcChangedState(IPCClient::IPC_STATE state, bool)
{
    if (state == IPCClient::IPC_READY)
        sendHello();
}

void Chat::sendRecord(const char* type, const QString& text)
{
    Message record("chat");
    record.params().set_string("type", type);
    record.params().set_string("from", kSelfName);
    record.params().set_string("when", "");
    record.params().set_string("text", text.toStdString());
    record.params().set_bool("portable", true);
    g_ipcClient.sendRequest(record);
}
