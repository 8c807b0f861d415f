#ifndef SIM_OPTIONHANDLERS_H
#define SIM_OPTIONHANDLERS_H

#include <functional>

class Message;
class RequestRouter;
class Unit;

// The write path of the option descriptions: a system option's "set" + group (one request per
// group the unit's "systemOpts" names, "setSysOptions" among them), "setChannelSettings" and
// "setProfile" (values, "reset" children, and the default profile). Each applies the change to
// the unit's data and pushes the changed list to every session.
void addOptionHandlers(RequestRouter& router, Unit& unit, std::function<void(const Message&)> pushToAll);

#endif
