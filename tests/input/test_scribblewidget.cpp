#include "instructionlines.h"

#include <scribblewidget.h>

#include <QApplication>
#include <QMouseEvent>
#include <QTest>

class TestScribbleWidget : public QObject {
    Q_OBJECT

private slots:
    void leftDragDrawsUntilResized_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<bool>("drawn");
        QTest::newRow("left") << int(Qt::LeftButton) << true;
        QTest::newRow("right") << int(Qt::RightButton) << false;
    }
    void leftDragDrawsUntilResized()
    {
        QFETCH(int, button);
        QFETCH(bool, drawn);
        const auto colourAt = [](QWidget* widget, const QPoint& at) { return widget->grab().toImage().pixelColor(at); };

        ScribbleWidget scribble(nullptr);
        scribble.setWindowFlags(Qt::FramelessWindowHint);
        scribble.resize(640, 480);
        scribble.show();
        QVERIFY(QTest::qWaitForWindowExposed(&scribble));

        QWindow* window = scribble.windowHandle();
        QTest::mousePress(window, Qt::MouseButton(button), Qt::NoModifier, QPoint(100, 150));
        QTest::mouseMove(window, QPoint(300, 150));
        // A release away from the last move, without the move the platform would add before it.
        QMouseEvent release(QEvent::MouseButtonRelease, QPointF(300, 220), Qt::MouseButton(button), Qt::NoButton,
                            Qt::NoModifier);
        QApplication::sendEvent(&scribble, &release);

        const QColor line = drawn ? Qt::yellow : Qt::blue;
        QCOMPARE(colourAt(&scribble, QPoint(200, 150)), line); // the move
        QCOMPARE(colourAt(&scribble, QPoint(300, 185)), line); // the release
        QCOMPARE(colourAt(&scribble, QPoint(200, 200)), QColor(Qt::blue));
        QCOMPARE(instructionLines(scribble.grab().toImage(), 630), QStringLiteral("xxx"));

        // A move after the release draws nothing, and a new size starts a clean surface.
        QTest::mouseMove(window, QPoint(500, 220));
        QCOMPARE(colourAt(&scribble, QPoint(400, 220)), QColor(Qt::blue));
        scribble.resize(600, 400);
        QCOMPARE(colourAt(&scribble, QPoint(200, 150)), QColor(Qt::blue));
    }
};

QTEST_MAIN(TestScribbleWidget)
#include "test_scribblewidget.moc"
