#include "qtreewidgetitemsetting.h"

#include "settingstree.h"

#include <utility>

QTreeWidgetItemSetting::QTreeWidgetItemSetting(QTreeWidgetItem* parent, SettingOption option)
    : QTreeWidgetItem(parent, QTreeWidgetItem::Type),
      m_option(std::move(option))
{
    setText(0, QString::fromStdString(m_option.displayName()));
    showValue();
}

void QTreeWidgetItemSetting::refresh(const StoredValues& values)
{
    m_option.refresh(values);
    showValue();
}

void QTreeWidgetItemSetting::showValue()
{
    setText(1, QString::fromStdString(m_option.currentText()));
    settingstree::setRowWeight(this, m_option.isDefault());
}
