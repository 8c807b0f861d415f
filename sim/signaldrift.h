#ifndef SIM_SIGNALDRIFT_H
#define SIM_SIGNALDRIFT_H

#include <chrono>

class Simulator;

// Radio signals are never still: every period, each installed device that reports a signal
// strength wanders a few percent and its new status is pushed to the subscribers.
class SignalDrift {
public:
    SignalDrift(Simulator& simulator, std::chrono::milliseconds period);
    SignalDrift(const SignalDrift&) = delete;
    SignalDrift& operator=(const SignalDrift&) = delete;
    ~SignalDrift();

private:
    void tick();

    Simulator& m_simulator;
    std::chrono::milliseconds m_period;
    unsigned int m_timer = 0;
};

#endif
