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

std::string all_bytes()
{
    std::string bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    return bytes;
}

Message rich_message()
{
    Message message("peerList");
    Params& params = message.params();
    params.set_int("int_min", std::numeric_limits<int32_t>::min());
    params.set_int("int_max", std::numeric_limits<int32_t>::max());
    params.set_int("int_zero", 0);
    params.set_int("int_minus_one", -1);
    params.set_uint("uint_max", std::numeric_limits<uint32_t>::max());
    params.set_uint("uint_zero", 0);
    params.set_uint("uint_small", 23);
    params.set_uint("uint_mid", 64000);
    params.set_bool("yes", true);
    params.set_bool("no", false);
    params.set_string("empty", "");
    params.set_string("text", "Studio A");
    params.set_string("markup", "<a href=\"x\">&amp;</a> ]]> 'q'");
    params.set_string("binary", all_bytes());
    params.set_string("", "under an empty key");

    Message& peer = message.add_child("peer");
    peer.params().set_int("id", 3);
    peer.add_child("stats").add_child("channel").params().set_uint("lost", 12);
    message.add_child("peer").params().set_int("id", 4);
    message.add_child("");
    message.add_child("other").add_child("peer");
    return message;
}

// Strings that are awkward for one encoding or the other.
const std::vector<std::string> kAwkwardStrings = {
    "\x01\x02\x1f"s,        "line\r\nend\r"s,     "\ttab\n"s,        "  padded  "s,         "\0nul\0"s,
    "\xc3\x28"s,            "\xc0\xaf"s,          "\xed\xa0\x80"s,   "\xef\xbf\xbe"s,       "\xf4\x90\x80\x80"s,
    "\xf0\x9f\x8e\x99"s,    "\xc2\x85\xc2\x9f"s,  "]]><!--"s,        "&lt;&#0;&foo;"s,      "\"'<>&"s,
    "trailing byte \xe2\x82"s, std::string(256, 'k'),
};

Message awkward_message()
{
    Message message("awkward");
    for (const std::string& text : kAwkwardStrings) {
        message.params().set_string(text, text);
        message.add_child(text).params().set_int(text, 1);
    }
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

class Codec : public ::testing::TestWithParam<Encoding> {
protected:
    std::string encoded(const Message& message) const { return encode(GetParam(), message); }

    ::testing::AssertionResult decodes(const std::string& data, Message& out, std::string& error) const
    {
        error.clear();
        if (decode(GetParam(), data.data(), data.size(), out, error))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "decode failed: " << error;
    }

    ::testing::AssertionResult round_trips(const Message& message) const
    {
        Message back;
        std::string error;
        const auto result = decodes(encoded(message), back, error);
        if (!result)
            return result;
        if (back != message)
            return ::testing::AssertionFailure() << "decoded tree differs:\n" << back.dump_text();
        return ::testing::AssertionSuccess();
    }

    void expect_refused(const std::string& data, const std::string& reason) const
    {
        Message out;
        std::string error;
        EXPECT_FALSE(decodes(data, out, error));
        EXPECT_NE(error.find(reason), std::string::npos) << "error was: " << error;
    }
};

TEST_P(Codec, RoundTripsEveryParamTypeAndItsExtremes)
{
    EXPECT_TRUE(round_trips(rich_message()));
    EXPECT_TRUE(round_trips(Message()));
}

TEST_P(Codec, RoundTripsStringsThatAreNotPlainText)
{
    EXPECT_TRUE(round_trips(awkward_message()));
}

TEST_P(Codec, RoundTripsTreesUpToEveryLimit)
{
    EXPECT_TRUE(round_trips(chain(Limits::kMaxDepth)));
    EXPECT_TRUE(round_trips(flat(Limits::kMaxNodes - 1)));
    EXPECT_TRUE(round_trips(with_params(Limits::kMaxParamsPerNode)));
    EXPECT_TRUE(round_trips(with_key(Limits::kMaxKeyBytes)));

    Message wide("wide");
    for (int i = 0; i < 3000; ++i) {
        Message& child = wide.add_child(i % 2 ? "odd" : "even");
        child.params().set_int("i", -i);
        child.params().set_string("s", std::to_string(i));
        child.add_child("leaf").params().set_bool("b", i % 3 == 0);
    }
    EXPECT_TRUE(round_trips(wide));
}

struct LimitCase {
    const char* label;
    std::function<Message()> build;
    const char* reason;
};

const LimitCase kLimitCases[] = {
    {"too_deep", [] { return chain(Limits::kMaxDepth + 1); }, "nested deeper than 64"},
    {"too_many_nodes", [] { return flat(Limits::kMaxNodes); }, "more than 200000 messages"},
    {"too_many_params", [] { return with_params(Limits::kMaxParamsPerNode + 1); }, "more than 4096 parameters"},
    {"key_too_long", [] { return with_key(Limits::kMaxKeyBytes + 1); }, "key longer than 256 bytes"},
};

TEST_P(Codec, RefusesTreesBeyondALimitWithAReason)
{
    for (const LimitCase& c : kLimitCases) {
        SCOPED_TRACE(c.label);
        expect_refused(encoded(c.build()), c.reason);
    }
}

TEST_P(Codec, RefusesAPayloadLargerThanAFrame)
{
    Message big("big");
    big.params().set_string("blob", std::string(Limits::kMaxFrameBytes, 'x'));
    expect_refused(encoded(big), "exceeds the frame limit");
}

TEST_P(Codec, RefusesEveryTruncation)
{
    const std::string whole = encoded(rich_message());
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Message out;
        std::string error;
        ASSERT_FALSE(decode(GetParam(), whole.data(), size, out, error)) << "prefix of " << size << " bytes";
        ASSERT_FALSE(error.empty());
    }
}

TEST_P(Codec, RefusesBytesAfterTheMessage)
{
    const std::string whole = encoded(rich_message());
    Message out;
    std::string error;
    EXPECT_FALSE(decodes(whole + "x", out, error));
    EXPECT_FALSE(decodes(whole + whole, out, error));
    EXPECT_FALSE(decodes(whole + '\0', out, error));
}

TEST_P(Codec, FailureLeavesTheOutputUntouched)
{
    const Message before = rich_message();
    Message out = before;
    std::string error;
    const std::string whole = encoded(Message("other"));
    EXPECT_FALSE(decodes(whole.substr(0, whole.size() - 1), out, error));
    EXPECT_EQ(out, before);
}

INSTANTIATE_TEST_SUITE_P(Both, Codec, ::testing::Values(Encoding::Compact, Encoding::Xmls),
                         [](const ::testing::TestParamInfo<Encoding>& info) { return encoding_name(info.param); });

std::string bytes(std::initializer_list<int> values)
{
    std::string out;
    for (const int value : values)
        out += static_cast<char>(value);
    return out;
}

TEST(CompactCodec, LayoutIsAnArrayOfNameTypedMapsAndChildren)
{
    Message message("a");
    message.params().set_string("s", "t");
    message.params().set_int("i", -1);
    message.params().set_int("j", 1);
    message.params().set_uint("u", 2);
    message.params().set_bool("b", true);
    message.add_child("c");
    message.params().set_string("x", "\xff"s);
    const std::string expected = bytes({0x86, 0x61, 'a',                                   // [6] name
                                        0xa2, 0x61, 's', 0x61, 't', 0x61, 'x', 0x41, 0xff, // strings
                                        0xa2, 0x61, 'i', 0x20, 0x61, 'j', 0x01,            // ints
                                        0xa1, 0x61, 'u', 0x02,                             // uints
                                        0xa1, 0x61, 'b', 0xf5,                             // bools
                                        0x81, 0x86, 0x61, 'c', 0xa0, 0xa0, 0xa0, 0xa0, 0x80});
    EXPECT_EQ(encode(Encoding::Compact, message), expected);
}

// A message "a" whose parameter maps are given; no children.
std::string compact_message(const std::string& strings, const std::string& ints, const std::string& uints,
                            const std::string& bools)
{
    return bytes({0x86, 0x61, 'a'}) + strings + ints + uints + bools + bytes({0x80});
}

struct MalformedCase {
    const char* label;
    std::string data;
    const char* reason;
};

class CompactMalformed : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(CompactMalformed, IsRefusedWithAReason)
{
    const MalformedCase& c = GetParam();
    Message out;
    std::string error;
    EXPECT_FALSE(decode(Encoding::Compact, c.data.data(), c.data.size(), out, error));
    EXPECT_NE(error.find(c.reason), std::string::npos) << "error was: " << error;
}

const std::string kNoMap = bytes({0xa0});
const std::string kOneKey = bytes({0xa1, 0x61, 'x'});

INSTANTIATE_TEST_SUITE_P(
    Table, CompactMalformed,
    ::testing::Values(
        MalformedCase{"empty", "", "truncated"},
        MalformedCase{"five_items", bytes({0x85, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0}), "array of 6"},
        MalformedCase{"map_root", bytes({0xa0}), "array of 6"},
        MalformedCase{"tagged_root", bytes({0xc1, 0x86}), "array of 6"},
        MalformedCase{"indefinite_root", bytes({0x9f, 0xff}), "array of 6"},
        MalformedCase{"name_not_string", bytes({0x86, 0x01}), "name is not a string"},
        MalformedCase{"indefinite_name", bytes({0x86, 0x7f, 0x61, 'a', 0xff}), "name is not a string"},
        MalformedCase{"params_not_map", bytes({0x86, 0x61, 'a', 0x80}), "parameters are not a map"},
        MalformedCase{"key_not_string", bytes({0x86, 0x61, 'a', 0xa1, 0x01, 0x01}), "key is not a string"},
        MalformedCase{"int_in_strings", compact_message(kOneKey + bytes({0x01}), kNoMap, kNoMap, kNoMap),
                      "does not fit"},
        MalformedCase{"string_in_ints", compact_message(kNoMap, kOneKey + bytes({0x61, '1'}), kNoMap, kNoMap),
                      "does not fit"},
        MalformedCase{"float_in_ints", compact_message(kNoMap, kOneKey + bytes({0xf9, 0x3c, 0x00}), kNoMap, kNoMap),
                      "does not fit"},
        MalformedCase{"int_above_range",
                      compact_message(kNoMap, kOneKey + bytes({0x1a, 0x80, 0, 0, 0}), kNoMap, kNoMap), "does not fit"},
        MalformedCase{"int_below_range",
                      compact_message(kNoMap, kOneKey + bytes({0x3a, 0x80, 0, 0, 0}), kNoMap, kNoMap), "does not fit"},
        MalformedCase{"negative_uint", compact_message(kNoMap, kNoMap, kOneKey + bytes({0x20}), kNoMap),
                      "does not fit"},
        MalformedCase{"uint_above_range",
                      compact_message(kNoMap, kNoMap, kOneKey + bytes({0x1b, 0, 0, 0, 1, 0, 0, 0, 0}), kNoMap),
                      "does not fit"},
        MalformedCase{"number_in_bools", compact_message(kNoMap, kNoMap, kNoMap, kOneKey + bytes({0x01})),
                      "does not fit"},
        MalformedCase{"null_in_bools", compact_message(kNoMap, kNoMap, kNoMap, kOneKey + bytes({0xf6})),
                      "does not fit"},
        MalformedCase{"key_in_two_maps",
                      compact_message(kOneKey + bytes({0x61, 't'}), kOneKey + bytes({0x01}), kNoMap, kNoMap),
                      "given twice"},
        MalformedCase{"key_twice_in_a_map",
                      compact_message(bytes({0xa2, 0x61, 'x', 0x60, 0x61, 'x', 0x60}), kNoMap, kNoMap, kNoMap),
                      "given twice"},
        MalformedCase{"huge_map_claim",
                      bytes({0x86, 0x61, 'a', 0xbb, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
                      "more than 4096 parameters"},
        MalformedCase{"huge_children_claim",
                      bytes({0x86, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0, 0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                             0xff}),
                      "more than 200000 messages"},
        MalformedCase{"children_not_array", bytes({0x86, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0, 0xa0}),
                      "children are not an array"},
        MalformedCase{"child_not_message", bytes({0x86, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0, 0x81, 0x01}),
                      "array of 6"},
        MalformedCase{"reserved_item", bytes({0x1c}), "malformed CBOR"},
        MalformedCase{"string_past_the_end", bytes({0x86, 0x7a, 0xff, 0xff, 0xff, 0xff}), "truncated"},
        MalformedCase{"missing_children", bytes({0x86, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0}), "truncated"},
        MalformedCase{"trailing_byte", bytes({0x86, 0x61, 'a', 0xa0, 0xa0, 0xa0, 0xa0, 0x80, 0x00}),
                      "1 bytes after the message"}),
    [](const ::testing::TestParamInfo<MalformedCase>& info) { return std::string(info.param.label); });

TEST(XmlsCodec, WritesOneElementPerParameterAndHexWhereXmlCannot)
{
    Message message("peer");
    message.params().set_int("id", -3);
    message.params().set_string("name", "A & \"B\" <c>\t\r\n");
    message.params().set_uint("rate", 64000);
    message.params().set_bool("up", true);
    message.params().set_string("blob", "\x01\xff"s);
    message.params().set_string("none", "");
    message.add_child("child");
    message.add_child("\x02"s).params().set_bool("\x03"s, false);
    EXPECT_EQ(encode(Encoding::Xmls, message),
              "<m n=\"peer\">"
              "<s k=\"blob\" hex=\"1\">01ff</s>"
              "<i k=\"id\">-3</i>"
              "<s k=\"name\">A &amp; &quot;B&quot; &lt;c&gt;&#9;&#13;&#10;</s>"
              "<s k=\"none\"/>"
              "<u k=\"rate\">64000</u>"
              "<b k=\"up\">true</b>"
              "<m n=\"child\"/>"
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
    <s k="name">Studio A</s>
    <b k="active">
      true
    </b>
    <u k="rate">64000</u>
    <s k="note">  blanks &amp; entities &#x263A; kept  </s>
    <s k="empty"/>
    <s k="bytes" hex="1">C328</s>
    <b k-hex="01">0</b>
  </m>
  <i k="count">1</i>
</m>
)";
    Message expected("peerList", Params("count:i=1"));
    Message& peer = expected.add_child("peer");
    peer.params() = Params("id:i=3 name=\"Studio A\" active:b=true rate:u=64000 empty=");
    peer.params().set_string("note", "  blanks & entities \xe2\x98\xba kept  ");
    peer.params().set_string("bytes", "\xc3\x28");
    peer.params().set_bool("\x01", false);

    Message out;
    std::string error;
    ASSERT_TRUE(decode(Encoding::Xmls, text.data(), text.size(), out, error)) << error;
    EXPECT_EQ(out, expected) << out.dump_text();
}

class XmlsMalformed : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(XmlsMalformed, IsRefusedWithAReason)
{
    const MalformedCase& c = GetParam();
    Message out;
    std::string error;
    EXPECT_FALSE(decode(Encoding::Xmls, c.data.data(), c.data.size(), out, error));
    EXPECT_NE(error.find(c.reason), std::string::npos) << "error was: " << error;
}

INSTANTIATE_TEST_SUITE_P(
    Table, XmlsMalformed,
    ::testing::Values(
        MalformedCase{"empty", "", "no element found"},
        MalformedCase{"unclosed", "<m n=\"a\">", "no element found"},
        MalformedCase{"mismatched", "<m n=\"a\"></x>", "mismatched tag"},
        MalformedCase{"two_roots", "<m n=\"a\"/><m n=\"b\"/>", "junk after document element"},
        MalformedCase{"unknown_root", "<x/>", "unknown element <x>"},
        MalformedCase{"parameter_root", "<s k=\"a\">1</s>", "root element must be <m>"},
        MalformedCase{"unknown_attribute", "<m n=\"a\" z=\"1\"/>", "unknown attribute 'z'"},
        MalformedCase{"unnamed_message", "<m/>", "missing attribute 'n'"},
        MalformedCase{"keyless_parameter", "<m n=\"a\"><s>x</s></m>", "missing attribute 'k'"},
        MalformedCase{"text_in_message", "<m n=\"a\"> stray </m>", "text outside a parameter"},
        MalformedCase{"element_in_parameter", "<m n=\"a\"><s k=\"x\"><m n=\"b\"/></s></m>",
                      "element inside a parameter"},
        MalformedCase{"int_with_garbage", "<m n=\"a\"><i k=\"x\">12a</i></m>", "not a valid i"},
        MalformedCase{"int_above_range", "<m n=\"a\"><i k=\"x\">2147483648</i></m>", "not a valid i"},
        MalformedCase{"empty_int", "<m n=\"a\"><i k=\"x\"/></m>", "not a valid i"},
        MalformedCase{"negative_uint", "<m n=\"a\"><u k=\"x\">-1</u></m>", "not a valid u"},
        MalformedCase{"uint_above_range", "<m n=\"a\"><u k=\"x\">4294967296</u></m>", "not a valid u"},
        MalformedCase{"bool_word", "<m n=\"a\"><b k=\"x\">yes</b></m>", "not a valid b"},
        MalformedCase{"odd_hex", "<m n=\"a\"><s k=\"x\" hex=\"1\">abc</s></m>", "not a valid s"},
        MalformedCase{"not_hex", "<m n=\"a\"><s k=\"x\" hex=\"1\">zz</s></m>", "not a valid s"},
        MalformedCase{"name_not_hex", "<m n-hex=\"zz\"/>", "attribute 'n-hex' is not hex"},
        MalformedCase{"key_not_hex", "<m n=\"a\"><i k-hex=\"6\">1</i></m>", "attribute 'k-hex' is not hex"},
        MalformedCase{"name_given_twice", "<m n=\"a\" n-hex=\"61\"/>", "both 'n' and 'n-hex' given"},
        MalformedCase{"bad_hex_flag", "<m n=\"a\"><s k=\"x\" hex=\"maybe\">00</s></m>", "hex must be 1 or 0"},
        MalformedCase{"hex_flag_on_int", "<m n=\"a\"><i k=\"x\" hex=\"1\">01</i></m>", "unknown attribute 'hex'"},
        MalformedCase{"hex_flag_on_message", "<m n=\"a\" hex=\"1\"/>", "unknown attribute 'hex'"},
        MalformedCase{"key_twice", "<m n=\"a\"><s k=\"x\">1</s><i k=\"x\">1</i></m>", "given twice"},
        MalformedCase{"doctype",
                      "<!DOCTYPE m [<!ENTITY a \"aaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]><m n=\"&b;\"/>",
                      "document type declaration"},
        MalformedCase{"undefined_entity", "<m n=\"&foo;\"/>", "undefined entity"},
        MalformedCase{"invalid_utf8", "<m n=\"\xff\"/>", "not well-formed"},
        MalformedCase{"control_character_reference", "<m n=\"a\"><s k=\"x\">&#1;</s></m>",
                      "reference to invalid character number"}),
    [](const ::testing::TestParamInfo<MalformedCase>& info) { return std::string(info.param.label); });

struct PeekCase {
    const char* label;
    std::string buffer;
    FrameStatus status;
    std::size_t payloadSize;
};

class PeekFrame : public ::testing::TestWithParam<PeekCase> {};

TEST_P(PeekFrame, ReadsTheBigEndianLengthAndChecksTheLimit)
{
    const PeekCase& c = GetParam();
    std::size_t payloadSize = 12345;
    EXPECT_EQ(peek_frame(c.buffer.data(), c.buffer.size(), payloadSize), c.status);
    if (c.status == FrameStatus::Complete) {
        EXPECT_EQ(payloadSize, c.payloadSize);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, PeekFrame,
    ::testing::Values(PeekCase{"empty", "", FrameStatus::Incomplete, 0},
                      PeekCase{"partial_header", bytes({0, 0, 0}), FrameStatus::Incomplete, 0},
                      PeekCase{"partial_payload", bytes({0, 0, 0, 3, 'a', 'b'}), FrameStatus::Incomplete, 0},
                      PeekCase{"exact", bytes({0, 0, 0, 3, 'a', 'b', 'c'}), FrameStatus::Complete, 3},
                      PeekCase{"next_frame_follows", bytes({0, 0, 0, 1, 'a', 0, 0}), FrameStatus::Complete, 1},
                      PeekCase{"empty_payload", bytes({0, 0, 0, 0}), FrameStatus::Complete, 0},
                      PeekCase{"largest_allowed_waits", bytes({0, 0x80, 0, 0, 'a'}), FrameStatus::Incomplete, 0},
                      PeekCase{"one_above_limit", bytes({0, 0x80, 0, 1}), FrameStatus::TooLarge, 0},
                      PeekCase{"all_ones", bytes({0xff, 0xff, 0xff, 0xff}), FrameStatus::TooLarge, 0},
                      PeekCase{"high_byte_only", bytes({0x01, 0, 0, 0}), FrameStatus::TooLarge, 0}),
    [](const ::testing::TestParamInfo<PeekCase>& info) { return std::string(info.param.label); });

TEST(Frame, PrefixesTheBigEndianLength)
{
    const std::string payload(0x0102, 'p');
    const std::string framed = frame(payload);
    EXPECT_EQ(framed.substr(0, kFrameHeaderBytes), bytes({0, 0, 1, 2}));
    EXPECT_EQ(framed.substr(kFrameHeaderBytes), payload);
    std::size_t payloadSize = 0;
    EXPECT_EQ(peek_frame(framed.data(), framed.size(), payloadSize), FrameStatus::Complete);
    EXPECT_EQ(payloadSize, payload.size());
    EXPECT_EQ(frame(""), bytes({0, 0, 0, 0}));
}

struct PatternCase {
    const char* pattern;
    const char* identifier;
    bool matches;
};

class PatternMatches : public ::testing::TestWithParam<PatternCase> {};

TEST_P(PatternMatches, StarSuffixMatchesPrefixElseExact)
{
    const PatternCase& c = GetParam();
    EXPECT_EQ(pattern_matches(c.pattern, c.identifier), c.matches)
        << '"' << c.pattern << "\" vs \"" << c.identifier << '"';
}

INSTANTIATE_TEST_SUITE_P(Table, PatternMatches,
                         ::testing::Values(PatternCase{"wifi:*", "wifi:wlan0", true},
                                           PatternCase{"wifi:*", "wifi:", true},
                                           PatternCase{"wifi:*", "wifi", false},
                                           PatternCase{"wifi:*", "wired:eth0", false},
                                           PatternCase{"wifi:*", "WIFI:wlan0", false},
                                           PatternCase{"peer_stats", "peer_stats", true},
                                           PatternCase{"peer_stats", "peer_stats2", false},
                                           PatternCase{"peer_stats", "peer_stat", false},
                                           PatternCase{"*", "anything", true}, PatternCase{"*", "", true},
                                           PatternCase{"", "", true}, PatternCase{"", "x", false},
                                           PatternCase{"a*b", "a*b", true}, PatternCase{"a*b", "axb", false}));

TEST(Encoding, NamesParseBackAndNothingElseParses)
{
    for (const Encoding encoding : {Encoding::Compact, Encoding::Xmls}) {
        Encoding parsed = encoding == Encoding::Compact ? Encoding::Xmls : Encoding::Compact;
        EXPECT_TRUE(parse_encoding(encoding_name(encoding), parsed));
        EXPECT_EQ(parsed, encoding);
    }
    EXPECT_STREQ(encoding_name(Encoding::Compact), "compact");
    EXPECT_STREQ(encoding_name(Encoding::Xmls), "xmls");
    Encoding untouched = Encoding::Xmls;
    for (const char* text : {"", "COMPACT", "xml", "compact ", "cbor"})
        EXPECT_FALSE(parse_encoding(text, untouched)) << text;
    EXPECT_EQ(untouched, Encoding::Xmls);
}

} // namespace
