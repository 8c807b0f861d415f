#include "clientloop.h"

ClientLoop::~ClientLoop()
{
    stopThread();
}

void ClientLoop::startThread()
{
    m_thread = std::thread([this] { event_loop(); });
}

void ClientLoop::stopThread()
{
    if (!m_thread.joinable())
        return;
    stop();
    m_thread.join();
}
