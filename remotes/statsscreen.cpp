#include "statsscreen.h"

#include <QCheckBox>
#include <QComboBox>
#include <QTabWidget>
#include <QTreeWidget>

void StatsScreen::attachControls(QComboBox* selector, QCheckBox* option, QTabWidget* pages)
{
    m_selector = selector;
    m_option = option;
    m_pages = pages;
}

void StatsScreen::setUpTable(QTreeWidget* table, const QStringList& labels)
{
    for (const QString& label : labels)
        new QTreeWidgetItem(table, QStringList{label, QString()});
}

void StatsScreen::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        injectKey(listOpen() ? Qt::Key_Enter : Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (m_option->hasFocus())
            injectKey(Qt::Key_Space, pressed, repeat);
        else if (m_selector->hasFocus())
            injectKey(keycode == Qt::Key_Left ? Qt::Key_Up : Qt::Key_Down, pressed, repeat);
        else if (pressed)
            m_pages->setCurrentIndex(keycode == Qt::Key_Left ? NumericPage : GraphPage);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveThroughForm(keycode, pressed, repeat);
        break;
    default:
        break;
    }
}
