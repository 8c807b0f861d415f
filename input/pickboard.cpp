#include "pickboard.h"

#include "keybutton.h"

#include <QFont>
#include <QStackedWidget>

namespace {

constexpr int kUnitWidth = 21;
constexpr int kRowHeight = 27;

bool isLowerCaseLetter(int code)
{
    return code >= 'a' && code <= 'z';
}

// A button caption shows "&" only when it is written twice.
std::string caption(char c)
{
    return c == '&' ? std::string("&&") : std::string(1, c);
}

// Character keys two units wide, given as pairs of (unshifted, shifted) characters; each sends
// the Latin-1 code of its character.
void addCharKeys(std::vector<Key>& keys, const char* pairs)
{
    for (const char* p = pairs; p[0] && p[1]; p += 2)
        keys.emplace_back(KeyType::Char, caption(p[0]), uchar(p[0]), caption(p[1]), uchar(p[1]), 2);
}

// A key that switches the page or the shift state; it sends no character.
void addModeKey(std::vector<Key>& keys, KeyType type, const char* label, const char* shiftLabel, int width)
{
    keys.emplace_back(type, label, 0, shiftLabel, 0, width);
}

// A key that sends the same code and shows the same caption with or without shift.
void addPlainKey(std::vector<Key>& keys, const char* label, int code, int width)
{
    keys.emplace_back(KeyType::Char, label, code, label, code, width);
}

std::vector<Key> letterLayout()
{
    std::vector<Key> keys;
    addCharKeys(keys, "`~1!2@3#4$5%6^7&8*9(0)-_=+");
    addPlainKey(keys, "<<", Qt::Key_Backspace, 4);
    keys.emplace_back(KeyType::RowEnd);

    addModeKey(keys, KeyType::ToNumeric, "num", "num", 3);
    addCharKeys(keys, "qQwWeErRtTyYuUiIoOpP[{]}\\|");
    keys.emplace_back(KeyType::RowEnd);

    addModeKey(keys, KeyType::Caps, "caps", "CAPS", 4);
    addCharKeys(keys, "aAsSdDfFgGhHjJkKlL;:'\"");
    addPlainKey(keys, "enter", Qt::Key_Enter, 4);
    keys.emplace_back(KeyType::RowEnd);

    addModeKey(keys, KeyType::Shift, "shift", "SHIFT", 5);
    addCharKeys(keys, "zZxXcCvVbBnNmM,<.>/?");
    addPlainKey(keys, "space", ' ', 5);
    return keys;
}

std::vector<Key> numericLayout()
{
    std::vector<Key> keys;
    keys.emplace_back(KeyType::Gap, 6);
    addPlainKey(keys, "7", '7', 6);
    addPlainKey(keys, "8", '8', 6);
    addPlainKey(keys, "9", '9', 6);
    keys.emplace_back(KeyType::Gap, 2);
    addPlainKey(keys, "<<", Qt::Key_Backspace, 4);
    keys.emplace_back(KeyType::RowEnd);

    addModeKey(keys, KeyType::ToAlpha, "alpha", "alpha", 4);
    keys.emplace_back(KeyType::Gap, 2);
    addPlainKey(keys, "4", '4', 6);
    addPlainKey(keys, "5", '5', 6);
    addPlainKey(keys, "6", '6', 6);
    keys.emplace_back(KeyType::RowEnd);

    keys.emplace_back(KeyType::Gap, 6);
    addPlainKey(keys, "1", '1', 6);
    addPlainKey(keys, "2", '2', 6);
    addPlainKey(keys, "3", '3', 6);
    keys.emplace_back(KeyType::RowEnd);

    keys.emplace_back(KeyType::Gap, 6);
    addPlainKey(keys, "0", '0', 12);
    addPlainKey(keys, ".", '.', 6);
    return keys;
}

} // namespace

PickBoard::PickBoard(QWidget* parent)
    : QWidget(parent)
    , m_alphaKeys(letterLayout())
    , m_numKeys(numericLayout())
    , m_alphaPage(new QWidget(this))
    , m_numPage(new QWidget(this))
    , m_pages(new QStackedWidget(this))
{
    const QSize area = parent ? parent->size() : QSize(30 * kUnitWidth, 4 * kRowHeight);
    resize(area);
    m_alphaPage->resize(area);
    m_numPage->resize(area);
    m_pages->resize(area);
    m_pages->addWidget(m_alphaPage);
    m_pages->addWidget(m_numPage);
    layOut(m_alphaKeys, m_alphaPage);
    layOut(m_numKeys, m_numPage);
}

void PickBoard::layOut(std::vector<Key>& keys, QWidget* page)
{
    int x = 0;
    int y = 0;
    for (Key& k : keys) {
        if (k.type == KeyType::Gap) {
            x += k.width * kUnitWidth;
            continue;
        }
        if (k.type == KeyType::RowEnd) {
            x = 0;
            y += kRowHeight;
            continue;
        }
        auto* button = new KeyButton(&k, page);
        button->setText(QString::fromStdString(k.label));
        button->setFont(QFont(QStringLiteral("arial"), 12, QFont::Normal));
        button->setFocusPolicy(Qt::NoFocus);
        button->setGeometry(x, y, k.width * kUnitWidth, kRowHeight);
        connect(button, &KeyButton::pressed, this, &PickBoard::handleKeyPress);
        connect(button, &KeyButton::released, this, &PickBoard::handleKeyRelease);
        if (k.type == KeyType::Shift) {
            button->setCheckable(true);
            m_shiftButton = button;
        } else if (k.type == KeyType::Caps) {
            button->setCheckable(true);
            m_capsButton = button;
        }
        k.button = button;
        x += button->width();
    }
}

bool PickBoard::showsShifted(const Key& k) const
{
    return isLowerCaseLetter(k.code) ? lettersShifted() : m_shift;
}

void PickBoard::handleKeyPress(Key& k)
{
    switch (k.type) {
    case KeyType::Char: {
        const uint code = uint(showsShifted(k) ? k.shiftCode : k.code);
        emit key(code, code, m_modifiers, true, false);
        break;
    }
    case KeyType::ToNumeric:
        showPage(m_numPage);
        break;
    case KeyType::ToAlpha:
        showPage(m_alphaPage);
        break;
    default:
        break;
    }
}

void PickBoard::handleKeyRelease(Key& k)
{
    const uint releaseCode = uint(m_modifiers.testFlag(Qt::ShiftModifier) ? k.shiftCode : k.code);
    switch (k.type) {
    case KeyType::Shift:
        m_shift = !m_shift;
        refresh();
        emit key(releaseCode, releaseCode, m_modifiers, m_shift, false);
        break;
    case KeyType::Caps:
        m_caps = !m_caps;
        refresh();
        break;
    case KeyType::Char:
        emit key(releaseCode, releaseCode, m_modifiers, false, false);
        // Shift applies to one key only.
        if (m_shift) {
            m_shift = false;
            refresh();
        }
        break;
    default:
        break;
    }
}

void PickBoard::showPage(QWidget* page)
{
    m_caps = false;
    m_shift = false;
    refresh();
    m_pages->setCurrentWidget(page);
}

void PickBoard::refresh()
{
    m_modifiers.setFlag(Qt::ShiftModifier, lettersShifted());
    // The numeric page's keys read the same shifted or not.
    for (Key& k : m_alphaKeys)
        refreshLabel(k);
    m_capsButton->setChecked(m_caps);
    m_shiftButton->setChecked(m_shift);
}

void PickBoard::refreshLabel(Key& k) const
{
    bool shifted = false;
    switch (k.type) {
    case KeyType::Shift:
        shifted = m_shift;
        break;
    case KeyType::Caps:
        shifted = m_caps;
        break;
    case KeyType::Char:
        shifted = showsShifted(k);
        break;
    default:
        return;
    }
    k.button->setText(QString::fromStdString(shifted ? k.shiftLabel : k.label));
}
