#ifndef SIM_RECORDS_H
#define SIM_RECORDS_H

#include "message.h"

#include <string>

// The unit's data is lists of children told apart by an integer key ("id", "sid").

// The first child of that name, made when there is none.
Message& firstChild(Message& parent, const std::string& name);
// Null when no child of that name has that key.
Message* findChild(Message& list, const std::string& child, const std::string& key, int value);
// One more than the highest key in use, and at least 1.
int nextId(const Message& list, const std::string& child, const std::string& key);
// The list without the children of that name and key; the others keep their order.
void removeChildren(Message& list, const std::string& child, const std::string& key, int value);

#endif
