#include <scribblewidget.h>

#include <QTest>

class TestScribbleWidget : public QObject {
    Q_OBJECT

private slots:
    void leftDragDrawsUntilResized_data();
    void leftDragDrawsUntilResized();

private:
    static QColor colourAt(QWidget* widget, const QPoint& point)
    {
        return widget->grab().toImage().pixelColor(point);
    }
};

void TestScribbleWidget::leftDragDrawsUntilResized_data()
{
    QTest::addColumn<Qt::MouseButtons>("buttons");
    QTest::addColumn<bool>("drawn");

    QTest::newRow("left") << Qt::MouseButtons(Qt::LeftButton) << true;
    QTest::newRow("right") << Qt::MouseButtons(Qt::RightButton) << false;
}

void TestScribbleWidget::leftDragDrawsUntilResized()
{
    QFETCH(Qt::MouseButtons, buttons);
    const Qt::MouseButton button = Qt::MouseButton(int(buttons));
    QFETCH(bool, drawn);

    ScribbleWidget scribble(nullptr);
    scribble.setWindowFlags(Qt::FramelessWindowHint);
    scribble.resize(640, 480);
    scribble.show();
    QVERIFY(QTest::qWaitForWindowExposed(&scribble));

    QWindow* window = scribble.windowHandle();
    QTest::mousePress(window, button, Qt::NoModifier, QPoint(100, 150));
    QTest::mouseMove(window, QPoint(300, 150));
    QTest::mouseRelease(window, button, Qt::NoModifier, QPoint(300, 220));

    const QColor line = drawn ? Qt::yellow : Qt::blue;
    QCOMPARE(colourAt(&scribble, QPoint(200, 150)), line); // the move
    QCOMPARE(colourAt(&scribble, QPoint(300, 185)), line); // the release
    QCOMPARE(colourAt(&scribble, QPoint(200, 200)), QColor(Qt::blue));

    // A move after the release draws nothing, and a new size starts a clean surface.
    QTest::mouseMove(window, QPoint(500, 220));
    QCOMPARE(colourAt(&scribble, QPoint(400, 220)), QColor(Qt::blue));
    scribble.resize(600, 400);
    QCOMPARE(colourAt(&scribble, QPoint(200, 150)), QColor(Qt::blue));
}

QTEST_MAIN(TestScribbleWidget)
#include "test_scribblewidget.moc"
