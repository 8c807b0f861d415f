#ifndef SIM_PROFILEHANDLERS_H
#define SIM_PROFILEHANDLERS_H

#include <functional>
#include <string>

class Message;
class RequestRouter;
class Unit;

// Adding, copying and deleting settings profiles, each followed by the new "profileList" pushed
// to every session through `pushToAll`; and "storeSettings", which keeps the user-interface
// settings that "loadSettings" returns. Every change applied is reported as one line through
// `report`. Changing a profile's values ("setProfile") is the options' business.
void addProfileHandlers(RequestRouter& router, Unit& unit, std::function<void(const Message&)> pushToAll,
                        std::function<void(const std::string&)> report);

#endif
