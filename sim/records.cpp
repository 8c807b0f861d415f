#include "records.h"

#include <algorithm>

Message& firstChild(Message& parent, const std::string& name)
{
    return parent.num_children(name) ? parent.get_child(name, 0) : parent.add_child(name);
}

Message* findChild(Message& list, const std::string& child, const std::string& key, int value)
{
    for (unsigned int i = 0; i < list.num_children(child); ++i) {
        Message& candidate = list.get_child(child, i);
        if (candidate.params().get_int(key, 0) == value)
            return &candidate;
    }
    return nullptr;
}

int nextId(const Message& list, const std::string& child, const std::string& key)
{
    int highest = 0;
    for (unsigned int i = 0; i < list.num_children(child); ++i)
        highest = std::max(highest, list.get_child(child, i).params().get_int(key, 0));
    return highest + 1;
}

void removeChildren(Message& list, const std::string& child, const std::string& key, int value)
{
    Message kept(list.name, list.params());
    for (std::size_t i = 0; i < list.child_count(); ++i) {
        const Message& candidate = list.child(i);
        if (candidate.name != child || candidate.params().get_int(key, 0) != value)
            kept.add_child(candidate);
    }
    list = std::move(kept);
}
