#ifndef NETWORK_CHILDWALK_H
#define NETWORK_CHILDWALK_H

#include "message.h"

#include <string>

// Calls `visit` with every child named `name`, in order, in one pass: get_child(name, i) looks
// for the i-th such child from the start, which makes a loop over a long list quadratic.
template <typename Visit>
void forEachChild(const Message& parent, const std::string& name, Visit visit)
{
    for (std::size_t position = 0; position < parent.child_count(); ++position) {
        const Message& child = parent.child(position);
        if (child.name == name)
            visit(child);
    }
}

#endif
