#ifndef SIM_SHELLHANDLERS_H
#define SIM_SHELLHANDLERS_H

#include <functional>
#include <string>

class RequestRouter;

// The requests of the user interface's shell: where the meters' bars lie, the remote contact
// closure and the factory reset. Each is reported as one line through `report`, so that a demo
// or a test sees what the unit was asked to do; `factoryReset` restores the unit's stored state.
void addShellHandlers(RequestRouter& router, std::function<void(const std::string&)> report,
                      std::function<void()> factoryReset);

#endif
