#include "configparser.h"

#include "settingstree.h"

#include <QColor>
#include <QStringList>
#include <QTreeWidget>

namespace {

QString nameOf(const QTreeWidgetItem* row)
{
    return row->data(0, ConfigParser::NameRole).toString();
}

QString textParam(const Message& msg, const char* key)
{
    return QString::fromStdString(msg.params().get_string(key, ""));
}

} // namespace

void ConfigParser::addOptionItems(const Message& group, QTreeWidget* tree, QTreeWidgetItem* parent,
                                  const std::string& parentName)
{
    for (unsigned int i = 0; i < group.num_children("option"); ++i) {
        const Message& option = group.get_child("option", i);
        const Params& params = option.params();
        auto* row = tree ? new QTreeWidgetItem(tree, QTreeWidgetItem::Type)
                         : new QTreeWidgetItem(parent, QTreeWidgetItem::Type);
        row->setText(0, textParam(option, "display_name"));
        row->setText(1, textParam(option, "display_value"));
        row->setData(0, NameRole, textParam(option, "name"));
        row->setData(0, AdvancedRole, params.get_bool("advanced", false));
        if (!tree) {
            row->setData(0, LocationRole, QString::fromStdString(parentName));
            settingstree::setRowColour(row, Qt::black);
        }
        settingstree::setRowWeight(row, params.get_bool("defaulted", false));
        applyAdvancedFilter(row);
    }
}

QTreeWidgetItem* ConfigParser::addNodeItem(const Message& node, QTreeWidget* tree)
{
    auto* row = new QTreeWidgetItem(tree, QTreeWidgetItem::Type);
    row->setText(0, textParam(node, "display_name"));
    row->setData(0, NameRole, textParam(node, "name"));
    row->setData(0, DeletableRole, hasCommand(nodeCommands(node), "_del"));
    row->setFirstColumnSpanned(true);
    settingstree::setRowColour(row, QColor(128, 128, 128));
    return row;
}

void ConfigParser::removeNodeItem(const std::string& name, QTreeWidget* tree)
{
    const QString wanted = QString::fromStdString(name);
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        if (nameOf(tree->topLevelItem(i)) == wanted) {
            delete tree->takeTopLevelItem(i);
            return;
        }
    }
}

std::vector<std::string> ConfigParser::nodeCommands(const Message& nodeOrGroup)
{
    std::vector<std::string> commands;
    for (unsigned int i = 0; i < nodeOrGroup.num_children("command"); ++i) {
        const Message& command = nodeOrGroup.get_child("command", i);
        commands.push_back(command.params().get_string("name", ""));
    }
    return commands;
}

bool ConfigParser::hasCommand(const std::vector<std::string>& commands, const std::string& name)
{
    for (const std::string& command : commands) {
        if (command == name)
            return true;
    }
    return false;
}

bool ConfigParser::isOptionItem(const QTreeWidgetItem* row)
{
    return row->parent() != nullptr;
}

QString ConfigParser::selectedPath(const QTreeWidget* tree)
{
    const QList<QTreeWidgetItem*> selected = tree->selectedItems();
    if (selected.isEmpty())
        return QString();
    QStringList names;
    for (const QTreeWidgetItem* row = selected.first(); row; row = row->parent())
        names.prepend(nameOf(row));
    return names.join('.');
}

bool ConfigParser::selectPath(QTreeWidget* tree, const QString& path)
{
    if (path.isEmpty())
        return false;
    const QStringList names = path.split('.');
    QTreeWidgetItem* row = nullptr;
    for (int i = 0; i < tree->topLevelItemCount() && !row; ++i) {
        if (nameOf(tree->topLevelItem(i)) == names.first())
            row = tree->topLevelItem(i);
    }
    if (!row)
        return false;
    if (row->childCount() > 0) {
        collapseOthers(tree, row);
        for (int level = 1; level < names.size(); ++level) {
            QTreeWidgetItem* match = nullptr;
            for (int c = 0; c < row->childCount() && !match; ++c) {
                if (nameOf(row->child(c)) == names[level])
                    match = row->child(c);
            }
            if (!match)
                return false;
            row->setExpanded(true);
            row = match;
        }
    }
    tree->setCurrentItem(row);
    return true;
}

void ConfigParser::collapseOthers(QTreeWidget* tree, QTreeWidgetItem* keep)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = tree->topLevelItem(i);
        if (row != keep)
            row->setExpanded(false);
    }
}

void ConfigParser::applyAdvancedFilter(QTreeWidgetItem* row) const
{
    row->setHidden(row->data(0, AdvancedRole).toBool() && !m_show_advanced);
}
