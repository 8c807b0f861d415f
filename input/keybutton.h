#ifndef KEYBUTTON_H
#define KEYBUTTON_H

#include <QPushButton>

struct Key;

// A button of the on-screen keyboard; its signals carry the key it stands for.
class KeyButton : public QPushButton {
    Q_OBJECT
    Q_DISABLE_COPY(KeyButton)

public:
    KeyButton(Key* key, QWidget* parent);

    const Key& key() const { return *m_key; }

signals:
    void pressed(Key& k);
    void released(Key& k);

private slots:
    void pressHandler();
    void releaseHandler();

private:
    Key* m_key;
};

#endif
