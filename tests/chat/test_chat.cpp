#include "chat.h"
#include "ipcinstances.h"

#include <QList>
#include <QMutexLocker>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTextBlock>
#include <QtTest>

#include <vector>

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    // Runs first: nothing is cached yet.
    void withoutRecordNothingIsAppended();
    void recordsBecomeColouredLines_data();
    void recordsBecomeColouredLines();
    void ownLineComesBackGreenWithoutAlert();
    void presenceLineAtEveryReady_data();
    void presenceLineAtEveryReady();
    void sendFollowsTheEntry_data();
    void sendFollowsTheEntry();
    void sendingClearsAndRefocusesTheEntry();
    void enterSendsOnlyOnPressWithText_data();
    void enterSendsOnlyOnPressWithText();
    void leftRightMoveTheCursorInTheEntry();
    void upDownScrollTheTranscript_data();
    void upDownScrollTheTranscript();
    void otherKeysAreIgnored();
    void showingFocusesTheEntry();

private:
    static void answerChat(const Params& params);
    void showChat();
    // The chat requests that left since the last init().
    std::vector<Message> chatRequests() const;
    static QString lastLine(const QTextEdit& edit);
    static QColor lastLineColour(const QTextEdit& edit);

    std::vector<Message> m_sent;
    Chat* m_chat = nullptr;
};

void TestChat::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
}

void TestChat::cleanupTestCase()
{
    g_ipcClient.setRequestTap(nullptr);
}

void TestChat::init()
{
    m_chat = new Chat;
    m_sent.clear();
}

void TestChat::cleanup()
{
    delete m_chat;
    m_chat = nullptr;
}

void TestChat::answerChat(const Params& params)
{
    Message answer("chat", params);
    answer.params().set_string("seq", "chat");
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(answer);
}

void TestChat::showChat()
{
    m_chat->show();
    QVERIFY(QTest::qWaitForWindowActive(m_chat));
}

std::vector<Message> TestChat::chatRequests() const
{
    std::vector<Message> requests;
    for (const Message& request : m_sent) {
        if (request.name == "chat")
            requests.push_back(request);
    }
    return requests;
}

QString TestChat::lastLine(const QTextEdit& edit)
{
    return edit.document()->lastBlock().text();
}

QColor TestChat::lastLineColour(const QTextEdit& edit)
{
    const QTextBlock block = edit.document()->lastBlock();
    return block.begin().fragment().charFormat().foreground().color();
}

void TestChat::withoutRecordNothingIsAppended()
{
    {
        QMutexLocker lock(g_ipcClient.mutex());
        QVERIFY(!g_ipcClient.getResponse("chat"));
    }
    QSignalSpy alerts(m_chat, &Chat::chatAlert);
    emit g_ipcClient.recvChat();
    QVERIFY(m_chat->textChat->toPlainText().isEmpty());
    QCOMPARE(alerts.count(), 0);
}

void TestChat::recordsBecomeColouredLines_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<bool>("appended");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("colour");
    QTest::addColumn<bool>("boldStart");
    QTest::addColumn<bool>("alert");

    QTest::newRow("own message") << "type=message from=Portable text=hello portable:b=true" << true
                                 << ">> hello" << "#227722" << true << false;
    QTest::newRow("far message") << "type=message from=\"Studio A\" text=\"are you there?\" portable:b=false"
                                 << true << "[Studio A] are you there?" << "#222277" << true << true;
    QTest::newRow("message, portable missing") << "type=message from=Van text=hi" << true << "[Van] hi"
                                               << "#222277" << true << true;
    QTest::newRow("far status") << "type=status from=\"Studio A\" text=\"has entered chat.\" portable:b=false"
                                << true << "*** Studio A has entered chat." << "#772222" << false << true;
    QTest::newRow("portable status") << "type=status from=Portable text=\"has entered chat.\" portable:b=true"
                                     << true << "*** Portable has entered chat." << "#772222" << false << false;
    QTest::newRow("markup kept") << "type=message from=Van text=\"<i>quiet</i> please\" portable:b=false" << true
                                 << "[Van] quiet please" << "#222277" << true << true;
    QTest::newRow("unknown type") << "type=typing from=Van text=x portable:b=false" << false << "" << "" << false
                                  << false;
    QTest::newRow("no type") << "from=Van text=x" << false << "" << "" << false << false;
}

void TestChat::recordsBecomeColouredLines()
{
    QFETCH(QString, record);
    QFETCH(bool, appended);
    QFETCH(QString, line);
    QFETCH(QString, colour);
    QFETCH(bool, boldStart);
    QFETCH(bool, alert);

    answerChat(Params("type=message from=Earlier text=first portable:b=true"));
    const int blocksBefore = m_chat->textChat->document()->blockCount();
    const QString before = m_chat->textChat->toHtml();
    QSignalSpy alerts(m_chat, &Chat::chatAlert);

    answerChat(Params(record.toUtf8().constData()));

    QCOMPARE(alerts.count(), alert ? 1 : 0);
    if (!appended) {
        QCOMPARE(m_chat->textChat->toHtml(), before);
        return;
    }
    QCOMPARE(m_chat->textChat->document()->blockCount(), blocksBefore + 1);
    QCOMPARE(lastLine(*m_chat->textChat), line);
    QCOMPARE(lastLineColour(*m_chat->textChat), QColor(colour));
    const QTextBlock block = m_chat->textChat->document()->lastBlock();
    QCOMPARE(block.begin().fragment().charFormat().fontWeight() >= QFont::Bold, boldStart);
}

// The backend answers a line from this screen with the same record; it must read as our own.
void TestChat::ownLineComesBackGreenWithoutAlert()
{
    QSignalSpy alerts(m_chat, &Chat::chatAlert);
    m_chat->lineMessage->setText(QStringLiteral("testing 1 2"));
    m_chat->buttonSend->click();
    const std::vector<Message> sent = chatRequests();
    QCOMPARE(sent.size(), std::size_t(1));

    Message echo = sent.front();
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(echo);
    QCOMPARE(lastLine(*m_chat->textChat), QStringLiteral(">> testing 1 2"));
    QCOMPARE(lastLineColour(*m_chat->textChat), QColor("#227722"));
    QCOMPARE(alerts.count(), 0);
}

void TestChat::presenceLineAtEveryReady_data()
{
    QTest::addColumn<QList<int>>("states");
    QTest::addColumn<int>("presenceLines");

    using S = IPCClient::IPC_STATE;
    QTest::newRow("start") << QList<int>{S::IPC_DISCONNECTED, S::IPC_LOGGED_IN, S::IPC_READY} << 1;
    QTest::newRow("not yet ready") << QList<int>{S::IPC_DISCONNECTED, S::IPC_LOGGED_IN} << 0;
    QTest::newRow("reconnection") << QList<int>{S::IPC_LOGGED_IN, S::IPC_READY, S::IPC_DISCONNECTED,
                                                      S::IPC_LOGGED_IN, S::IPC_READY}
                                  << 2;
    QTest::newRow("firmware update") << QList<int>{S::IPC_READY, S::IPC_UPDATING} << 1;
    QTest::newRow("update finished") << QList<int>{S::IPC_READY, S::IPC_UPDATING, S::IPC_READY} << 2;
}

void TestChat::presenceLineAtEveryReady()
{
    QFETCH(QList<int>, states);
    QFETCH(int, presenceLines);

    for (int state : states)
        emit g_ipcClient.changedState(IPCClient::IPC_STATE(state), false);

    const std::vector<Message> sent = chatRequests();
    QCOMPARE(int(sent.size()), presenceLines);
    for (const Message& request : sent)
        QCOMPARE(request.params(),
                 Params("type=status from=Portable when=\"\" text=\"has entered chat.\" portable:b=true seq=chat"));
    QCOMPARE(m_sent.size(), sent.size());
}

void TestChat::sendFollowsTheEntry_data()
{
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<bool>("enabled");

    QTest::newRow("untouched") << QStringList() << false;
    QTest::newRow("typed") << QStringList{"h"} << true;
    QTest::newRow("blank counts as text") << QStringList{" "} << true;
    QTest::newRow("cleared again") << QStringList{"hello", ""} << false;
    QTest::newRow("retyped") << QStringList{"hello", "", "x"} << true;
}

void TestChat::sendFollowsTheEntry()
{
    QFETCH(QStringList, edits);
    QFETCH(bool, enabled);

    for (const QString& text : edits)
        m_chat->lineMessage->setText(text);
    QCOMPARE(m_chat->buttonSend->isEnabled(), enabled);
}

void TestChat::sendingClearsAndRefocusesTheEntry()
{
    showChat();
    m_chat->lineMessage->setText(QStringLiteral("Line <b>one</b>"));
    m_chat->textChat->setFocus();
    QTest::mouseClick(m_chat->buttonSend, Qt::LeftButton);

    const std::vector<Message> sent = chatRequests();
    QCOMPARE(sent.size(), std::size_t(1));
    QCOMPARE(sent.front().params(),
             Params("type=message from=Portable when=\"\" text=\"Line <b>one</b>\" portable:b=true seq=chat"));
    QVERIFY(m_chat->lineMessage->text().isEmpty());
    QVERIFY(!m_chat->buttonSend->isEnabled());
    QTRY_VERIFY(m_chat->lineMessage->hasFocus());
}

void TestChat::enterSendsOnlyOnPressWithText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("pressed");
    QTest::addColumn<int>("sent");

    QTest::newRow("press with text") << "ready" << true << 1;
    QTest::newRow("release with text") << "ready" << false << 0;
    QTest::newRow("press, empty entry") << "" << true << 0;
}

void TestChat::enterSendsOnlyOnPressWithText()
{
    QFETCH(QString, text);
    QFETCH(bool, pressed);
    QFETCH(int, sent);

    m_chat->lineMessage->setText(text);
    m_chat->handleKey(Qt::Key_Enter, pressed, false);
    const std::vector<Message> requests = chatRequests();
    QCOMPARE(int(requests.size()), sent);
    if (sent)
        QCOMPARE(requests.front().params().get_string("text", ""), text.toStdString());
}

void TestChat::leftRightMoveTheCursorInTheEntry()
{
    showChat();
    m_chat->lineMessage->setText(QStringLiteral("abcd"));
    m_chat->lineMessage->setCursorPosition(2);
    m_chat->textChat->setFocus();

    m_chat->handleKey(Qt::Key_Left, true, false);
    m_chat->handleKey(Qt::Key_Left, false, false);
    QVERIFY(m_chat->lineMessage->hasFocus());
    QTRY_COMPARE(m_chat->lineMessage->cursorPosition(), 1);

    m_chat->textChat->setFocus();
    m_chat->handleKey(Qt::Key_Right, true, false);
    m_chat->handleKey(Qt::Key_Right, false, false);
    QVERIFY(m_chat->lineMessage->hasFocus());
    QTRY_COMPARE(m_chat->lineMessage->cursorPosition(), 2);
}

void TestChat::upDownScrollTheTranscript_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("direction");

    QTest::newRow("down") << int(Qt::Key_Down) << 1;
    QTest::newRow("up") << int(Qt::Key_Up) << -1;
}

void TestChat::upDownScrollTheTranscript()
{
    QFETCH(int, key);
    QFETCH(int, direction);

    for (int line = 1; line <= 60; ++line)
        answerChat(Params(QStringLiteral("type=message from=Van text=line%1").arg(line).toUtf8().constData()));
    showChat();
    QScrollBar* bar = m_chat->textChat->verticalScrollBar();
    QVERIFY(bar->maximum() > 0);
    bar->setValue(bar->maximum() / 2);
    const int start = bar->value();
    m_chat->lineMessage->setFocus();

    m_chat->handleKey(key, true, false);
    m_chat->handleKey(key, false, false);
    QVERIFY(m_chat->textChat->hasFocus());
    QTRY_COMPARE(bar->value() > start ? 1 : bar->value() < start ? -1 : 0, direction);
}

void TestChat::otherKeysAreIgnored()
{
    showChat();
    m_chat->lineMessage->setText(QStringLiteral("abc"));
    m_chat->lineMessage->setFocus();
    for (int key : {int(Qt::Key_A), int(Qt::Key_Asterisk), int(Qt::Key_F25), int(Qt::Key_Backspace)}) {
        m_chat->handleKey(key, true, false);
        m_chat->handleKey(key, false, false);
    }
    QCoreApplication::processEvents();
    QCOMPARE(m_chat->lineMessage->text(), QStringLiteral("abc"));
    QVERIFY(m_chat->lineMessage->hasFocus());
    QVERIFY(chatRequests().empty());
}

void TestChat::showingFocusesTheEntry()
{
    showChat();
    m_chat->textChat->setFocus();
    m_chat->paneAboutToShow();
    QVERIFY(m_chat->lineMessage->hasFocus());
}

QTEST_MAIN(TestChat)
#include "test_chat.moc"
