#include "settingstree.h"

#include "storedvalues.h"

#include "qtreewidgetitemsetting.h"
#include "settinggrouplist.h"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <QHeaderView>
#include <QTreeWidget>

#include <utility>

namespace settingstree {

// A form cannot give each column its own width.
void setFixedColumns(QTreeWidget* tree)
{
    tree->header()->setSectionResizeMode(QHeaderView::Fixed);
    tree->setColumnWidth(0, 320);
    tree->setColumnWidth(1, 200);
}

// The rows are built and decorated detached and added at once: each change to a row the tree
// holds is announced, and the first announcement looks the row up among all rows.
void fill(QTreeWidget* tree, SettingGroupList&& groups, const std::function<void(QTreeWidgetItem*)>& decorate)
{
    QList<QTreeWidgetItem*> groupRows;
    for (int g = 0; g < groups.groupCount(); ++g) {
        auto* groupRow = new QTreeWidgetItem(QTreeWidgetItem::Type);
        groupRow->setText(0, QString::fromStdString(groups.groupTitle(g)));
        decorate(groupRow);
        for (int o = 0; o < groups.optionCount(g); ++o)
            decorate(new QTreeWidgetItemSetting(groupRow, std::move(*groups.option(g, o))));
        groupRows.append(groupRow);
    }
    tree->addTopLevelItems(groupRows);
    // Every group open; their options have no rows below them.
    tree->expandAll();
    QTreeWidgetItem* firstGroup = tree->topLevelItem(0);
    if (firstGroup)
        tree->setCurrentItem(firstGroup->child(0));
}

void refresh(QTreeWidget* tree)
{
    const StoredValues values;
    for (int g = 0; g < tree->topLevelItemCount(); ++g) {
        QTreeWidgetItem* groupRow = tree->topLevelItem(g);
        for (int o = 0; o < groupRow->childCount(); ++o) {
            if (auto* row = dynamic_cast<QTreeWidgetItemSetting*>(groupRow->child(o)))
                row->refresh(values);
        }
    }
}

QTreeWidgetItemSetting* selectedSetting(const QTreeWidget* tree)
{
    for (QTreeWidgetItem* row : tree->selectedItems()) {
        if (auto* setting = dynamic_cast<QTreeWidgetItemSetting*>(row))
            return setting;
    }
    return nullptr;
}

void setRowColour(QTreeWidgetItem* row, const QColor& colour)
{
    for (int column = 0; column < 2; ++column)
        row->setForeground(column, QBrush(colour));
}

void setRowWeight(QTreeWidgetItem* row, bool isDefault)
{
    for (int column = 0; column < 2; ++column) {
        QFont rowFont = row->font(column);
        rowFont.setWeight(isDefault ? QFont::Normal : QFont::Bold);
        row->setFont(column, rowFont);
    }
}

} // namespace settingstree
