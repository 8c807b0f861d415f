#include "chat.h"
#include "ipcinstances.h"

#include <QList>
#include <QMutexLocker>
#include <QSignalSpy>
#include <QTextBlock>
#include <QtTest>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <vector>

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void recordsBecomeColouredLines_data();
    void recordsBecomeColouredLines();
    void presenceLineAtEveryReady_data();
    void presenceLineAtEveryReady();
    void sendFollowsTheEntry_data();
    void sendFollowsTheEntry();
    void sentLineClearsTheEntryAndComesBackAsOurOwn();
    void enterSendsOnlyOnPressWithText();

private:
    static void answerChat(const Params& params);
    // The chat requests that left since the last init().
    std::vector<Message> chatRequests() const;

    std::vector<Message> m_sent;
    Chat* m_chat = nullptr;
};

void TestChat::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
}

void TestChat::init()
{
    m_chat = new Chat;
    m_sent.clear();
}

void TestChat::cleanup()
{
    delete m_chat;
}

void TestChat::answerChat(const Params& params)
{
    Message answer("chat", params);
    answer.params().set_string("seq", "chat");
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(answer);
}

std::vector<Message> TestChat::chatRequests() const
{
    std::vector<Message> requests;
    std::copy_if(m_sent.begin(), m_sent.end(), std::back_inserter(requests),
                 [](const Message& request) { return request.name == "chat"; });
    return requests;
}

void TestChat::recordsBecomeColouredLines_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("line"); // empty: nothing appended
    QTest::addColumn<QString>("colour");
    QTest::addColumn<bool>("boldStart");
    QTest::addColumn<bool>("alert");

    QTest::newRow("own message") << "type=message from=Portable text=hello portable:b=true" << ">> hello"
                                 << "#227722" << true << false;
    QTest::newRow("far message, markup kept") << "type=message from=Van text=\"<i>quiet</i> please\""
                                              << "[Van] quiet please" << "#222277" << true << true;
    QTest::newRow("far status") << "type=status from=\"Studio A\" text=\"has entered chat.\" portable:b=false"
                                << "*** Studio A has entered chat." << "#772222" << false << true;
    QTest::newRow("portable status") << "type=status from=Portable text=left. portable:b=true"
                                     << "*** Portable left." << "#772222" << false << false;
    QTest::newRow("unknown type") << "type=typing from=Van text=x" << "" << "" << false << false;
}

void TestChat::recordsBecomeColouredLines()
{
    QFETCH(QString, record);
    QFETCH(QString, line);
    QFETCH(QString, colour);
    QFETCH(bool, boldStart);
    QFETCH(bool, alert);

    answerChat(Params("type=message from=Earlier text=first portable:b=true"));
    const QString before = m_chat->textChat->toHtml();
    const int blocksBefore = m_chat->textChat->document()->blockCount();
    QSignalSpy alerts(m_chat, &Chat::chatAlert);
    answerChat(Params(record.toUtf8().constData()));

    QCOMPARE(alerts.count(), alert ? 1 : 0);
    if (line.isEmpty()) {
        QCOMPARE(m_chat->textChat->toHtml(), before);
        return;
    }
    QCOMPARE(m_chat->textChat->document()->blockCount(), blocksBefore + 1);
    const QTextBlock block = m_chat->textChat->document()->lastBlock();
    QCOMPARE(block.text(), line);
    QCOMPARE(block.begin().fragment().charFormat().foreground().color(), QColor(colour));
    QCOMPARE(block.begin().fragment().charFormat().fontWeight() >= QFont::Bold, boldStart);
}

void TestChat::presenceLineAtEveryReady_data()
{
    QTest::addColumn<QList<int>>("states");
    QTest::addColumn<int>("presenceLines");

    using S = IPCClient::IPC_STATE;
    QTest::newRow("not yet ready") << QList<int>{S::IPC_DISCONNECTED, S::IPC_LOGGED_IN} << 0;
    QTest::newRow("reconnection") << QList<int>{S::IPC_LOGGED_IN, S::IPC_READY, S::IPC_DISCONNECTED,
                                                      S::IPC_LOGGED_IN, S::IPC_READY}
                                  << 2;
    QTest::newRow("update finished") << QList<int>{S::IPC_READY, S::IPC_UPDATING, S::IPC_READY} << 2;
}

void TestChat::presenceLineAtEveryReady()
{
    QFETCH(QList<int>, states);
    QFETCH(int, presenceLines);

    for (int state : states)
        emit g_ipcClient.changedState(IPCClient::IPC_STATE(state), false);
    QCOMPARE(int(m_sent.size()), presenceLines);
    for (const Message& request : m_sent)
        QCOMPARE(request.params(),
                 Params("type=status from=Portable when=\"\" text=\"has entered chat.\" portable:b=true seq=chat"));
}

void TestChat::sendFollowsTheEntry_data()
{
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<bool>("enabled");

    QTest::newRow("untouched") << QStringList() << false;
    QTest::newRow("blank counts as text") << QStringList{" "} << true;
    QTest::newRow("cleared again") << QStringList{"hello", ""} << false;
}

void TestChat::sendFollowsTheEntry()
{
    QFETCH(QStringList, edits);
    QFETCH(bool, enabled);

    for (const QString& text : edits)
        m_chat->lineMessage->setText(text);
    QCOMPARE(m_chat->buttonSend->isEnabled(), enabled);
}

// The backend answers a line from this screen with the same record; it must read as our own.
void TestChat::sentLineClearsTheEntryAndComesBackAsOurOwn()
{
    m_chat->show();
    QVERIFY(QTest::qWaitForWindowActive(m_chat));
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

    QSignalSpy alerts(m_chat, &Chat::chatAlert);
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(sent.front());
    QCOMPARE(m_chat->textChat->document()->lastBlock().text(), QStringLiteral(">> Line one"));
    QCOMPARE(alerts.count(), 0);
}

void TestChat::enterSendsOnlyOnPressWithText()
{
    // entry text, pressed, lines sent
    const std::tuple<const char*, bool, int> cases[] = {{"ready", true, 1}, {"ready", false, 0}, {"", true, 0}};
    for (const auto& [text, pressed, sent] : cases) {
        m_sent.clear();
        m_chat->lineMessage->setText(text);
        m_chat->handleKey(Qt::Key_Enter, pressed, false);
        QCOMPARE(int(chatRequests().size()), sent);
    }
}

QTEST_MAIN(TestChat)
#include "test_chat.moc"
