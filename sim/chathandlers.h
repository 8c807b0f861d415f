#ifndef SIM_CHATHANDLERS_H
#define SIM_CHATHANDLERS_H

#include "message.h"

#include <functional>
#include <string>

class RequestRouter;
class Unit;

// "chat": a line from one of the unit's user interfaces, relayed into the chat and answered
// with the record as the unit delivers it to every end. Each line is reported through `report`
// as the far end would read it.
void addChatHandlers(RequestRouter& router, std::function<void(const std::string&)> report);

// A line typed at the far end, as the unit delivers it to its user interfaces.
Message farEndChatLine(const Unit& unit, const std::string& text);

#endif
