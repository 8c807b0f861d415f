#ifndef LIBIPC_MESSAGE_H
#define LIBIPC_MESSAGE_H

#include "logger.h"
#include "params.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

// One node of the tree-shaped record that every request, answer and notification is.
// Value semantics: copies are deep, `!=` compares the whole tree. Children keep the order in
// which they were added and are addressed by name and by index among those of that name.
// References returned by add_child/get_child stay valid until that child is removed or the
// parent is assigned to or destroyed.
// Lookups by name go through an index built on the first lookup, so walking all children of a
// name costs time linear in their number. Every child handed out for writing (add_child, the
// non-const get_child and child) is re-checked at the parent's next lookup, so renaming it or
// assigning another message to it is seen; a renamed child must have been reached that way after
// the parent's previous lookup. A const lookup updates the index: a Message read by two threads
// at once needs a lock, as every shared Message does here.
class Message {
public:
    Message() = default;
    explicit Message(const std::string& messageName, const Params& params = Params());
    Message(const Message& other);
    Message(Message&& other) noexcept;
    Message& operator=(const Message& other);
    Message& operator=(Message&& other) noexcept;
    ~Message() = default;

    std::string name;

    Params& params() { return m_params; }
    const Params& params() const { return m_params; }

    Message& add_child(const std::string& childName);
    Message& add_child(const Message& child);
    // Only indices below num_children(childName) are valid.
    Message& get_child(const std::string& childName, unsigned int index);
    const Message& get_child(const std::string& childName, unsigned int index) const;
    // Null instead of an invalid reference, for callers that do not check the count first.
    const Message* find_child(const std::string& childName, unsigned int index = 0) const;
    unsigned int num_children(const std::string& childName) const;

    // All children in order, whatever their names.
    std::size_t child_count() const { return m_children.size(); }
    Message& child(std::size_t position) { return exposed(position); }
    const Message& child(std::size_t position) const { return *m_children[position]; }
    void remove_children(const std::string& childName);

    bool operator==(const Message& other) const;
    bool operator!=(const Message& other) const { return !(*this == other); }

    // Writes the whole tree to g_log, one line per node. Callers test the level first.
    void _dump(LOG_LEVEL level, unsigned int category, unsigned int indent) const;
    // The same lines as one text, for tests and tools.
    std::string dump_text(unsigned int indent = 0) const;

private:
    // Positions of the children of each name, in order.
    using ChildIndex = std::unordered_map<std::string, std::vector<uint32_t>>;

    Message& adopt(std::unique_ptr<Message> child);
    const std::vector<uint32_t>* positions_of(const std::string& childName) const;
    Message& exposed(std::size_t position);

    Params m_params;
    std::vector<std::unique_ptr<Message>> m_children;
    mutable std::unique_ptr<ChildIndex> m_index;
    // Children handed out for writing since the index was last checked, with the name they had then.
    mutable std::vector<std::pair<uint32_t, std::string>> m_exposed;
};

#endif
