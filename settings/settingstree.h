#ifndef SETTINGSTREE_H
#define SETTINGSTREE_H

#include <functional>

class QColor;
class QTreeWidget;
class QTreeWidgetItem;
class QTreeWidgetItemSetting;
class SettingGroupList;

// Filling and refreshing the two-column settings trees; colours are left to each screen.
namespace settingstree {

// Names 320 and values 200 pixels wide, whatever the tree's width.
void setFixedColumns(QTreeWidget* tree);

// Fills a cleared tree with one expanded group row per group with its option rows, and makes the
// first option row current. `decorate` sees every group and option row before the
// tree holds it (an option row already has its group as parent).
void fill(QTreeWidget* tree, SettingGroupList&& groups, const std::function<void(QTreeWidgetItem*)>& decorate);
// Re-reads every option row's value in place, without rebuilding the rows.
void refresh(QTreeWidget* tree);
// The first selected row that is an option row, or null.
QTreeWidgetItemSetting* selectedSetting(const QTreeWidget* tree);
// Text colour of both columns of a row.
void setRowColour(QTreeWidgetItem* row, const QColor& colour);
// Both columns of an option row are bold while its value is not the default.
void setRowWeight(QTreeWidgetItem* row, bool isDefault);

} // namespace settingstree

#endif
