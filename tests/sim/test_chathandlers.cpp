#include "chathandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(ChatHandlers, ALineIsAnsweredOnceAsAPortableRecordRelayedAndReported)
{
    RequestRouter router;
    std::vector<std::string> reports;
    addChatHandlers(router, [&reports](const std::string& line) { reports.push_back(line); });
    // request, the record echoed back under the request's seq, the reported line
    const char* const cases[][3] = {
        {"type=status from=P when=\"\" text=\"has entered chat.\" portable:b=false colour=red seq=chat",
         "type=status from=P when=\"\" text=\"has entered chat.\" portable:b=true seq=chat",
         "chat status from P: has entered chat."},
        {"seq=chat", "type=\"\" from=\"\" when=\"\" text=\"\" portable:b=true seq=chat", "chat  from : "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0]);
        reports.clear();
        const Message request("chat", Params(c[0]));
        std::vector<Message> answers;
        std::vector<Message> relayed;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request,
                    [&relayed](const Message& msg) { relayed.push_back(msg); });
        router.dispatch(request, reply);
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0].name, "chat");
        EXPECT_EQ(answers[0].params(), Params(c[1])) << answers[0].dump_text();
        // The unit's other user interfaces see the same line, as a notification.
        ASSERT_EQ(relayed.size(), 1u);
        EXPECT_EQ(relayed[0].name, "chat");
        Params record(c[1]);
        record.remove("seq");
        EXPECT_EQ(relayed[0].params(), record) << relayed[0].dump_text();
        EXPECT_EQ(reports, std::vector<std::string>{c[2]});
    }
}

TEST(ChatHandlers, TheFarEndSpeaksAsTheFirstRemoteInTheCall)
{
    const char* const peer = R"(<m n="peer"><s k="name">%s</s><b k="active">%s</b></m>)";
    // active flags of two remotes, the expected speaker; "" means a unit without remotes
    const char* const cases[][3] = {
        {"false", "false", "Far End"}, {"false", "true", "Booth"}, {"true", "true", "Van"}, {"", "", "Far End"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c[2]);
        char van[128], booth[128], scenario[512];
        std::snprintf(van, sizeof van, peer, "Van", c[0]);
        std::snprintf(booth, sizeof booth, peer, "Booth", c[1]);
        std::snprintf(scenario, sizeof scenario, R"(<m n="unit"><m n="peerList">%s%s</m></m>)", van, booth);
        Unit unit(1);
        std::string error;
        ASSERT_TRUE(unit.loadText(*c[0] ? scenario : "<m n=\"unit\"/>", error)) << error;
        const Message line = farEndChatLine(unit, "message", "we hear you");
        EXPECT_EQ(line.name, "chat");
        Params expected("type=message when=\"\" text=\"we hear you\" portable:b=false");
        expected.set_string("from", c[2]);
        EXPECT_EQ(line.params(), expected) << line.dump_text();
    }
}

} // namespace
