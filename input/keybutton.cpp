#include "keybutton.h"

#include "key.h"

KeyButton::KeyButton(Key* key, QWidget* parent)
    : QPushButton(parent)
    , m_key(key)
{
    connect(this, &QAbstractButton::pressed, this, &KeyButton::pressHandler, Qt::DirectConnection);
    connect(this, &QAbstractButton::released, this, &KeyButton::releaseHandler, Qt::DirectConnection);
}

void KeyButton::pressHandler()
{
    emit pressed(*m_key);
}

void KeyButton::releaseHandler()
{
    emit released(*m_key);
}
