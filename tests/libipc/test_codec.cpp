#include "codec.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <vector>

using namespace ipc;
using namespace std::string_literals;

namespace {

std::string bytes(std::initializer_list<int> values)
{
    std::string out;
    for (const int value : values)
        out += static_cast<char>(value);
    return out;
}

// Every param type at its extremes, strings awkward for one encoding or the other, nested children.
Message rich_message()
{
    Message message("peerList");
    Params& params = message.params();
    params.set_int("int_min", std::numeric_limits<int32_t>::min());
    params.set_int("int_max", std::numeric_limits<int32_t>::max());
    params.set_uint("uint_max", std::numeric_limits<uint32_t>::max());
    params.set_uint("uint_small", 23);
    params.set_bool("yes", true);
    params.set_bool("no", false);
    std::string allBytes;
    for (int i = 0; i < 256; ++i)
        allBytes += static_cast<char>(i);
    params.set_string("binary", allBytes);
    for (const std::string& text : {"line\r\nend\r"s, "  padded  "s, "\0nul\0"s, "\xc3\x28"s,
                                    "\xed\xa0\x80"s, "\xef\xbf\xbe"s, "\xf0\x9f\x8e\x99"s, "]]>&lt;&#0;\"'"s,
                                    "trailing byte \xe2\x82"s, ""s}) {
        params.set_string(text, text);
        message.add_child(text).params().set_int(text, 1);
    }
    Message& peer = message.add_child("peer");
    peer.params().set_int("id", 3);
    peer.add_child("stats").add_child("channel").params().set_uint("lost", 12);
    message.add_child("peer").params().set_int("id", 4);
    return message;
}

Message chain(unsigned int depth)
{
    Message root("level");
    Message* current = &root;
    for (unsigned int level = 1; level < depth; ++level)
        current = &current->add_child("level");
    return root;
}

Message flat(std::size_t children)
{
    Message root("list");
    for (std::size_t i = 0; i < children; ++i)
        root.add_child("");
    return root;
}

// Parameters of every type, so that the limit counts across types.
Message with_params(std::size_t count)
{
    Message message("settings");
    for (std::size_t i = 0; i < count; ++i) {
        const std::string key = "k" + std::to_string(i);
        switch (i % 4) {
        case 0: message.params().set_string(key, key); break;
        case 1: message.params().set_int(key, -static_cast<int32_t>(i)); break;
        case 2: message.params().set_uint(key, static_cast<uint32_t>(i)); break;
        default: message.params().set_bool(key, i % 8 == 3); break;
        }
    }
    return message;
}

Message with_key(std::size_t keyBytes)
{
    Message message("m");
    message.params().set_bool(std::string(keyBytes, 'k'), true);
    return message;
}

void expect_refused(Encoding encoding, const std::string& data, const std::string& reason)
{
    Message out;
    std::string error;
    EXPECT_FALSE(decode(encoding, data.data(), data.size(), out, error));
    EXPECT_NE(error.find(reason), std::string::npos) << "error was: " << error;
}

class Codec : public ::testing::TestWithParam<Encoding> {
protected:
    std::string encoded(const Message& message) const { return encode(GetParam(), message); }

    void expect_round_trip(const Message& message) const
    {
        Message back;
        std::string error;
        const std::string data = encoded(message);
        ASSERT_TRUE(decode(GetParam(), data.data(), data.size(), back, error)) << error;
        EXPECT_EQ(back, message) << back.dump_text();
    }
};

TEST_P(Codec, RoundTripsEveryParamTypeAndTreesUpToEveryLimit)
{
    expect_round_trip(rich_message());
    expect_round_trip(Message());
    expect_round_trip(chain(Limits::kMaxDepth));
    expect_round_trip(flat(Limits::kMaxNodes - 1));
    expect_round_trip(with_params(Limits::kMaxParamsPerNode));
    expect_round_trip(with_key(Limits::kMaxKeyBytes));
}

TEST_P(Codec, RefusesTreesBeyondALimitWithAReason)
{
    Message big("big");
    big.params().set_string("blob", std::string(Limits::kMaxFrameBytes, 'x'));
    const std::pair<Message, const char*> cases[] = {
        {chain(Limits::kMaxDepth + 1), "nested deeper than 64"},
        {flat(Limits::kMaxNodes), "more than 200000 messages"},
        {with_params(Limits::kMaxParamsPerNode + 1), "more than 4096 parameters"},
        {with_key(Limits::kMaxKeyBytes + 1), "key longer than 256 bytes"},
        {big, "exceeds the frame limit"}};
    for (const auto& [message, reason] : cases)
        expect_refused(GetParam(), encoded(message), reason);
}

TEST_P(Codec, RefusesEveryTruncationAndTrailingBytesLeavingTheOutputUntouched)
{
    const std::string whole = encoded(rich_message());
    const Message before("untouched");
    Message out = before;
    std::string error;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ASSERT_FALSE(decode(GetParam(), whole.data(), size, out, error)) << "prefix of " << size << " bytes";
        ASSERT_FALSE(error.empty());
    }
    for (const std::string& data : {whole + "x", whole + whole})
        EXPECT_FALSE(decode(GetParam(), data.data(), data.size(), out, error));
    EXPECT_EQ(out, before);
}

INSTANTIATE_TEST_SUITE_P(Both, Codec, ::testing::Values(Encoding::Compact, Encoding::Xmls),
                         [](const ::testing::TestParamInfo<Encoding>& info) { return encoding_name(info.param); });

TEST(CompactCodec, LayoutIsAnArrayOfNameTypedMapsAndChildren)
{
    Message message("a", Params("s=t i:i=-1 j:i=1 u:u=2 b:b=true"));
    message.add_child("c");
    message.params().set_string("x", "\xff"s);
    EXPECT_EQ(encode(Encoding::Compact, message),
              bytes({0x86, 0x61, 'a',                                   // [6] name
                     0xa2, 0x61, 's', 0x61, 't', 0x61, 'x', 0x41, 0xff, // strings
                     0xa2, 0x61, 'i', 0x20, 0x61, 'j', 0x01,            // ints
                     0xa1, 0x61, 'u', 0x02,                             // uints
                     0xa1, 0x61, 'b', 0xf5,                             // bools
                     0x81, 0x86, 0x61, 'c', 0xa0, 0xa0, 0xa0, 0xa0, 0x80}));
}

TEST(CompactCodec, MalformedInputIsRefusedWithAReason)
{
    const std::string head = bytes({0x86, 0x61, 'a'});
    const std::string noMap = bytes({0xa0});
    const std::string oneKey = bytes({0xa1, 0x61, 'x'});
    const std::pair<std::string, const char*> cases[] = {
        {"", "truncated"},
        {bytes({0x85, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0}), "array of 6"},
        {bytes({0x9f, 0xff}), "array of 6"},
        {bytes({0x86, 0x01}), "name is not a string"},
        {head + bytes({0x80}), "parameters are not a map"},
        {head + bytes({0xa1, 0x01, 0x01}), "key is not a string"},
        {head + oneKey + bytes({0x01}), "does not fit"},
        {head + noMap + oneKey + bytes({0x1a, 0x80, 0, 0, 0}), "does not fit"},
        {head + noMap + noMap + oneKey + bytes({0x20}), "does not fit"},
        {head + noMap + noMap + noMap + oneKey + bytes({0xf6}), "does not fit"},
        {head + oneKey + bytes({0x61, 't'}) + oneKey + bytes({0x01}), "given twice"},
        {head + bytes({0xbb, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}), "more than 4096 parameters"},
        {head + noMap + noMap + noMap + noMap + bytes({0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
         "more than 200000 messages"},
        {head + noMap + noMap + noMap + noMap + noMap, "children are not an array"},
        {bytes({0x1c}), "malformed CBOR"},
        {bytes({0x86, 0x7a, 0xff, 0xff, 0xff, 0xff}), "truncated"},
        {head + noMap + noMap + noMap + noMap + bytes({0x80, 0x00}), "1 bytes after the message"}};
    for (const auto& [data, reason] : cases)
        expect_refused(Encoding::Compact, data, reason);
}

TEST(XmlsCodec, WritesOneElementPerParameterAndHexWhereXmlCannot)
{
    Message message("peer", Params("id:i=-3 rate:u=64000 up:b=true none="));
    message.params().set_string("name", "A & \"B\" <c>\t\r\n");
    message.params().set_string("blob", "\x01\xff"s);
    message.add_child("\x02"s).params().set_bool("\x03"s, false);
    EXPECT_EQ(encode(Encoding::Xmls, message),
              "<m n=\"peer\">"
              "<s k=\"blob\" hex=\"1\">01ff</s>"
              "<i k=\"id\">-3</i>"
              "<s k=\"name\">A &amp; &quot;B&quot; &lt;c&gt;&#9;&#13;&#10;</s>"
              "<s k=\"none\"/>"
              "<u k=\"rate\">64000</u>"
              "<b k=\"up\">true</b>"
              "<m n-hex=\"02\"><b k-hex=\"03\">false</b></m>"
              "</m>");
}

TEST(XmlsCodec, ReadsAHandWrittenIndentedFile)
{
    const std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- one remote -->
<m n="peerList">
  <m n="peer">
    <i k="id"> 3 </i>
    <b k="active">
      true
    </b>
    <s k="note">  blanks &amp; entities &#x263A; kept  </s>
    <s k="bytes" hex="1">C328</s>
    <b k-hex="01">0</b>
  </m>
</m>
)";
    Message expected("peerList");
    Message& peer = expected.add_child("peer");
    peer.params() = Params("id:i=3 active:b=true");
    peer.params().set_string("note", "  blanks & entities \xe2\x98\xba kept  ");
    peer.params().set_string("bytes", "\xc3\x28");
    peer.params().set_bool("\x01", false);
    Message out;
    std::string error;
    ASSERT_TRUE(decode(Encoding::Xmls, text.data(), text.size(), out, error)) << error;
    EXPECT_EQ(out, expected) << out.dump_text();
}

TEST(XmlsCodec, MalformedInputIsRefusedWithAReason)
{
    const std::pair<std::string, const char*> cases[] = {
        {"<m n=\"a\">", "no element found"},
        {"<m n=\"a\"/><m n=\"b\"/>", "junk after document element"},
        {"<x/>", "unknown element <x>"},
        {"<s k=\"a\">1</s>", "root element must be <m>"},
        {"<m n=\"a\" z=\"1\"/>", "unknown attribute 'z'"},
        {"<m/>", "missing attribute 'n'"},
        {"<m n=\"a\"><s>x</s></m>", "missing attribute 'k'"},
        {"<m n=\"a\"> stray </m>", "text outside a parameter"},
        {"<m n=\"a\"><s k=\"x\"><m n=\"b\"/></s></m>", "element inside a parameter"},
        {"<m n=\"a\"><i k=\"x\">2147483648</i></m>", "not a valid i"},
        {"<m n=\"a\"><u k=\"x\">-1</u></m>", "not a valid u"},
        {"<m n=\"a\"><b k=\"x\">yes</b></m>", "not a valid b"},
        {"<m n=\"a\"><s k=\"x\" hex=\"1\">abc</s></m>", "not a valid s"},
        {"<m n-hex=\"zz\"/>", "attribute 'n-hex' is not hex"},
        {"<m n=\"a\" n-hex=\"61\"/>", "both 'n' and 'n-hex' given"},
        {"<m n=\"a\"><s k=\"x\" hex=\"maybe\">00</s></m>", "hex must be 1 or 0"},
        {"<m n=\"a\"><i k=\"x\" hex=\"1\">01</i></m>", "unknown attribute 'hex'"},
        {"<m n=\"a\"><s k=\"x\">1</s><i k=\"x\">1</i></m>", "given twice"},
        {"<!DOCTYPE m [<!ENTITY a \"aaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]><m n=\"&b;\"/>",
         "document type declaration"},
        {"<m n=\"\xff\"/>", "not well-formed"}};
    for (const auto& [data, reason] : cases)
        expect_refused(Encoding::Xmls, data, reason);
}

TEST(Frame, PrefixesTheBigEndianLengthAndPeekChecksTheLimit)
{
    const std::string payload(0x0102, 'p');
    EXPECT_EQ(frame(payload), bytes({0, 0, 1, 2}) + payload);
    const std::tuple<std::string, FrameStatus, std::size_t> cases[] = {
        {bytes({0, 0, 0}), FrameStatus::Incomplete, 0},
        {bytes({0, 0, 0, 3, 'a', 'b'}), FrameStatus::Incomplete, 0},
        {bytes({0, 0, 0, 1, 'a', 0, 0}), FrameStatus::Complete, 1},
        {bytes({0, 0x80, 0, 0, 'a'}), FrameStatus::Incomplete, 0},
        {bytes({0, 0x80, 0, 1}), FrameStatus::TooLarge, 0},
        {bytes({0xff, 0xff, 0xff, 0xff}), FrameStatus::TooLarge, 0}};
    for (const auto& [buffer, status, size] : cases) {
        std::size_t payloadSize = 12345;
        EXPECT_EQ(peek_frame(buffer.data(), buffer.size(), payloadSize), status) << buffer.size();
        if (status == FrameStatus::Complete) {
            EXPECT_EQ(payloadSize, size);
        }
    }
}

TEST(PatternMatches, StarSuffixMatchesPrefixElseExact)
{
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"wifi:*", "wifi:wlan0", true}, {"wifi:*", "wifi:", true},           {"wifi:*", "wifi", false},
        {"peer_stats", "peer_stats", true}, {"peer_stats", "peer_stats2", false}, {"*", "", true},
        {"a*b", "a*b", true},           {"a*b", "axb", false}};
    for (const auto& [pattern, identifier, matches] : cases)
        EXPECT_EQ(pattern_matches(pattern, identifier), matches) << pattern << " vs " << identifier;
}

TEST(Encoding, NamesParseBackAndNothingElseParses)
{
    Encoding parsed = Encoding::Compact;
    EXPECT_TRUE(parse_encoding("xmls", parsed));
    EXPECT_EQ(parsed, Encoding::Xmls);
    EXPECT_TRUE(parse_encoding(encoding_name(Encoding::Compact), parsed));
    EXPECT_EQ(parsed, Encoding::Compact);
    EXPECT_FALSE(parse_encoding("COMPACT", parsed));
    EXPECT_FALSE(parse_encoding("xml", parsed));
    EXPECT_EQ(parsed, Encoding::Compact);
}

} // namespace
