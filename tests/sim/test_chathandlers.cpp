#include "chathandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<Message> ask(const RequestRouter& router, const Message& request)
{
    std::vector<Message> answers;
    Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
    router.dispatch(request, reply);
    return answers;
}

struct ChatCase {
    const char* what;
    const char* request;
    // The record every end of the chat gets back, with the answer's seq.
    const char* answer;
    const char* reported;
};

const std::vector<ChatCase> kChatCases = {
    {"own line", "type=message from=Portable when=\"\" text=\"level ok?\" portable:b=true seq=chat",
     "type=message from=Portable when=\"\" text=\"level ok?\" portable:b=true seq=chat",
     "chat message from Portable: level ok?"},
    {"presence", "type=status from=Portable when=\"\" text=\"has entered chat.\" portable:b=true seq=chat",
     "type=status from=Portable when=\"\" text=\"has entered chat.\" portable:b=true seq=chat",
     "chat status from Portable: has entered chat."},
    {"claims to be remote", "type=message from=Portable text=x portable:b=false seq=chat",
     "type=message from=Portable when=\"\" text=x portable:b=true seq=chat", "chat message from Portable: x"},
    {"fields missing", "seq=chat", "type=\"\" from=\"\" when=\"\" text=\"\" portable:b=true seq=chat",
     "chat  from : "},
    {"extra fields dropped", "type=message from=P text=y colour=red seq=chat",
     "type=message from=P when=\"\" text=y portable:b=true seq=chat", "chat message from P: y"},
    {"markup untouched", "type=message from=P text=\"<b>loud</b> & clear\" seq=chat",
     "type=message from=P when=\"\" text=\"<b>loud</b> & clear\" portable:b=true seq=chat",
     "chat message from P: <b>loud</b> & clear"},
};

TEST(ChatHandlers, ALineIsAnsweredOnceAsAPortableRecordAndReported)
{
    RequestRouter router;
    std::vector<std::string> reports;
    addChatHandlers(router, [&reports](const std::string& line) { reports.push_back(line); });
    for (const ChatCase& chatCase : kChatCases) {
        SCOPED_TRACE(chatCase.what);
        reports.clear();
        const std::vector<Message> answers = ask(router, Message("chat", Params(chatCase.request)));
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0].name, "chat");
        EXPECT_EQ(answers[0].child_count(), 0u);
        EXPECT_EQ(answers[0].params(), Params(chatCase.answer)) << answers[0].dump_text();
        EXPECT_EQ(reports, std::vector<std::string>{chatCase.reported});
    }
}

const char* const kPeers = R"(<m n="unit"><m n="peerList">
  <m n="peer"><i k="id">1</i><s k="name">Studio A</s><b k="active">false</b></m>
  <m n="peer"><i k="id">3</i><s k="name">OB Van 2</s><b k="active">%s</b></m>
  <m n="peer"><i k="id">4</i><s k="name">Remote Booth</s><b k="active">%s</b></m>
</m></m>)";

struct FarEndCase {
    const char* what;
    const char* vanActive;
    const char* boothActive;
    const char* from;
};

const std::vector<FarEndCase> kFarEndCases = {
    {"no call", "false", "false", "Far End"},
    {"one call", "false", "true", "Remote Booth"},
    {"two calls: the first listed", "true", "true", "OB Van 2"},
};

TEST(ChatHandlers, TheFarEndSpeaksAsTheRemoteInTheCall)
{
    for (const FarEndCase& farEnd : kFarEndCases) {
        SCOPED_TRACE(farEnd.what);
        char scenario[512];
        std::snprintf(scenario, sizeof scenario, kPeers, farEnd.vanActive, farEnd.boothActive);
        Unit unit(1);
        std::string error;
        ASSERT_TRUE(unit.loadText(scenario, error)) << error;

        const Message line = farEndChatLine(unit, "we hear you");
        EXPECT_EQ(line.name, "chat");
        Params expected("type=message when=\"\" text=\"we hear you\" portable:b=false");
        expected.set_string("from", farEnd.from);
        EXPECT_EQ(line.params(), expected) << line.dump_text();
    }
}

TEST(ChatHandlers, AUnitWithoutRemotesStillHasAFarEnd)
{
    Unit unit(1);
    std::string error;
    ASSERT_TRUE(unit.loadText("<m n=\"unit\"/>", error)) << error;
    EXPECT_EQ(farEndChatLine(unit, "hello").params().get_string("from", ""), "Far End");
}

} // namespace
