#ifndef TESTS_INTEGRATION_SIMCLIENT_H
#define TESTS_INTEGRATION_SIMCLIENT_H

#include "ipcendpoint.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// A client of the simulator that records what reaches it. The library calls the virtuals on its
// loop thread; the test thread waits for the records.
class SimClient : public IPCEndpointClient {
public:
    explicit SimClient(std::string password) : m_password(std::move(password)) {}

    struct Records {
        int logins = 0;
        int refusals = 0;
        int disconnections = 0;
        std::vector<Message> answers;
        std::vector<std::pair<std::string, Message>> notifications;
    };

    std::string get_password() override { return m_password; }
    int retry_interval() const override { return 1; }
    void logged_in() override;
    void auth_fail() override { record([](Records& r) { ++r.refusals; }); }
    void connection_changed() override;
    void process_response(const Message& msg) override { record([&](Records& r) { r.answers.push_back(msg); }); }
    void process_unso_id(const std::string& id, const Message& msg) override
    {
        record([&](Records& r) { r.notifications.emplace_back(id, msg); });
    }

    // Waits until `done` holds for the records; false after the time-out.
    bool waitFor(const std::function<bool(const Records&)>& done, std::chrono::milliseconds timeout);
    Records records();

private:
    void record(const std::function<void(Records&)>& change);

    std::string m_password;
    std::mutex m_recordsMutex;
    std::condition_variable m_changed;
    Records m_records;
};

#endif
