#ifndef CONFIGPARSER_H
#define CONFIGPARSER_H

#include "message.h"

#include <QString>
#include <Qt>

#include <string>
#include <vector>

class QTreeWidget;
class QTreeWidgetItem;

// Turns the network manager's configuration descriptions ("node", "group", "option",
// "command") into tree rows and the selected row back into a dotted path. The device
// configuration and the tunnel settings screens derive from it.
class ConfigParser {
public:
    // Item data of column 0 of the rows built here.
    enum ItemRole {
        NameRole = Qt::UserRole,          // QString: option or location name; scan rows: essid
        AdvancedRole = Qt::UserRole + 1,  // bool: the option is advanced
        LocationRole = Qt::UserRole + 5,  // QString: for an option under a location, the location
        DeletableRole = Qt::UserRole + 6, // bool: for a location row, it offers "_del"
        BssidRole = Qt::UserRole + 7      // QString: for a scan row, the network's bssid
    };

    // One row per "option" of `group`, in order: top level of `tree` when given, else under
    // `parent` (whose name `parentName` the rows remember).
    void addOptionItems(const Message& group, QTreeWidget* tree, QTreeWidgetItem* parent,
                        const std::string& parentName);
    // A gray top-level row spanning all columns for a sub-object (a location).
    QTreeWidgetItem* addNodeItem(const Message& node, QTreeWidget* tree);
    // Deletes the first top-level row of that name, if any.
    void removeNodeItem(const std::string& name, QTreeWidget* tree);

    static std::vector<std::string> nodeCommands(const Message& nodeOrGroup);
    static bool hasCommand(const std::vector<std::string>& commands, const std::string& name);

    // An option under a location row.
    static bool isOptionItem(const QTreeWidgetItem* row);

    // The names of the first selected row and its ancestors, joined with "."; empty when none.
    static QString selectedPath(const QTreeWidget* tree);
    // Makes the row at `path` current (expanding its location, collapsing the others); false
    // when the path is empty or names no row.
    static bool selectPath(QTreeWidget* tree, const QString& path);
    static void collapseOthers(QTreeWidget* tree, QTreeWidgetItem* keep);

    // Hides an advanced option row while advanced options are not shown.
    void applyAdvancedFilter(QTreeWidgetItem* row) const;

protected:
    bool m_show_advanced = false;
};

#endif
