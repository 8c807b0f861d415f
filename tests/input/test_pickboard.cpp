#include "pickboardkeys.h"

#include <key.h>
#include <keybutton.h>
#include <pickboard.h>

#include <QTest>

namespace {

// "press 65 shift": what the keyboard raised; anything unexpected is spelled out.
void record(PickBoard& board, QStringList* emitted)
{
    QObject::connect(&board, &PickBoard::key, &board,
                     [emitted](uint unicode, uint scancode, Qt::KeyboardModifiers modifiers, bool press, bool repeat) {
                         *emitted << QStringLiteral("%1 %2%3%4%5")
                                         .arg(press ? "press" : "release").arg(unicode)
                                         .arg(scancode != unicode ? QStringLiteral(" scancode %1").arg(scancode) : "")
                                         .arg(modifiers == Qt::ShiftModifier ? " shift"
                                              : modifiers ? QStringLiteral(" modifiers %1").arg(int(modifiers), 0, 16)
                                                          : "")
                                         .arg(repeat ? " repeat" : "");
                     });
}

} // namespace

class TestPickBoard : public QObject {
    Q_OBJECT

private slots:
    void clicksSendCodesAndRelabel_data()
    {
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<QStringList>("emitted");
        QTest::addColumn<QStringList>("captions"); // of a, 1, 7, shift, caps afterwards

        const QString backspace = QString::number(Qt::Key_Backspace);
        const QString enter = QString::number(Qt::Key_Enter);
        const QStringList plain{"a", "1", "7", "shift", "caps"};
        const QStringList caps{"A", "1", "7", "shift", "CAPS"};
        QTest::newRow("special keys") << QStringList{"<<", "enter", "space"}
                                      << QStringList{"press " + backspace, "release " + backspace, "press " + enter,
                                                     "release " + enter, "press 32", "release 32"}
                                      << plain;
        QTest::newRow("caps lock stays on") << QStringList{"caps", "a", "z"}
                                            << QStringList{"press 65 shift", "release 65 shift", "press 90 shift",
                                                           "release 90 shift"}
                                            << caps;
        // The release code follows the Shift bit, which Caps Lock sets; the press code does not.
        QTest::newRow("caps lock and a digit") << QStringList{"caps", "1"}
                                               << QStringList{"press 49 shift", "release 33 shift"} << caps;
        QTest::newRow("caps lock off again") << QStringList{"caps", "caps"} << QStringList() << plain;
        QTest::newRow("shift") << QStringList{"shift"} << QStringList{"press 0 shift"}
                               << QStringList{"A", "!", "&&", "SHIFT", "caps"};
        QTest::newRow("shift is one-shot")
            << QStringList{"shift", "q", "q"}
            << QStringList{"press 0 shift", "press 81 shift", "release 81 shift", "press 113", "release 113"} << plain;
        QTest::newRow("shifted seven") << QStringList{"shift", "7"}
                                       << QStringList{"press 0 shift", "press 38 shift", "release 38 shift"} << plain;
        QTest::newRow("shift switched off") << QStringList{"shift", "shift", "1"}
                                            << QStringList{"press 0 shift", "release 0", "press 49", "release 49"} << plain;
        QTest::newRow("caps lock with shift") << QStringList{"caps", "shift"} << QStringList{"press 0"}
                                              << QStringList{"a", "!", "&&", "SHIFT", "CAPS"};
        QTest::newRow("caps lock with shift used up")
            << QStringList{"caps", "shift", "a", "b"}
            << QStringList{"press 0", "press 97", "release 97", "press 66 shift", "release 66 shift"} << caps;
        QTest::newRow("page switches clear both")
            << QStringList{"caps", "shift", "num", "alpha", "a"} << QStringList{"press 0", "press 97", "release 97"}
            << plain;
    }
    void clicksSendCodesAndRelabel()
    {
        QFETCH(QStringList, clicks);
        QFETCH(QStringList, emitted);
        QFETCH(QStringList, captions);

        QWidget area;
        area.resize(640, 110);
        PickBoard board(&area);
        area.show();
        QStringList actual;
        record(board, &actual);

        QVERIFY(clickPickBoard(board, clicks));
        QCOMPARE(actual, emitted);
        QStringList shown;
        for (const char* label : {"a", "1", "7", "shift", "caps"})
            shown << pickBoardButton(board, label)->text();
        QCOMPARE(shown, captions);
        QCOMPARE(pickBoardButton(board, "a")->geometry(), QRect(84, 54, 42, 27));
        QCOMPARE(pickBoardButton(board, "shift")->isChecked(), captions[3] == "SHIFT");
        QCOMPARE(pickBoardButton(board, "caps")->isChecked(), captions[4] == "CAPS");
    }
};

QTEST_MAIN(TestPickBoard)
#include "test_pickboard.moc"
