#include "platformkey.h"

#include <keybutton.h>
#include <pickboard.h>
#include <qwsserver.h>

#include <QLineEdit>
#include <QTest>

namespace {

// The button of the shown page whose unshifted caption is label.
KeyButton* button(const PickBoard& board, const QString& label)
{
    for (KeyButton* b : board.findChildren<KeyButton*>()) {
        if (QString::fromStdString(b->key().label) == label && b->isVisibleTo(&board))
            return b;
    }
    return nullptr;
}

bool click(const PickBoard& board, const QStringList& labels)
{
    for (const QString& label : labels) {
        KeyButton* b = button(board, label);
        if (!b) {
            qWarning("no key %s on the shown page", qPrintable(label));
            return false;
        }
        QTest::mouseClick(b, Qt::LeftButton);
    }
    return true;
}

// "press 65 shift": what the keyboard raised; anything unexpected is spelled out.
void record(PickBoard& board, QStringList* emitted)
{
    QObject::connect(&board, &PickBoard::key, &board,
                     [emitted](uint unicode, uint scancode, Qt::KeyboardModifiers modifiers, bool press, bool repeat) {
                         QString line = QStringLiteral("%1 %2").arg(press ? "press" : "release").arg(unicode);
                         if (scancode != unicode)
                             line += QStringLiteral(" scancode %1").arg(scancode);
                         if (modifiers == Qt::ShiftModifier)
                             line += " shift";
                         else if (modifiers != Qt::NoModifier)
                             line += QStringLiteral(" modifiers %1").arg(int(modifiers), 0, 16);
                         if (repeat)
                             line += " repeat";
                         *emitted << line;
                     });
}

} // namespace

class TestPickBoard : public QObject {
    Q_OBJECT

private slots:
    void keysSendCodes_data();
    void keysSendCodes();
    void captionsFollowShiftAndCaps_data();
    void captionsFollowShiftAndCaps();
    void typingKeepsTheFocusedWidget();
};

void TestPickBoard::keysSendCodes_data()
{
    QTest::addColumn<QStringList>("clicks");
    QTest::addColumn<QStringList>("emitted");

    const QString backspace = QString::number(Qt::Key_Backspace);
    const QString enter = QString::number(Qt::Key_Enter);
    QTest::newRow("letter") << QStringList{"a"} << QStringList{"press 97", "release 97"};
    QTest::newRow("special keys") << QStringList{"<<", "enter", "space"}
                                  << QStringList{"press " + backspace, "release " + backspace, "press " + enter,
                                                 "release " + enter, "press 32", "release 32"};
    QTest::newRow("caps lock stays on")
        << QStringList{"caps", "a", "b"} << QStringList{"press 65 shift", "release 65 shift", "press 66 shift",
                                                         "release 66 shift"};
    // The release code follows the Shift bit, which Caps Lock sets; the press code does not.
    QTest::newRow("caps lock and a digit") << QStringList{"caps", "1"} << QStringList{"press 49 shift", "release 33 shift"};
    QTest::newRow("shift is one-shot")
        << QStringList{"shift", "q", "q"}
        << QStringList{"press 0 shift", "press 81 shift", "release 81 shift", "press 113", "release 113"};
    QTest::newRow("shifted seven") << QStringList{"shift", "7"}
                                   << QStringList{"press 0 shift", "press 38 shift", "release 38 shift"};
    QTest::newRow("shift switched off") << QStringList{"shift", "shift", "1"}
                                        << QStringList{"press 0 shift", "release 0", "press 49", "release 49"};
    QTest::newRow("caps lock with shift")
        << QStringList{"caps", "shift", "a", "b"}
        << QStringList{"press 0", "press 97", "release 97", "press 66 shift", "release 66 shift"};
    QTest::newRow("page switches clear both")
        << QStringList{"caps", "shift", "num", "alpha", "a"} << QStringList{"press 0", "press 97", "release 97"};
    QTest::newRow("numeric page") << QStringList{"num", "7", ".", "<<"}
                                  << QStringList{"press 55", "release 55", "press 46", "release 46",
                                                 "press " + backspace, "release " + backspace};
}

void TestPickBoard::keysSendCodes()
{
    QFETCH(QStringList, clicks);
    QFETCH(QStringList, emitted);

    QWidget area;
    area.resize(640, 110);
    PickBoard board(&area);
    area.show();
    QStringList actual;
    record(board, &actual);

    QVERIFY(click(board, clicks));
    QCOMPARE(actual, emitted);
}

void TestPickBoard::captionsFollowShiftAndCaps_data()
{
    QTest::addColumn<QStringList>("clicks");
    QTest::addColumn<QStringList>("captions"); // of a, 1, 7, shift, caps
    QTest::addColumn<bool>("capsChecked");
    QTest::addColumn<bool>("shiftChecked");

    const QStringList plain{"a", "1", "7", "shift", "caps"};
    QTest::newRow("plain") << QStringList() << plain << false << false;
    QTest::newRow("caps lock") << QStringList{"caps"} << QStringList{"A", "1", "7", "shift", "CAPS"} << true << false;
    QTest::newRow("shift") << QStringList{"shift"} << QStringList{"A", "!", "&&", "SHIFT", "caps"} << false << true;
    QTest::newRow("both") << QStringList{"caps", "shift"} << QStringList{"a", "!", "&&", "SHIFT", "CAPS"} << true
                          << true;
    QTest::newRow("shift used up") << QStringList{"shift", "1"} << plain << false << false;
    QTest::newRow("caps lock off again") << QStringList{"caps", "caps"} << plain << false << false;
    QTest::newRow("page switches") << QStringList{"caps", "shift", "num", "alpha"} << plain << false << false;
}

void TestPickBoard::captionsFollowShiftAndCaps()
{
    QFETCH(QStringList, clicks);
    QFETCH(QStringList, captions);
    QFETCH(bool, capsChecked);
    QFETCH(bool, shiftChecked);

    QWidget area;
    area.resize(640, 110);
    PickBoard board(&area);
    area.show();

    QVERIFY(click(board, clicks));
    QStringList shown;
    for (const char* label : {"a", "1", "7", "shift", "caps"})
        shown << button(board, label)->text();
    QCOMPARE(shown, captions);
    QCOMPARE(button(board, "caps")->isChecked(), capsChecked);
    QCOMPARE(button(board, "shift")->isChecked(), shiftChecked);
}

void TestPickBoard::typingKeepsTheFocusedWidget()
{
    QWidget window;
    window.resize(640, 200);
    auto* edit = new QLineEdit(&window);
    edit->setGeometry(0, 0, 640, 30);
    auto* area = new QWidget(&window);
    area->setGeometry(0, 90, 640, 110);
    PickBoard board(area);
    connect(&board, &PickBoard::key, &board,
            [](uint unicode, uint scancode, Qt::KeyboardModifiers modifiers, bool press, bool repeat) {
                QWSServer::sendKeyEvent(int(unicode), int(scancode), modifiers, press, repeat);
            });
    QVERIFY(showActive(&window));
    edit->setFocus();

    QVERIFY(click(board, {"shift", "h", "i", "x", "<<", "space", "shift", "7", "num", "4", "2"}));

    QCOMPARE(edit->text(), QStringLiteral("Hi &42"));
    QCOMPARE(QApplication::focusWidget(), edit);
}

QTEST_MAIN(TestPickBoard)
#include "test_pickboard.moc"
