#ifndef SCRIBBLEWIDGET_H
#define SCRIBBLEWIDGET_H

#include <QImage>
#include <QPoint>
#include <QWidget>

// The surface shown after a calibration: the operator draws on it to check the result.
class ScribbleWidget : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY(ScribbleWidget)

public:
    explicit ScribbleWidget(QWidget* parent);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void drawLineTo(const QPoint& end);

    bool m_scribbling = false;
    QPoint m_lastPoint;
    QImage m_image;
};

#endif
