#include "bytestring.h"
#include "codec.h"
#include "utf8.h"

#include <gtest/gtest.h>

#include <functional>
#include <variant>

using namespace ipc;
using namespace std::string_literals;

namespace {

// Every param type at its extremes, strings awkward for one encoding or the other, nested children.
Message rich_message()
{
    Message message("peerList", Params("int_min:i=-2147483648 int_max:i=2147483647 uint_max:u=4294967295 "
                                       "yes:b=true no:b=false"));
    std::string allBytes;
    for (int i = 0; i < 256; ++i)
        allBytes += static_cast<char>(i);
    message.params().set_string("binary", allBytes);
    for (const std::string& text : {"line\r\nend\r"s, "  padded  "s, "\0nul\0"s, "\xed\xa0\x80"s,
                                    "\xf0\x9f\x8e\x99"s, "]]>&lt;&#0;\"'"s, "trailing byte \xe2\x82"s, ""s}) {
        message.params().set_string(text, text);
        message.add_child(text).params().set_int(text, 1);
    }
    message.add_child("peer").add_child("stats").add_child("channel").params().set_uint("lost", 12);
    return message;
}

Message chain(std::size_t depth)
{
    Message root("level");
    Message* current = &root;
    for (std::size_t level = 1; level < depth; ++level)
        current = &current->add_child("level");
    return root;
}

// A tree at each limit, given its size, with the limit and the reason a tree one beyond is refused.
// Parameters come in two types, so that their limit counts across types.
const std::tuple<std::function<Message(std::size_t)>, std::size_t, const char*> kLimitCases[] = {
    {chain, Limits::kMaxDepth, "nested deeper than 64"},
    {[](std::size_t nodes) {
         Message root("list");
         for (std::size_t i = 1; i < nodes; ++i)
             root.add_child("");
         return root;
     },
     Limits::kMaxNodes, "more than 200000 messages"},
    {[](std::size_t count) {
         Message settings("settings");
         for (std::size_t i = 0; i < count; ++i)
             settings.params().set("k" + std::to_string(i), i % 2 ? ParamValue(-1) : ParamValue("s"s));
         return settings;
     },
     Limits::kMaxParamsPerNode, "more than 4096 parameters"},
    {[](std::size_t keyBytes) { return Message("m", Params((std::string(keyBytes, 'k') + ":b=true").c_str())); },
     Limits::kMaxKeyBytes, "key longer than 256 bytes"}};

// What `data` decodes to, or a message named "<refused: ERROR>".
Message decoded(Encoding encoding, const std::string& data)
{
    Message out;
    std::string error;
    return decode(encoding, data.data(), data.size(), out, error) ? out : Message("<refused: " + error + ">");
}

// Refused with an error that holds `reason`.
void expect_refused(Encoding encoding, const std::string& data, const std::string& reason)
{
    const std::string name = decoded(encoding, data).name;
    EXPECT_TRUE(name.rfind("<refused: ", 0) == 0 && name != "<refused: >" && name.find(reason) != std::string::npos)
        << data.size() << " bytes: " << name;
}

// A compact map of one-letter keys in the order given, each with the same encoded value.
std::string map(const std::string& keys, const std::string& value)
{
    std::string out = bytes({0xa0 + static_cast<int>(keys.size())});
    for (const char key : keys)
        out += bytes({0x61, key}) + value;
    return out;
}

// A compact message "m" without children whose four maps hold the keys given: strings "v", ints 1,
// uints 2, bools true.
std::string compact(const std::string& strings, const std::string& ints = "", const std::string& uints = "",
                    const std::string& bools = "")
{
    return bytes({0x86, 0x61, 'm'}) + map(strings, bytes({0x61, 'v'})) + map(ints, bytes({0x01}))
        + map(uints, bytes({0x02})) + map(bools, bytes({0xf5})) + bytes({0x80});
}

std::string keys_of(const Params& params)
{
    std::string keys;
    for (const auto& entry : params.values())
        keys += entry.first + ",";
    return keys;
}

class Codec : public ::testing::TestWithParam<Encoding> {};

// Round trips every param type up to each limit and refuses one beyond, every truncation and trailing
// bytes, with a reason.
TEST_P(Codec, RoundTripsUpToEachLimitAndRefusesWhatIsBeyondTruncatedOrTrailing)
{
    for (const Message& message : {rich_message(), Message()})
        EXPECT_EQ(decoded(GetParam(), encode(GetParam(), message)), message);
    std::string error;
    for (const auto& [build, limit, reason] : kLimitCases) {
        EXPECT_EQ(decoded(GetParam(), encode(GetParam(), build(limit))), build(limit)) << reason;
        expect_refused(GetParam(), encode(GetParam(), build(limit + 1)), reason);
        // The sending side refuses exactly what the decoder at the other end would.
        EXPECT_TRUE(within_limits(build(limit), nullptr, error)) << error;
        EXPECT_FALSE(within_limits(build(limit + 1), nullptr, error));
        EXPECT_NE(error.find(reason), std::string::npos) << "error was: " << error;
    }
    const Message big("big", Params(("blob=" + std::string(Limits::kMaxFrameBytes, 'x')).c_str()));
    expect_refused(GetParam(), encode(GetParam(), big), "exceeds the frame limit");
    const std::string whole = encode(GetParam(), rich_message());
    for (std::size_t size = 0; size < whole.size(); ++size)
        expect_refused(GetParam(), whole.substr(0, size), "");
    for (const std::string& data : {whole + "x", whole + whole})
        expect_refused(GetParam(), data, "");
}

INSTANTIATE_TEST_SUITE_P(Both, Codec, ::testing::Values(Encoding::Compact, Encoding::Xmls),
                         [](const ::testing::TestParamInfo<Encoding>& info) { return encoding_name(info.param); });

TEST(CompactCodec, LayoutIsAnArrayOfNameTypedMapsAndChildrenWithTheShortestHeads)
{
    Message message("m", Params("s=v i:i=-1 j:i=1 u:u=2 b:b=true"));
    message.add_child("m");
    message.params().set_string("x", "\xff"s);
    EXPECT_EQ(encode(Encoding::Compact, message),
              bytes({0x86, 0x61, 'm',                                   // [6] name
                     0xa2, 0x61, 's', 0x61, 'v', 0x61, 'x', 0x41, 0xff, // strings, text or bytes
                     0xa2, 0x61, 'i', 0x20, 0x61, 'j', 0x01,            // ints
                     0xa1, 0x61, 'u', 0x02,                             // uints
                     0xa1, 0x61, 'b', 0xf5, 0x81})                      // bools, children
                  + compact(""));
    const std::pair<ParamValue, std::string> heads[] = {
        {23u, bytes({0x17})}, {24u, bytes({0x18, 24})}, {255u, bytes({0x18, 0xff})}, {256u, bytes({0x19, 1, 0})},
        {65535u, bytes({0x19, 0xff, 0xff})}, {65536u, bytes({0x1a, 0, 1, 0, 0})},
        {4294967295u, bytes({0x1a, 0xff, 0xff, 0xff, 0xff})}, {-25, bytes({0x38, 24})},
        {-2147483647 - 1, bytes({0x3a, 0x7f, 0xff, 0xff, 0xff})},
        {std::string(24, 'x'), bytes({0x78, 24}) + std::string(24, 'x')}, {false, bytes({0xf4})}};
    for (const auto& [value, head] : heads) {
        std::string maps;
        for (std::size_t i = 0; i < std::variant_size_v<ParamValue>; ++i)
            maps += i == value.index() ? bytes({0xa1, 0x61, 'k'}) + head : bytes({0xa0});
        Params params;
        params.set("k", value);
        EXPECT_EQ(encode(Encoding::Compact, Message("m", params)), bytes({0x86, 0x61, 'm'}) + maps + bytes({0x80}));
    }
}

// Parameters arrive in key order whatever order the maps hold them in.
TEST(CompactCodec, DecodesIntoKeyOrderAndRefusesMalformedInputWithAReason)
{
    const std::pair<std::string, const char*> sorted[] = {
        {compact("ad", "c", "b", "e"), "a,b,c,d,e,1"}, {compact("zd", "ca", "yb", "xe"), "a,b,c,d,e,x,y,z,1"},
        {compact("", "edcba"), "a,b,c,d,e,1"}};
    for (const auto& [data, keys] : sorted) {
        const Message out = decoded(Encoding::Compact, data);
        EXPECT_EQ(keys_of(out.params()) + std::to_string(out.params().get_int("c", -1)), keys) << out.name;
    }
    const std::string head = bytes({0x86, 0x61, 'm'});
    const std::string noChildren = compact("").substr(0, 7);
    const std::string huge = bytes({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff});
    const std::pair<std::string, const char*> cases[] = {
        {"", "truncated"}, {bytes({0x85, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0}), "array of 6"},
        {head + bytes({0x80}), "parameters are not a map"}, {head + map("x", bytes({0x01})), "does not fit"},
        {head + bytes({0xa0, 0xa0}) + map("x", bytes({0x20})), "does not fit"},
        {head + bytes({0xa0, 0xa0}) + map("x", bytes({0x1b, 0, 0, 0, 1, 0, 0, 0, 0})), "does not fit"},
        {compact("", "cac"), "given twice"}, {compact("", "bcab"), "given twice"}, {compact("q", "c", "", "q"), "given twice"},
        {compact("", "c", "", "zaz"), "given twice"}, {compact("", "ck", "k"), "given twice"},
        {head + bytes({0xbb}) + huge, "more than 4096 parameters"}, {noChildren + bytes({0x9b}) + huge, "more than 200000 messages"},
        {bytes({0x1c}), "malformed CBOR"}, {compact("") + bytes({0x00}), "1 bytes after the message"}};
    for (const auto& [data, reason] : cases)
        expect_refused(Encoding::Compact, data, reason);
}

TEST(XmlsCodec, WritesOneElementPerParameterAndHexWhereXmlCannot)
{
    Message message("peer", Params("id:i=-3 rate:u=64000 up:b=true none="));
    for (const auto& [key, text] : {std::pair{"name", "A & \"B\" <c>\t\r\n"s}, {"blob", "\x01\xff"s},
                                    {"replacement", "\xef\xbf\xbd"s}, {"reserved", "\xef\xbf\xbe"s}, {"private", "\xee\x80\x80"s}})
        message.params().set_string(key, text);
    message.add_child("\x02"s).params().set_bool("\x03"s, false);
    EXPECT_EQ(encode(Encoding::Xmls, message),
              "<m n=\"peer\"><s k=\"blob\" hex=\"1\">01ff</s><i k=\"id\">-3</i>"
              "<s k=\"name\">A &amp; &quot;B&quot; &lt;c&gt;&#9;&#13;&#10;</s><s k=\"none\"/>"
              "<s k=\"private\">\xee\x80\x80</s><u k=\"rate\">64000</u>"
              "<s k=\"replacement\">\xef\xbf\xbd</s><s k=\"reserved\" hex=\"1\">efbfbe</s>"
              "<b k=\"up\">true</b>"
              "<m n-hex=\"02\"><b k-hex=\"03\">false</b></m></m>");
    const std::pair<std::string, const char*> refused[] = {
        {"<m n=\"a\">", "no element found"}, {"<x/>", "unknown element <x>"},
        {"<m n=\"a\"><i k=\"x\">2147483648</i></m>", "not a valid i"}, {"<m n=\"a\">x</m>", "text outside a parameter"},
        {"<m n=\"a\"><s k=\"x\" hex=\"1\">abc</s></m>", "not a valid s"},
        {"<m n=\"a\"><s k=\"x\">1</s><i k=\"x\">1</i></m>", "given twice"},
        {"<!DOCTYPE m [<!ENTITY a \"aaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]><m n=\"&b;\"/>",
         "document type declaration"}};
    for (const auto& [data, reason] : refused)
        expect_refused(Encoding::Xmls, data, reason);
}

TEST(Codec, FramesNamesPatternsAndTheEnvelopesDepth)
{
    const std::string payload(0x0102, 'p');
    EXPECT_EQ(frame(payload), bytes({0, 0, 1, 2}) + payload);
    std::size_t payloadSize = 0;
    const std::pair<std::string, FrameStatus> cases[] = {
        {bytes({0, 0, 0, 3, 'a', 'b'}), FrameStatus::Incomplete}, {bytes({0, 0x80, 0, 0, 'a'}), FrameStatus::Incomplete},
        {bytes({0, 0x80, 0, 1}), FrameStatus::TooLarge}, {bytes({0, 0, 0, 1, 'a'}), FrameStatus::Complete}};
    for (const auto& [buffer, status] : cases)
        EXPECT_EQ(peek_frame(buffer.data(), buffer.size(), payloadSize), status) << buffer.size();
    EXPECT_EQ(payloadSize, 1u);

    // Encoding names parse back; patterns match a prefix or exactly.
    Encoding parsed = Encoding::Compact;
    EXPECT_TRUE(parse_encoding(encoding_name(Encoding::Xmls), parsed) && parsed == Encoding::Xmls);
    EXPECT_TRUE(parse_encoding(encoding_name(Encoding::Compact), parsed) && parsed == Encoding::Compact);
    EXPECT_FALSE(parse_encoding("json", parsed));
    const std::tuple<const char*, const char*, bool> patterns[] = {
        {"wifi:*", "wifi:wlan0", true}, {"wifi:*", "wifi", false}, {"peer_stats", "peer_stats2", false},
        {"*", "", true}, {"a*b", "axb", false}};
    for (const auto& [pattern, identifier, matches] : patterns)
        EXPECT_EQ(pattern_matches(pattern, identifier), matches) << pattern << " vs " << identifier;

    // The send-side limits count an envelope's depth too.
    std::string error;
    const Message deepest = chain(Limits::kMaxDepth - 1);
    const Message tooDeep = chain(Limits::kMaxDepth);
    EXPECT_TRUE(within_limits(Message(envelope::kCommand), &deepest, error)) << error;
    EXPECT_FALSE(within_limits(Message(envelope::kCommand), &tooDeep, error));
}

TEST(Utf8, AcceptsWellFormedTextOnlyAndAsksAboutEveryCodePoint)
{
    const std::pair<std::string, bool> cases[] = {
        {""s, true}, {"\0a"s, true}, {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x8e\x99"s, true}, {"\xf4\x8f\xbf\xbf"s, true},
        {"\xf4\x90\x80\x80"s, false}, {"\xc0\x80"s, false}, {"\xe0\x9f\xbf"s, false}, {"\xf0\x8f\xbf\xbf"s, false},
        {"\xed\xa0\x80"s, false}, {"\xe2\x82"s, false}, {"\xe2\x28\xa1"s, false}, {"\xf8\x88\x80\x80\x80"s, false},
        {"\x80"s, false}};
    for (const auto& [text, valid] : cases)
        EXPECT_EQ(utf8_all_of(text, [](char32_t) { return true; }), valid) << testing::PrintToString(text);
    EXPECT_FALSE(utf8_all_of("ab", [](char32_t c) { return c != 'b'; }));
}

TEST(ParamsOrder, ValuesComeInKeyOrderBytewiseAndAssignRefusesAKeyGivenTwiceLeavingTheOldSet)
{
    Params params;
    for (const std::string& key : {"b"s, "ab"s, "\xc3\xa9"s, "a"s, "B"s, ""s, "a\x01"s})
        params.set_int(key, 1);
    EXPECT_EQ(keys_of(params), ",B,a,a\x01,ab,b,\xc3\xa9,");
    params.set_string("a", "again");
    EXPECT_TRUE(params.remove("ab"));
    EXPECT_FALSE(params.remove("ab"));
    EXPECT_EQ(keys_of(params) + params.get_string("a", ""), ",B,a,a\x01,b,\xc3\xa9,again");
    std::string duplicate;
    EXPECT_TRUE(params.assign({{"c", 3}, {"a", 1u}, {"b", true}}, duplicate));
    EXPECT_EQ(params, Params("a:u=1 b:b=true c:i=3"));
    EXPECT_FALSE(params.assign({{"x", 1}, {"y", 2}, {"x", "again"s}}, duplicate));
    EXPECT_EQ(duplicate, "x");
    EXPECT_EQ(params, Params("a:u=1 b:b=true c:i=3"));
}

} // namespace
