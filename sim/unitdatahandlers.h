#ifndef SIM_UNITDATAHANDLERS_H
#define SIM_UNITDATAHANDLERS_H

class RequestRouter;
class Unit;

// The requests that read the unit's lists and settings as they stand (the client's login
// burst): each is answered with the unit's data of that kind.
void addUnitDataHandlers(RequestRouter& router, Unit& unit);

#endif
