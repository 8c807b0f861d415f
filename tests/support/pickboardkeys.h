#ifndef PICKBOARDKEYS_H
#define PICKBOARDKEYS_H

#include <keybutton.h>
#include <pickboard.h>

#include <QStringList>
#include <QTest>

// The button of the shown page whose unshifted caption is label.
inline KeyButton* pickBoardButton(const PickBoard& board, const QString& label)
{
    for (KeyButton* b : board.findChildren<KeyButton*>()) {
        if (QString::fromStdString(b->key().label) == label && b->isVisibleTo(&board))
            return b;
    }
    return nullptr;
}

// Taps the keys with these captions, in order, as a finger would.
inline bool clickPickBoard(const PickBoard& board, const QStringList& labels)
{
    for (const QString& label : labels) {
        KeyButton* b = pickBoardButton(board, label);
        if (!b)
            return QTest::qVerify(false, "key on the shown page", qPrintable(label), __FILE__, __LINE__);
        QTest::mouseClick(b, Qt::LeftButton);
    }
    return true;
}

// Letters and digits typed on the letter page; a capital takes the one-shot Shift.
inline bool typeOnPickBoard(const PickBoard& board, const QString& text)
{
    QStringList labels;
    for (const QChar c : text) {
        if (c.isUpper())
            labels << QStringLiteral("shift");
        labels << QString(c.toLower());
    }
    return clickPickBoard(board, labels);
}

#endif
