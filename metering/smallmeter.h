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

    // Top edge of bar row 0..3 (input left, input right, playback left, playback right), in widget
    // coordinates: the rows share the meter's height with a gap between the two signals.
    int rowY(int row) const;
    static constexpr int kBarHeight = 2;

signals:
    void meterClicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
};

#endif
