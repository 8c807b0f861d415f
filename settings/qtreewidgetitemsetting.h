#ifndef QTREEWIDGETITEMSETTING_H
#define QTREEWIDGETITEMSETTING_H

#include "settingoption.h"

#include <QTreeWidgetItem>

// An option row of a settings tree, under its group row; owns its option.
class QTreeWidgetItemSetting : public QTreeWidgetItem {
public:
    QTreeWidgetItemSetting(QTreeWidgetItem* parent, SettingOption option);

    const SettingOption& setting() const { return m_option; }

    // Re-reads the stored value and redraws the row.
    void refresh(const StoredValues& values);

private:
    // Column 1 shows the value; both columns are bold while the option is not at its default.
    void showValue();

    SettingOption m_option;
};

#endif
