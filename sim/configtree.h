#ifndef SIM_CONFIGTREE_H
#define SIM_CONFIGTREE_H

#include "message.h"

#include <string>

// The network manager's configuration tree: "node" objects holding "status", "command" and
// "group" children; groups hold "option", "node" and "command" children. Every object is
// addressed by a dotted path of names starting with the root's name ("netmgr.devices.eth0").
class ConfigTree {
public:
    ConfigTree() = default;
    // Takes a root "node"; every option gets its derived fields (see normaliseOption).
    explicit ConfigTree(Message root);

    Message* findNode(const std::string& path);
    const Message* findNode(const std::string& path) const;
    Message* findOption(const std::string& path);
    const Message* findOption(const std::string& path) const;

    // Appends to `answer` a "node" for a node path, or an "option" for an option path. A node
    // comes with its status, commands and groups with their options; sub-objects of its groups
    // are included `depth` levels down. False when the path names nothing.
    bool describe(const std::string& path, unsigned int depth, Message& answer) const;

    // Fills in what an option record derives from its value: "value" (from "default_value"
    // when absent), "defaulted" (value equals default) and "display_value" / "display_default"
    // (bool labels, select labels, else the text itself). Fields the record carries are kept.
    static void normaliseOption(Message& option);
    // The text shown for `value` of this option.
    static std::string displayText(const Message& option, const std::string& value);

private:
    // Resolves a path to a node or an option; exactly one of the outputs is set on success.
    bool resolve(const std::string& path, const Message*& node, const Message*& option) const;
    static void describeNode(const Message& node, unsigned int depth, Message& out);
    static void normaliseNode(Message& node);

    Message m_root;
    std::string m_rootName;
};

#endif
