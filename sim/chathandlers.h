#ifndef SIM_CHATHANDLERS_H
#define SIM_CHATHANDLERS_H

#include "message.h"

#include <functional>
#include <string>

class RequestRouter;
class Unit;

// "chat": a line from one of the unit's user interfaces, relayed into the chat: answered with
// the record as the unit delivers it, and pushed to the unit's other user interfaces. Each line
// is reported through `report` as the far end would read it.
void addChatHandlers(RequestRouter& router, std::function<void(const std::string&)> report);

// A line from the far end ("message" typed there, "status" its presence), as the unit delivers
// it to its user interfaces.
Message farEndChatLine(const Unit& unit, const std::string& type, const std::string& text);

#endif
