#include "netmgrhandlers.h"
#include "networkmanager.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <vector>

namespace {

using std::chrono::milliseconds;

class Network : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(m_unit.loadFile(ORVANE_SIM_SCENARIO, error)) << error;
        addNetmgrHandlers(m_router, m_unit);
        m_network = std::make_unique<NetworkManager>(
            m_unit, NetworkManager::Hooks{[this](milliseconds delay, std::function<void()> callback) {
                                              m_timers.emplace_back(delay, std::move(callback));
                                              return unsigned(m_timers.size());
                                          },
                                          [this](const std::string& id, const Message& msg) {
                                              m_pushed.emplace_back(id, msg);
                                          },
                                          [](const std::string&) {}});
        m_network->addHandlers(m_router);
    }

    // The one answer, whether it failed.
    bool fails(const Message& request)
    {
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        m_router.dispatch(request, reply);
        EXPECT_EQ(answers.size(), 1u) << request.dump_text();
        return answers.empty() || answers.front().params().get_bool("fail", true);
    }

    bool setOption(const std::string& owner, const std::string& name, const char* value)
    {
        Message request("cfgSetOption");
        request.params().set_string("path", owner);
        Params& option = request.add_child("option").params();
        option.set_string("name", name);
        if (value)
            option.set_string("value", value);
        return !fails(request);
    }

    bool command(const std::string& path, const std::string& name, const std::string& extra = std::string())
    {
        Message request("cfgCmd", Params(extra.c_str()));
        request.params().set_string("path", path);
        request.params().set_string("name", name);
        return !fails(request);
    }

    void runTimers()
    {
        auto timers = std::move(m_timers);
        for (auto& timer : timers)
            timer.second();
    }

    // Ids of what was pushed since the last look, in order.
    std::vector<std::string> pushedIds()
    {
        std::vector<std::string> ids;
        for (const auto& pushed : m_pushed)
            ids.push_back(pushed.first);
        return ids;
    }
    const Message& last() const { return m_pushed.back().second; }
    const Params& option(const std::string& path) { return m_unit.config().findOption(path)->params(); }
    const Params& status(const std::string& id)
    {
        return m_unit.config().findNode("netmgr.devices." + id)->get_child("status", 0).params();
    }
    unsigned int numAlive()
    {
        return m_unit.config().findNode("netmgr.devices")->get_child("status", 0).params().get_uint("num_alive", 99);
    }

    Unit m_unit{1};
    RequestRouter m_router;
    std::unique_ptr<NetworkManager> m_network;
    std::vector<std::pair<milliseconds, std::function<void()>>> m_timers;
    std::vector<std::pair<std::string, Message>> m_pushed;
};

TEST_F(Network, OptionValuesAndDefaults)
{
    const std::vector<std::tuple<const char*, const char*, const char*, const char*, bool>> cases = {
        // option path, value sent (null: back to default), value, display value, defaulted
        {"netmgr.devices.eth0.mtu", "2000", "2000", "2000", false},
        {"netmgr.devices.eth0.mtu", "1500", "1500", "1500", true},
        {"netmgr.devices.eth0.dhcp", nullptr, "true", "DHCP", true},
        {"netmgr.devices.wlan0.studio.security", "wpa3", "wpa3", "WPA3 Personal", false},
        {"netmgr.tunnel.max_delay", nullptr, "500", "500", true},
    };
    for (const auto& [path, sent, value, display, defaulted] : cases) {
        SCOPED_TRACE(path);
        const std::string owner = std::string(path).substr(0, std::string(path).rfind('.'));
        const std::string name = std::string(path).substr(owner.size() + 1);
        m_pushed.clear();
        ASSERT_TRUE(setOption(owner, name, sent));
        EXPECT_EQ(option(path).get_string("value", ""), value);
        EXPECT_EQ(option(path).get_string("display_value", ""), display);
        EXPECT_EQ(option(path).get_bool("defaulted", !defaulted), defaulted);
        ASSERT_EQ(pushedIds(), std::vector<std::string>{"cfgData:" + std::string(path)});
        EXPECT_EQ(last().params().get_string("type", ""), "value");
        EXPECT_EQ(last().params().get_string("name", ""), path);
        EXPECT_EQ(last().get_child("descr", 0).params().get_string("display_value", ""), display);
    }
    EXPECT_FALSE(setOption("netmgr.devices.eth0", "nothing", "1"));
    EXPECT_FALSE(setOption("netmgr.devices.nothing", "mtu", "1"));
}

TEST_F(Network, EnablingADeviceChangesItsStatusAndTheAliveCount)
{
    const unsigned int alive = numAlive();
    const std::string address = status("eth0").get_string("address", "");
    ASSERT_TRUE(setOption("netmgr.devices.eth0", "enabled", "false"));
    EXPECT_FALSE(status("eth0").get_bool("enabled", true));
    EXPECT_EQ(status("eth0").get_string("address", "x"), "");
    EXPECT_EQ(numAlive(), alive - 1);
    ASSERT_EQ(pushedIds(), (std::vector<std::string>{"cfgStatus:netmgr.devices.eth0", "cfgStatus:netmgr.devices"}));
    EXPECT_EQ(last().params().get_uint("num_alive", 99), alive - 1);
    EXPECT_EQ(m_pushed.front().second.params().get_string("name", ""), "eth0");

    ASSERT_TRUE(setOption("netmgr.devices.eth0", "enabled", "true"));
    EXPECT_EQ(status("eth0").get_string("address", ""), address);
    EXPECT_EQ(numAlive(), alive);
}

TEST_F(Network, LocationsComeAndGo)
{
    ASSERT_TRUE(command("netmgr.devices.wlan0", "_add", "group=loc seq=addLocation"));
    EXPECT_EQ(pushedIds(), std::vector<std::string>{"cfgData:netmgr.devices.wlan0.location1"});
    EXPECT_EQ(last().params().get_string("type", ""), "add");
    ASSERT_TRUE(m_unit.config().findOption("netmgr.devices.wlan0.location1.essid"));

    m_pushed.clear();
    ASSERT_TRUE(command("netmgr.devices.wlan0.studio", "_del", "seq=deleteLocation"));
    EXPECT_EQ(pushedIds(), std::vector<std::string>{"cfgData:netmgr.devices.wlan0.studio"});
    EXPECT_EQ(last().params().get_string("type", ""), "delete");
    EXPECT_FALSE(m_unit.config().findNode("netmgr.devices.wlan0.studio"));
    // The setup access point offers no "_del"; a wired device takes no locations.
    EXPECT_FALSE(command("netmgr.devices.wlan0.setup", "_del"));
    EXPECT_FALSE(command("netmgr.devices.eth0", "_add", "group=loc"));
    EXPECT_FALSE(command("netmgr.devices.eth0", "scan", "group=loc"));
}

TEST_F(Network, ScanAnswersLaterAndAPickBecomesALocation)
{
    ASSERT_TRUE(command("netmgr.devices.wlan0", "scan", "group=loc"));
    EXPECT_TRUE(m_pushed.empty());
    ASSERT_EQ(m_timers.size(), 1u);
    EXPECT_GT(m_timers.front().first, milliseconds(0));
    runTimers();
    ASSERT_EQ(pushedIds(), std::vector<std::string>{"wifi:wlan0"});
    ASSERT_EQ(last().num_children("net"), 5u);
    const Params& venue = last().get_child("net", 1).params();
    EXPECT_EQ(venue.get_string("sec", ""), "none");
    EXPECT_LE(venue.get_uint("signal", 0), 100u);

    m_pushed.clear();
    ASSERT_TRUE(command("netmgr.devices.wlan0.scanner", "pick", "group= sel=02:1a:11:f0:00:03 seq=pickWifiNetwork"));
    EXPECT_EQ(pushedIds(), std::vector<std::string>{"cfgData:netmgr.devices.wlan0.broadcastobvan"});
    EXPECT_EQ(option("netmgr.devices.wlan0.broadcastobvan.essid").get_string("value", ""), "Broadcast OB Van");
    EXPECT_EQ(option("netmgr.devices.wlan0.broadcastobvan.security").get_string("value", ""), "wpa3");
    // Picking the same network again gives the new location its own name.
    ASSERT_TRUE(command("netmgr.devices.wlan0.scanner", "pick", "sel=02:1a:11:f0:00:03"));
    EXPECT_TRUE(m_unit.config().findNode("netmgr.devices.wlan0.broadcastobvan2"));
    EXPECT_FALSE(command("netmgr.devices.wlan0.scanner", "pick", "sel=00:00"));
}

TEST_F(Network, ApplyReportsThenSettles)
{
    const std::string text = status("wlan0").get_string("status", "");
    ASSERT_TRUE(command("netmgr.devices.wlan0", "apply"));
    EXPECT_EQ(last().params().get_string("status", ""), "Applying settings...");
    runTimers();
    EXPECT_EQ(last().params().get_string("status", ""), text);
}

TEST_F(Network, ConsoleDevices)
{
    const unsigned int alive = numAlive();
    EXPECT_EQ(m_network->plug("eth0", false), "ok unplugged eth0");
    EXPECT_FALSE(status("eth0").get_bool("installed", true));
    EXPECT_EQ(numAlive(), alive - 1);
    EXPECT_EQ(m_network->plug("eth0", true), "ok plugged eth0");
    EXPECT_EQ(numAlive(), alive);
    EXPECT_EQ(m_network->plug("nothing", true).rfind("error", 0), 0u);

    m_pushed.clear();
    EXPECT_EQ(m_network->addDevice("wlan2", "wifi"), "ok added wlan2");
    EXPECT_EQ(pushedIds(), (std::vector<std::string>{"cfgData:netmgr.devices.wlan2", "cfgStatus:netmgr.devices"}));
    EXPECT_EQ(m_pushed.front().second.params().get_string("type", ""), "add");
    EXPECT_EQ(numAlive(), alive + 1);
    EXPECT_TRUE(command("netmgr.devices.wlan2", "_add", "group=loc"));
    EXPECT_EQ(m_network->addDevice("wlan2", "wifi").rfind("error", 0), 0u);
    EXPECT_EQ(m_network->addDevice("x", "fax").rfind("error", 0), 0u);

    EXPECT_TRUE(command("netmgr.devices.wlan2", "_del"));
    EXPECT_EQ(numAlive(), alive);
    EXPECT_EQ(m_network->removeDevice("wlan1"), "ok removed wlan1");
    EXPECT_EQ(m_network->removeDevice("wlan1").rfind("error", 0), 0u);
}

} // namespace
