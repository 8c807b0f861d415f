#ifndef SIM_UNITHOOKS_H
#define SIM_UNITHOOKS_H

#include "message.h"

#include <chrono>
#include <functional>
#include <string>

// What the unit's models need from the running unit: timers on its loop, pushes to the
// sessions that subscribed, and the "event ..." lines on standard output.
struct UnitHooks {
    std::function<unsigned int(std::chrono::milliseconds, std::function<void()>)> schedule;
    std::function<void(unsigned int)> cancel;
    std::function<void(const std::string& id, const Message& msg)> notify;
    std::function<void(const std::string& line)> report;
};

#endif
