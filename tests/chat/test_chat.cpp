#include "chat.h"
#include "ipcinstances.h"

#include <QMutexLocker>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextFrame>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void recordsBecomeColouredLines_data();
    void recordsBecomeColouredLines();
    void farEndMarkupIsTamed_data();
    void farEndMarkupIsTamed();
    void burstKeepsEveryLineOnceInOrder();
    void transcriptKeepsTheLatestLines();
    void presenceLineAtEveryReady();
    void sendFollowsTheEntry();
    void sentLineClearsTheEntryAndComesBackAsOurOwn();

private:
    static void answerChat(Message record);
    int chatRequests() const;

    std::vector<Message> m_sent;
    std::unique_ptr<Chat> m_chat;
};

void TestChat::initTestCase()
{
    g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
}

void TestChat::init()
{
    m_chat = std::make_unique<Chat>();
    m_sent.clear();
}

void TestChat::answerChat(Message record)
{
    record.params().set_string("seq", "chat");
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_response(record);
}

int TestChat::chatRequests() const
{
    return int(std::count_if(m_sent.begin(), m_sent.end(), [](const Message& m) { return m.name == "chat"; }));
}

void TestChat::recordsBecomeColouredLines_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("line");
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
}

void TestChat::recordsBecomeColouredLines()
{
    QFETCH(QString, record);
    QFETCH(QString, line);
    QFETCH(QString, colour);
    QFETCH(bool, boldStart);
    QFETCH(bool, alert);

    answerChat(Message("chat", Params("type=message from=Earlier text=first portable:b=true")));
    const int blocksBefore = m_chat->textChat->document()->blockCount();
    QSignalSpy alerts(m_chat.get(), &Chat::chatAlert);
    answerChat(Message("chat", Params(record.toUtf8().constData())));

    QCOMPARE(alerts.count(), alert ? 1 : 0);
    QCOMPARE(m_chat->textChat->document()->blockCount(), blocksBefore + 1);
    const QTextBlock block = m_chat->textChat->document()->lastBlock();
    QCOMPARE(block.text(), line);
    QCOMPARE(block.begin().fragment().charFormat().foreground().color(), QColor(colour));
    QCOMPARE(block.begin().fragment().charFormat().fontWeight() >= QFont::Bold, boldStart);
}

void TestChat::farEndMarkupIsTamed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");

    QString tables;
    for (int i = 0; i < 20; ++i)
        tables = "<table><tr><td>" + tables + "x</td></tr></table>";
    const QString endless(1000000, QLatin1Char('w'));
    QTest::newRow("inline formatting kept") << "<B>b</B> <i>i</i><u>u</u><font color=\"#ff0000\">red</font> a<br>b"
                                            << QStringLiteral("[Van] b iured a\u2028b");
    QTest::newRow("image and link as text") << "<img src=':/icons/x.png'><a href='http://h/'>go</a>"
                                            << "[Van] <img src=':/icons/x.png'><a href='http://h/'>go</a>";
    QTest::newRow("nested tables as text") << tables << "[Van] " + tables;
    QTest::newRow("font with more than a colour") << "<font color=red size=7 face=x>big</font>"
                                                  << "[Van] <font color=red size=7 face=x>big";
    QTest::newRow("entities") << "a &amp; b &lt;c&gt; & d &#65;" << "[Van] a & b <c> & d A";
    QTest::newRow("a line at the cap kept whole") << endless.left(1000) << "[Van] " + endless.left(1000);
    QTest::newRow("endless word cut") << endless << "[Van] " + endless.left(1000) + QStringLiteral(" [\u2026]");
}

void TestChat::farEndMarkupIsTamed()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    Message record("chat", Params("type=message from=Van"));
    record.params().set_string("text", text.toStdString());
    answerChat(record);
    QTextDocument* transcript = m_chat->textChat->document();
    QCOMPARE(transcript->lastBlock().text(), shown);
    QVERIFY(transcript->rootFrame()->childFrames().isEmpty());
    QVERIFY(!transcript->toHtml().contains(QLatin1String("<img")));
    QVERIFY(!transcript->toHtml().contains(QLatin1String("<a ")));
}

// Records relayed faster than the screen runs: each arrives once, in order.
void TestChat::burstKeepsEveryLineOnceInOrder()
{
    std::unique_ptr<QThread> backend(QThread::create([] {
        for (int i = 1; i <= 12; ++i)
            answerChat(Message("chat", Params(QStringLiteral("type=message from=Van text=line%1").arg(i).toUtf8())));
    }));
    backend->start();
    QVERIFY(backend->wait(5000));
    QCoreApplication::processEvents();
    QStringList lines;
    for (QTextBlock block = m_chat->textChat->document()->begin(); block.isValid(); block = block.next())
        lines << block.text();
    QStringList expected;
    for (int i = 1; i <= 12; ++i)
        expected << QStringLiteral("[Van] line%1").arg(i);
    QCOMPARE(lines, expected);
}

void TestChat::transcriptKeepsTheLatestLines()
{
    for (int i = 0; i < 600; ++i)
        answerChat(Message("chat", Params(QStringLiteral("type=message from=Van text=n%1").arg(i).toUtf8())));
    QTextDocument* transcript = m_chat->textChat->document();
    QCOMPARE(transcript->blockCount(), 500);
    QCOMPARE(transcript->firstBlock().text(), QStringLiteral("[Van] n100"));
    QCOMPARE(transcript->lastBlock().text(), QStringLiteral("[Van] n599"));
}

void TestChat::presenceLineAtEveryReady()
{
    using S = IPCClient::IPC_STATE;
    // Logged in is not yet ready; both a reconnection and a finished update are.
    for (S state : {S::IPC_DISCONNECTED, S::IPC_LOGGED_IN, S::IPC_READY, S::IPC_DISCONNECTED, S::IPC_LOGGED_IN,
                    S::IPC_READY, S::IPC_UPDATING, S::IPC_READY})
        emit g_ipcClient.changedState(state, false);
    QCOMPARE(int(m_sent.size()), 3);
    for (const Message& request : m_sent)
        QCOMPARE(request.params(),
                 Params("type=status from=Portable when=\"\" text=\"has entered chat.\" portable:b=true seq=chat"));
}

void TestChat::sendFollowsTheEntry()
{
    m_chat->lineMessage->setText(" ");
    QVERIFY(m_chat->buttonSend->isEnabled());
    // Enter sends on its press only, and only with text.
    m_chat->handleKey(Qt::Key_Enter, false, false);
    QCOMPARE(chatRequests(), 0);
    m_chat->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(chatRequests(), 1);
    QVERIFY(!m_chat->buttonSend->isEnabled());
    m_chat->handleKey(Qt::Key_Enter, true, false);
    QCOMPARE(chatRequests(), 1);
}

// The backend answers a line from this screen with the same record; it must read as our own.
void TestChat::sentLineClearsTheEntryAndComesBackAsOurOwn()
{
    m_chat->show();
    QVERIFY(QTest::qWaitForWindowActive(m_chat.get()));
    m_chat->lineMessage->setText(QStringLiteral("Line <b>one</b>"));
    // From the keypad: Down scrolls the transcript, which takes the focus; Enter sends.
    m_chat->handleKey(Qt::Key_Down, true, false);
    QVERIFY(m_chat->textChat->hasFocus());
    for (int line = 0; line < 40; ++line)
        answerChat(Message("chat", Params("type=message from=Van text=filler")));
    QScrollBar* scroll = m_chat->textChat->verticalScrollBar();
    scroll->setValue(0);
    m_chat->handleKey(Qt::Key_Down, true, false);
    QVERIFY(scroll->value() > 0);
    m_chat->handleKey(Qt::Key_Enter, true, false);

    QCOMPARE(chatRequests(), 1);
    QCOMPARE(m_sent.back().params(),
             Params("type=message from=Portable when=\"\" text=\"Line <b>one</b>\" portable:b=true seq=chat"));
    QVERIFY(m_chat->lineMessage->text().isEmpty());
    QTRY_VERIFY(m_chat->lineMessage->hasFocus());

    QSignalSpy alerts(m_chat.get(), &Chat::chatAlert);
    answerChat(m_sent.back());
    QCOMPARE(m_chat->textChat->document()->lastBlock().text(), QStringLiteral(">> Line one"));
    QCOMPARE(alerts.count(), 0);
}

QTEST_MAIN(TestChat)
#include "test_chat.moc"
