// The chat screen fed through the shared client: transcript lines from records, far-end markup
// tamed, presence lines, sending from the entry and the keypad.
#include "cachefeeder.h"
#include "chat.h"
#include "logcapture.h"
#include "platformkey.h"
#include "screentest.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

using namespace cachefeeder;

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void init() { m_chat = std::make_unique<Chat>(); }
    // Far-end markup keeps inline formatting only; everything else shows as text. Record | text |
    // line shown (none: no line) | its colour.
    void recordsBecomeLines_data()
    {
        rows(R"(
          own message | type=message from=Portable portable:b=true | hi | >> hi | #227722
          far status | type=status from="Studio A" portable:b=false | has entered chat. | *** Studio A has entered chat. | #772222
          other type | type=typing from=Van | x
          inline formatting kept | type=message from=Van | <B>b</B> <i>i</i><u>u</u><font color='#ff0000'>red</font> a<br>b
            | [Van] b iured a\nb | #222277
          image and link as text | type=message from=Van | <img src=':/icons/x.png'><a href='http://h/'>go</a>
            | [Van] <img src=':/icons/x.png'><a href='http://h/'>go</a> | #222277
          font with more than a colour | type=message from=Van | <font color=red size=7>big</font> | [Van] <font color=red size=7>big | #222277
          unclosed tag | type=message from=Van | a <b | [Van] a <b | #222277
          entities | type=message from=Van | a &amp; b &lt;c&gt; & d &#65; | [Van] a & b <c> & d A | #222277)");
        const QString endless(1000000, QLatin1Char('w'));
        QTest::newRow("a line at the cap kept whole")
            << QStringList{"type=message from=Van", endless.left(1000), "[Van] " + endless.left(1000), "#222277"};
        QTest::newRow("endless word cut")
            << QStringList{"type=message from=Van", endless, "[Van] " + endless.left(1000) + QStringLiteral(" [\u2026]"), "#222277"};
    }

    // A line for each record, with an alert for what the far end says, and the line on the debug log.
    void recordsBecomeLines()
    {
        const auto [record, text, line, colour] = cells<4>();

        answer("chat", Message("chat", Params("type=message from=Earlier text=first portable:b=true")));
        QSignalSpy alerts(m_chat.get(), &Chat::chatAlert);
        LogCapture log(LOG_DEBUG);
        Message msg("chat", Params(record.toUtf8().constData()));
        msg.params().set_string("text", text.toStdString());
        answer("chat", msg);
        const bool alert = !line.isEmpty() && !record.contains("Portable");
        QCOMPARE(alerts.count(), int(alert));
        const std::string logged = "chat: " + msg.params().get_string("type", "") + " line from " +
                                   msg.params().get_string("from", "") + (alert ? ", alert\n" : "\n");
        QCOMPARE(log.all().find(logged) != std::string::npos, !line.isEmpty());
        QCOMPARE(m_chat->textChat->document()->blockCount(), line.isEmpty() ? 1 : 2);
        if (!line.isEmpty()) {
            QCOMPARE(lastLine().text().replace(QChar::LineSeparator, '\n'), line);
            QCOMPARE(lastLine().begin().fragment().charFormat().foreground().color(), QColor(colour));
        }
    }
    void presenceLineAtEveryReady()
    {
        RequestLog requests;
        using S = IPCClient::IPC_STATE;
        // Logged in is not yet ready; both a reconnection and a finished update are.
        for (S state : {S::IPC_LOGGED_IN, S::IPC_READY, S::IPC_DISCONNECTED, S::IPC_READY, S::IPC_UPDATING, S::IPC_READY})
            emit g_ipcClient.changedState(state, false);
        QCOMPARE(requests.requests().size(), std::size_t(3));
        for (const Message& request : requests.requests())
            QCOMPARE(request.params(), Params("type=status from=Portable when=\"\" text=\"has entered chat.\" portable:b=true seq=chat"));
    }
    // Up and Down scroll the transcript, which takes the focus; Left and Right move in the entry;
    // Enter sends on its press. After each key: the widget with focus, Send enabled, the transcript
    // scrolled down, the entry's cursor and text, the requests sent.
    void keypad()
    {
        RequestLog requests;
        QVERIFY(showActive(m_chat.get()));
        // The transcript keeps the latest 500 lines.
        for (int i = 0; i < 502; ++i)
            answer("chat", Message("chat", Params(QStringLiteral("type=message from=Van text=n%1").arg(i).toUtf8())));
        QCOMPARE(QStringLiteral("%1 %2").arg(m_chat->textChat->document()->blockCount()).arg(m_chat->textChat->document()->firstBlock().text()),
                 QString("500 [Van] n2"));
        m_chat->textChat->setFocus();
        m_chat->paneAboutToShow();
        QCOMPARE(m_chat->buttonSend->isEnabled(), false);
        m_chat->lineMessage->setText(QStringLiteral("Line <b>one</b>"));
        m_chat->textChat->verticalScrollBar()->setValue(0);
        const auto state = [&] {
            return QStringLiteral("%1 %2 %3 %4 %5 %6").arg(QApplication::focusWidget()->objectName()).arg(m_chat->buttonSend->isEnabled())
                .arg(m_chat->textChat->verticalScrollBar()->value() > 0).arg(m_chat->lineMessage->cursorPosition())
                .arg(m_chat->lineMessage->text()).arg(requests.requests().size());
        };
        const std::tuple<int, bool, const char*> steps[] = {{0, false, "lineMessage 1 0 15 Line <b>one</b> 0"},
            {Qt::Key_Down, true, "textChat 1 1 15 Line <b>one</b> 0"}, {Qt::Key_Left, true, "lineMessage 1 1 14 Line <b>one</b> 0"},
            {Qt::Key_Left, false, "lineMessage 1 1 14 Line <b>one</b> 0"}, {Qt::Key_Up, true, "textChat 1 0 14 Line <b>one</b> 0"},
            {Qt::Key_Enter, false, "textChat 1 0 14 Line <b>one</b> 0"}, {Qt::Key_Enter, true, "lineMessage 0 0 0  1"}};
        for (const auto& [key, press, expected] : steps) {
            m_chat->handleKey(key, press, false);
            QTRY_COMPARE(state(), QString(expected));
        }
        QCOMPARE(requests.requests().back().params(),
                 Params("type=message from=Portable when=\"\" text=\"Line <b>one</b>\" portable:b=true seq=chat"));
    }

private:
    QTextBlock lastLine() const { return m_chat->textChat->document()->lastBlock(); }

    std::unique_ptr<Chat> m_chat;
};

QTEST_MAIN(TestChat)
#include "test_chat.moc"
