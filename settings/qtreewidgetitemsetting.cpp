#include "qtreewidgetitemsetting.h"

#include <QFont>

QTreeWidgetItemSetting::QTreeWidgetItemSetting(QTreeWidgetItem* parent, const SettingOption& option)
    : QTreeWidgetItem(parent, QTreeWidgetItem::Type),
      m_option(option)
{
    setText(0, QString::fromStdString(m_option.displayName()));
    showValue();
}

void QTreeWidgetItemSetting::refresh()
{
    m_option.refresh();
    showValue();
}

void QTreeWidgetItemSetting::showValue()
{
    setText(1, QString::fromStdString(m_option.currentText()));
    for (int column = 0; column < 2; ++column) {
        QFont rowFont = font(column);
        rowFont.setWeight(m_option.isDefault() ? QFont::Normal : QFont::Bold);
        setFont(column, rowFont);
    }
}
