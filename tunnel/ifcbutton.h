#ifndef IFCBUTTON_H
#define IFCBUTTON_H

#include <QColor>
#include <QPushButton>
#include <QString>

#include <array>

// One connection of a tunnel session, shown (not pressed) as "(position) local>remote" in the
// colour of its position; the buttons of a direction stack upward from the bottom of their widget.
class IFCButton : public QPushButton {
    Q_OBJECT
    Q_DISABLE_COPY(IFCButton)

public:
    static constexpr int kHeight = 16;
    static constexpr int kGap = 4;
    // The connection colours by position, shared with the utilization graph's series.
    static const std::array<QColor, 6> kPalette;

    IFCButton(QWidget* parent, int position, const QString& name, const QString& first, const QString& second);

    // Relabels when forced or when either label changed.
    void setLabels(const QString& first, const QString& second, bool force);
    // Colours the text and moves the button to its place in the stack.
    void setPosition(int position);

    int position() const { return m_position; }
    const QString& name() const { return m_name; }
    const QString& firstLabel() const { return m_first; }
    const QString& secondLabel() const { return m_second; }

private:
    int m_position = -1;
    QString m_name;
    QString m_first;
    QString m_second;
};

#endif
