#ifndef BIGMETER_H
#define BIGMETER_H

#include <QWidget>

// The large meter's static parts: background, dB scale and row letters. The backend draws the
// bars over it, so the widget paints every pixel itself and Qt never clears what was drawn.
class BigMeter : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY(BigMeter)

public:
    enum Mode { ModeDBU = 0, ModeDBFS = 1 };

    BigMeter(int width, int height, QWidget *parent = nullptr);

    Mode mode() const { return m_mode; }
    int barLength() const { return m_barLength; }
    int barHeight() const { return m_barHeight; }
    // Left edge of every bar, in widget coordinates.
    int barX() const { return (m_width - m_barLength) / 2; }
    // Top edge of bar row 0..3: input left, input right, playback left, playback right.
    int rowY(int row) const;
    // The scale's text at a mark: a sign on every non-zero value.
    static QString markLabel(int value);

public slots:
    void setModeFS();
    void setModeDBU();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void setMode(Mode mode);

    Mode m_mode = ModeDBFS;
    const int m_width;
    const int m_height;
    const int m_barLength;
    const int m_barHeight;
};

#endif
