#include "reply.h"
#include "requestrouter.h"

#include <gtest/gtest.h>

namespace {

// Each handler answers with its own name, so a test sees which one ran.
RequestRouter::Handler answering(const std::string& handlerName)
{
    return [handlerName](const Message&, Reply& reply) { reply.send(Message(handlerName)); };
}

TEST(RequestRouter, PathRoutesTakeTheLongestPrefixAtADot)
{
    RequestRouter router;
    router.addPath("cfgDescribe", "netmgr", answering("netmgr"));
    router.addPath("cfgDescribe", "netmgr.devices", answering("devices"));
    router.addPath("cfgCmd", "netmgr.devices", answering("command"));
    router.add("cfgCmd", answering("any command"));

    const char* const cases[][3] = {
        {"cfgDescribe", "netmgr.tunnel", "netmgr"},
        {"cfgDescribe", "netmgr.devices.eth0.home", "devices"},
        {"cfgDescribe", "netmgr.devicesX", "netmgr"},
        {"cfgDescribe", "other.path", "(none)"},
        {"cfgCmd", "netmgr.devices.eth0", "command"},
        {"cfgCmd", "netmgr.tunnel", "any command"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c[0]) + " " + c[1]);
        Message request(c[0]);
        request.params().set_string("path", c[1]);
        std::string answered = "(none)";
        Reply reply([&answered](const Message& answer) { answered = answer.name; }, request);
        const bool handled = router.dispatch(request, reply);
        EXPECT_EQ(handled, answered != "(none)");
        EXPECT_EQ(answered, c[2]);
    }
}

TEST(Reply, StampsTheRequestsSeq)
{
    Message request("getPeerList");
    request.params().set_string("seq", "peerList");
    std::vector<Message> sent;
    Reply reply([&sent](const Message& answer) { sent.push_back(answer); }, request);
    reply.send(Message());
    reply.send(Message("resp"));
    reply.sendAs("sipProxy", Message());

    ASSERT_EQ(sent.size(), 3u);
    const char* const expected[][2] = {{"peerList", "peerList"}, {"resp", "peerList"}, {"sipProxy", "sipProxy"}};
    for (size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(sent[i].name, expected[i][0]);
        EXPECT_EQ(sent[i].params().get_string("seq", ""), expected[i][1]);
    }
}

} // namespace
