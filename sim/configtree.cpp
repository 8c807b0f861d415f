#include "configtree.h"

#include "strutil.h"

#include <utility>

namespace {

const char* const kNode = "node";
const char* const kGroup = "group";
const char* const kOption = "option";

const Message* childNamed(const Message& parent, const std::string& kind, const std::string& name)
{
    for (unsigned int i = 0; i < parent.num_children(kind); ++i) {
        const Message& child = parent.get_child(kind, i);
        if (child.params().get_string("name", "") == name)
            return &child;
    }
    return nullptr;
}

// A node's sub-objects and options all live in its groups.
const Message* memberOf(const Message& node, const std::string& kind, const std::string& name)
{
    for (unsigned int i = 0; i < node.num_children(kGroup); ++i) {
        if (const Message* found = childNamed(node.get_child(kGroup, i), kind, name))
            return found;
    }
    return nullptr;
}

} // namespace

ConfigTree::ConfigTree(Message root)
    : m_root(std::move(root)), m_rootName(m_root.params().get_string("name", ""))
{
    normaliseNode(m_root);
}

bool ConfigTree::resolve(const std::string& path, const Message*& node, const Message*& option) const
{
    node = nullptr;
    option = nullptr;
    const std::vector<std::string> names = split(path, ".");
    if (m_rootName.empty() || names.front() != m_rootName)
        return false;
    const Message* current = &m_root;
    for (std::size_t i = 1; i < names.size(); ++i) {
        if (const Message* child = memberOf(*current, kNode, names[i])) {
            current = child;
            continue;
        }
        if (i + 1 == names.size()) {
            option = memberOf(*current, kOption, names[i]);
            return option != nullptr;
        }
        return false;
    }
    node = current;
    return true;
}

const Message* ConfigTree::findNode(const std::string& path) const
{
    const Message* node = nullptr;
    const Message* option = nullptr;
    return resolve(path, node, option) ? node : nullptr;
}

Message* ConfigTree::findNode(const std::string& path)
{
    return const_cast<Message*>(static_cast<const ConfigTree*>(this)->findNode(path));
}

const Message* ConfigTree::findOption(const std::string& path) const
{
    const Message* node = nullptr;
    const Message* option = nullptr;
    return resolve(path, node, option) ? option : nullptr;
}

Message* ConfigTree::findOption(const std::string& path)
{
    return const_cast<Message*>(static_cast<const ConfigTree*>(this)->findOption(path));
}

bool ConfigTree::describe(const std::string& path, unsigned int depth, Message& answer) const
{
    const Message* node = nullptr;
    const Message* option = nullptr;
    if (!resolve(path, node, option))
        return false;
    if (option)
        answer.add_child(*option);
    else
        describeNode(*node, depth, answer.add_child(kNode));
    return true;
}

void ConfigTree::describeNode(const Message& node, unsigned int depth, Message& out)
{
    out.params() = node.params();
    for (std::size_t i = 0; i < node.child_count(); ++i) {
        const Message& child = node.child(i);
        if (child.name != kGroup) {
            out.add_child(child);
            continue;
        }
        Message& group = out.add_child(kGroup);
        group.params() = child.params();
        for (std::size_t j = 0; j < child.child_count(); ++j) {
            const Message& member = child.child(j);
            if (member.name != kNode)
                group.add_child(member);
            else if (depth > 0)
                describeNode(member, depth - 1, group.add_child(kNode));
        }
    }
}

void ConfigTree::normaliseNode(Message& node)
{
    for (std::size_t i = 0; i < node.child_count(); ++i) {
        Message& child = node.child(i);
        if (child.name == kOption)
            normaliseOption(child);
        else
            normaliseNode(child);
    }
}

void ConfigTree::normaliseOption(Message& option)
{
    Params& params = option.params();
    const bool hasDefault = params.has_param("default_value");
    const std::string defaultValue = params.get_string("default_value", "");
    if (!params.has_param("value"))
        params.set_string("value", defaultValue);
    const std::string value = params.get_string("value", "");
    if (!params.has_param("defaulted"))
        params.set_bool("defaulted", hasDefault && value == defaultValue);
    if (!params.has_param("display_value"))
        params.set_string("display_value", displayText(option, value));
    if (hasDefault && !params.has_param("display_default"))
        params.set_string("display_default", displayText(option, defaultValue));
}

std::string ConfigTree::displayText(const Message& option, const std::string& value)
{
    const std::string type = option.params().get_string("type", "");
    if (type == "bool") {
        return value == "true" ? option.params().get_string("label_true", "Enabled")
                               : option.params().get_string("label_false", "Not Enabled");
    }
    if (type == "select") {
        for (unsigned int i = 0; i < option.num_children("select"); ++i) {
            const Params& choice = option.get_child("select", i).params();
            if (choice.get_string("value", "") == value)
                return choice.get_string("name", "");
        }
    }
    return value;
}
