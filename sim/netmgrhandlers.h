#ifndef SIM_NETMGRHANDLERS_H
#define SIM_NETMGRHANDLERS_H

class RequestRouter;
class Unit;

// The network manager's requests on its configuration tree ("cfgDescribe", "cfgGetStatus"),
// routed by path. Also brings the devices' overall status up to date with the tree.
void addNetmgrHandlers(RequestRouter& router, Unit& unit);

// Recounts "num_alive" and "tunnel_alive" of "netmgr.devices" after a device or the tunnel changed.
void refreshOverallStatus(Unit& unit);

#endif
