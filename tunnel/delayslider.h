#ifndef DELAYSLIDER_H
#define DELAYSLIDER_H

#include <QSlider>

#include <array>

class QLabel;

// The maximum allowed delay of one tunnel direction: a slider over a bar of five delay zones
// (red to grey) with a marker at the largest packet delay seen. In automatic mode the backend
// chooses the delay, so only the zones and the marker are drawn.
class DelaySlider : public QSlider {
    Q_OBJECT
    Q_DISABLE_COPY(DelaySlider)

public:
    static constexpr int kZones = 5;

    // Takes the placeholder's size.
    explicit DelaySlider(QWidget* placeholder);

    // The marker at maxPacketDelay, in percent of range; ignored unless range > 0.
    void setMarker(int maxPacketDelay, int range);
    // Zone widths in percent of range from the five delay points; ignored unless range > 0.
    void setZones(const std::array<int, kZones>& points, int range);
    void setAuto(bool automatic);

    int marker() const { return m_marker; }
    const std::array<int, kZones>& zones() const { return m_zones; }
    bool isAuto() const { return m_auto; }
    QLabel* rightLabel() const { return m_right; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void setRange(int range);

    int m_marker = 0;
    std::array<int, kZones> m_zones{};
    QLabel* m_left;
    QLabel* m_right;
    QLabel* m_centre;
    bool m_auto = false;
};

#endif
