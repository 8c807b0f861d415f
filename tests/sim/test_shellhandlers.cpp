#include "reply.h"
#include "requestrouter.h"
#include "shellhandlers.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct ShellCase {
    const char* label;
    Message request;
    std::string reported;
    bool resets;
};

Message metering()
{
    Message request("setMetering", Params("seq=metering"));
    request.add_child("meter").params() = Params("x:u=555 y:u=461 width:u=78 height:u=2 channel:u=0 playback:b=false");
    request.add_child("meter").params() = Params("x:u=35 y:u=120 width:u=170 height:u=17 channel:u=1 playback:b=true");
    return request;
}

std::vector<ShellCase> cases()
{
    return {
        {"meters", metering(), "metering bars=2 555,461,78x2:in0 35,120,170x17:play1", false},
        {"meters off", Message("setMetering", Params("seq=metering")), "metering bars=0", false},
        {"contact closed", Message("setRemoteCC", Params("id:i=0 state:b=true seq=remoteCC")), "remoteCC id=0 state=closed",
         false},
        {"contact open", Message("setRemoteCC", Params("id:i=2 state:b=false seq=remoteCC")), "remoteCC id=2 state=open",
         false},
        {"factory reset", Message("reset", Params("what=cfg seq=reset")), "reset what=cfg", true},
        {"reset of something else", Message("reset", Params("what=logs seq=reset")), "reset what=logs", false},
    };
}

class ShellHandlers : public ::testing::TestWithParam<ShellCase> {};

TEST_P(ShellHandlers, ReportAndAnswerUnderTheSeq)
{
    const ShellCase& c = GetParam();
    std::vector<std::string> reports;
    int resets = 0;
    RequestRouter router;
    addShellHandlers(router, [&](const std::string& line) { reports.push_back(line); }, [&] { ++resets; });

    std::vector<Message> answers;
    Reply reply([&](const Message& answer) { answers.push_back(answer); }, c.request);
    ASSERT_TRUE(router.dispatch(c.request, reply));

    EXPECT_EQ(reports, std::vector<std::string>{c.reported});
    EXPECT_EQ(resets, c.resets ? 1 : 0);
    ASSERT_EQ(answers.size(), 1u);
    const std::string seq = c.request.params().get_string("seq", "");
    EXPECT_EQ(answers[0].name, seq);
    EXPECT_EQ(answers[0].params().get_string("seq", ""), seq);
}

INSTANTIATE_TEST_SUITE_P(Requests, ShellHandlers, ::testing::ValuesIn(cases()),
                         [](const auto& info) {
                             std::string name = info.param.label;
                             for (char& ch : name)
                                 if (!isalnum(static_cast<unsigned char>(ch)))
                                     ch = '_';
                             return name;
                         });

} // namespace
