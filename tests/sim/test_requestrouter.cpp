#include "reply.h"
#include "requestrouter.h"

#include <gtest/gtest.h>

namespace {

// Each handler answers with its own name, so a test sees which one ran.
RequestRouter::Handler answering(const std::string& handlerName)
{
    return [handlerName](const Message&, Reply& reply) { reply.send(Message(handlerName)); };
}

std::string route(const RequestRouter& router, const Message& request)
{
    std::string answered = "(none)";
    Reply reply([&answered](const Message& answer) { answered = answer.name; }, request);
    router.dispatch(request, reply);
    return answered;
}

TEST(RequestRouter, PathRoutesTakeTheLongestPrefixAtADot)
{
    RequestRouter router;
    router.addPath("cfgDescribe", "netmgr", answering("netmgr"));
    router.addPath("cfgDescribe", "netmgr.devices", answering("devices"));
    router.addPath("cfgCmd", "netmgr.devices", answering("command"));
    router.add("cfgCmd", answering("any command"));

    struct Case {
        const char* request;
        const char* path;
        const char* handler;
    };
    const Case cases[] = {
        {"cfgDescribe", "netmgr", "netmgr"},
        {"cfgDescribe", "netmgr.tunnel", "netmgr"},
        {"cfgDescribe", "netmgr.devices", "devices"},
        {"cfgDescribe", "netmgr.devices.eth0.home", "devices"},
        {"cfgDescribe", "netmgr.devicesX", "netmgr"},
        {"cfgDescribe", "other.path", "(none)"},
        {"cfgDescribe", "", "(none)"},
        {"cfgCmd", "netmgr.devices.eth0", "command"},
        {"cfgCmd", "netmgr.tunnel", "any command"},
        {"getPeerList", "netmgr", "(none)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.request) + " " + c.path);
        Message request(c.request);
        request.params().set_string("path", c.path);
        EXPECT_EQ(route(router, request), c.handler);
    }
}

TEST(RequestRouter, ReportsWhetherAHandlerTookTheRequest)
{
    RequestRouter router;
    router.add("getVersion", answering("version"));
    Reply reply([](const Message&) {}, Message("x"));
    EXPECT_TRUE(router.dispatch(Message("getVersion"), reply));
    EXPECT_FALSE(router.dispatch(Message("getNothing"), reply));
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
    EXPECT_EQ(sent[0].name, "peerList");
    EXPECT_EQ(sent[0].params().get_string("seq", ""), "peerList");
    EXPECT_EQ(sent[1].name, "resp");
    EXPECT_EQ(sent[1].params().get_string("seq", ""), "peerList");
    EXPECT_EQ(sent[2].name, "sipProxy");
    EXPECT_EQ(sent[2].params().get_string("seq", ""), "sipProxy");
}

} // namespace
