#ifndef KEYPRESS_H
#define KEYPRESS_H

#include <QComboBox>
#include <QCoreApplication>
#include <QMap>
#include <QStringList>

// Keypad keys by name, each pressed and released on `screen`, then the events they posted; "Popup"
// opens `list` first.
template <class Screen>
void pressKeys(Screen& screen, const QString& keys, QComboBox* list = nullptr)
{
    const QMap<QString, int> codes{{"Left", Qt::Key_Left}, {"Right", Qt::Key_Right}, {"Up", Qt::Key_Up},
                                   {"Down", Qt::Key_Down}, {"Enter", Qt::Key_Enter}};
    for (const QString& key : keys.split(' ', Qt::SkipEmptyParts)) {
        if (key == "Popup" && list) {
            list->showPopup();
            continue;
        }
        screen.handleKey(codes.value(key), true, false);
        screen.handleKey(codes.value(key), false, false);
        QCoreApplication::processEvents();
    }
}

#endif
