#ifndef TRANSIENTPOPUP_H
#define TRANSIENTPOPUP_H

#include <QDialog>

class QLabel;
class QTimer;

// A short message over the current screen; closes on its timer, a key, or (only when it has no
// timer) a tap.
class TransientPopup : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY(TransientPopup)

public:
    explicit TransientPopup(QWidget* parent);

    // timeoutMs 0 keeps the popup until it is dismissed.
    void showMessage(const QString& text, int timeoutMs, int extraHeight);
    // While the meters screen is on show the popup moves down to clear the big meter.
    void setShifted(bool shifted);

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    void layout();

    QTimer* m_timer;
    QLabel* m_label;
    int m_extraHeight = 0;
    bool m_shifted = false;
};

#endif
