#ifndef SMALLMETER_H
#define SMALLMETER_H

#include <QWidget>

// The status bar's four-bar meter. The backend draws all of it, so the widget paints nothing
// and keeps Qt from painting a background over the bars.
class SmallMeter : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY(SmallMeter)

public:
    SmallMeter(int width, int height, QWidget *parent = nullptr);

signals:
    void meterClicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
};

#endif
