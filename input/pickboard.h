#ifndef PICKBOARD_H
#define PICKBOARD_H

#include "key.h"

#include <QWidget>

#include <vector>

class KeyButton;
class QStackedWidget;

// The on-screen keyboard: a letter and a numeric layout. It never takes the keyboard focus;
// every key comes out of the signal key(), for the receiver to inject as if typed.
class PickBoard : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY(PickBoard)

public:
    explicit PickBoard(QWidget* parent);

signals:
    void key(uint unicode, uint scancode, Qt::KeyboardModifiers modifiers, bool press, bool repeat);

private slots:
    void handleKeyPress(Key& k);
    void handleKeyRelease(Key& k);

private:
    void layOut(std::vector<Key>& keys, QWidget* page);
    void showPage(QWidget* page);
    void refresh();
    void refreshLabel(Key& k) const;
    bool showsShifted(const Key& k) const;
    // Caps Lock shifts the letters, and Shift on top of it turns them back.
    bool lettersShifted() const { return m_caps != m_shift; }

    std::vector<Key> m_alphaKeys;
    std::vector<Key> m_numKeys;
    Qt::KeyboardModifiers m_modifiers;
    bool m_caps = false;
    bool m_shift = false;
    KeyButton* m_capsButton = nullptr;
    KeyButton* m_shiftButton = nullptr;
    QWidget* m_alphaPage;
    QWidget* m_numPage;
    QStackedWidget* m_pages;
};

#endif
