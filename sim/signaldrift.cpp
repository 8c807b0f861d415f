#include "signaldrift.h"

#include "simulator.h"

#include <algorithm>
#include <random>

namespace {
const char* const kDevices = "netmgr.devices";
const int kMaxStep = 4;
}

SignalDrift::SignalDrift(Simulator& simulator, std::chrono::milliseconds period)
    : m_simulator(simulator), m_period(period)
{
    m_timer = m_simulator.manager().schedule(m_period, [this] { tick(); });
}

SignalDrift::~SignalDrift()
{
    m_simulator.manager().cancel(m_timer);
}

void SignalDrift::tick()
{
    m_timer = m_simulator.manager().schedule(m_period, [this] { tick(); });
    Message* devices = m_simulator.unit().config().findNode(kDevices);
    if (!devices)
        return;
    std::uniform_int_distribution<int> step(-kMaxStep, kMaxStep);
    for (unsigned int g = 0; g < devices->num_children("group"); ++g) {
        Message& group = devices->get_child("group", g);
        for (unsigned int i = 0; i < group.num_children("node"); ++i) {
            Message& device = group.get_child("node", i);
            if (!device.num_children("status"))
                continue;
            Params& status = device.get_child("status", 0).params();
            if (!status.has_param("signal") || !status.get_bool("installed", false))
                continue;
            const int signal = static_cast<int>(status.get_uint("signal", 0)) + step(m_simulator.unit().random());
            status.set_uint("signal", static_cast<uint32_t>(std::clamp(signal, 0, 100)));
            const std::string name = device.params().get_string("name", "");
            Message update("status", status);
            update.params().set_string("name", name);
            m_simulator.notify("cfgStatus:" + std::string(kDevices) + "." + name, update);
        }
    }
}
