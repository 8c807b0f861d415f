// Parameters are kept in key order whatever order they are set or arrive in, and a key that
// arrives twice is refused wherever the two are.
#include "bytestring.h"
#include "codec.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>

using namespace ipc;
using namespace std::string_literals;

namespace {

// A "compact" map of one-letter keys in the order given, each with the same encoded value.
std::string map(const std::string& keys, const std::string& value)
{
    std::string out = bytes({0xa0 + static_cast<int>(keys.size())});
    for (const char key : keys)
        out += bytes({0x61, key}) + value;
    return out;
}

// A message without children whose four maps hold the keys given: strings "v", ints 1, uints 2,
// bools true.
std::string message(const std::string& strings, const std::string& ints, const std::string& uints,
                    const std::string& bools)
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

struct FrameCase {
    const char* what;
    std::string payload;
    const char* keys; // in order, or null when refused as given twice
};

class CompactKeyOrder : public ::testing::TestWithParam<FrameCase> {};

TEST_P(CompactKeyOrder, DecodesIntoKeyOrderOrRefusesAKeyGivenTwice)
{
    const FrameCase& c = GetParam();
    Message out;
    std::string error;
    const bool decoded = decode(Encoding::Compact, c.payload.data(), c.payload.size(), out, error);
    if (!c.keys) {
        EXPECT_FALSE(decoded) << c.what;
        EXPECT_NE(error.find("given twice"), std::string::npos) << c.what << ": " << error;
        return;
    }
    ASSERT_TRUE(decoded) << c.what << ": " << error;
    EXPECT_EQ(keys_of(out.params()), c.keys) << c.what;
    EXPECT_EQ(out.params().get_int("c", -1), 1) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Table, CompactKeyOrder,
    ::testing::Values(FrameCase{"sorted maps", message("ad", "c", "b", "e"), "a,b,c,d,e,"},
                      FrameCase{"maps out of order", message("zd", "ca", "yb", "xe"), "a,b,c,d,e,x,y,z,"},
                      FrameCase{"one map only", message("", "edcba", "", ""), "a,b,c,d,e,"},
                      FrameCase{"twice in one map", message("", "cac", "", ""), nullptr},
                      FrameCase{"twice in one unsorted map", message("", "bcab", "", ""), nullptr},
                      FrameCase{"twice in the first and last map", message("q", "c", "", "q"), nullptr},
                      FrameCase{"twice in the last map", message("", "c", "", "zaz"), nullptr},
                      FrameCase{"twice in two middle maps", message("", "ck", "k", ""), nullptr}));

// Every number takes the shortest head that holds it, as every decoder of the format expects.
class CompactHeads : public ::testing::TestWithParam<std::pair<ParamValue, std::string>> {};

TEST_P(CompactHeads, TakeTheShortestForm)
{
    const auto& [value, head] = GetParam();
    Params params;
    params.set("k", value);
    const std::size_t type = value.index();
    std::string maps;
    for (std::size_t i = 0; i < std::variant_size_v<ParamValue>; ++i)
        maps += i == type ? bytes({0xa1, 0x61, 'k'}) + head : bytes({0xa0});
    EXPECT_EQ(encode(Encoding::Compact, Message("m", params)), bytes({0x86, 0x61, 'm'}) + maps + bytes({0x80}));
}

INSTANTIATE_TEST_SUITE_P(
    Table, CompactHeads,
    ::testing::Values(std::make_pair(ParamValue(23u), bytes({0x17})), std::make_pair(ParamValue(24u), bytes({0x18, 24})),
                      std::make_pair(ParamValue(255u), bytes({0x18, 0xff})),
                      std::make_pair(ParamValue(256u), bytes({0x19, 0x01, 0x00})),
                      std::make_pair(ParamValue(65535u), bytes({0x19, 0xff, 0xff})),
                      std::make_pair(ParamValue(65536u), bytes({0x1a, 0x00, 0x01, 0x00, 0x00})),
                      std::make_pair(ParamValue(4294967295u), bytes({0x1a, 0xff, 0xff, 0xff, 0xff})),
                      std::make_pair(ParamValue(-1), bytes({0x20})),
                      std::make_pair(ParamValue(-25), bytes({0x38, 24})),
                      std::make_pair(ParamValue(-2147483647 - 1), bytes({0x3a, 0x7f, 0xff, 0xff, 0xff})),
                      std::make_pair(ParamValue(std::string(24, 'x')), bytes({0x78, 24}) + std::string(24, 'x')),
                      std::make_pair(ParamValue(std::string("\xff")), bytes({0x41, 0xff})),
                      std::make_pair(ParamValue(false), bytes({0xf4}))));

TEST(ParamsOrder, ValuesComeInKeyOrderBytewiseWithAPrefixFirst)
{
    Params params;
    for (const std::string& key : {"b"s, "ab"s, "\xc3\xa9"s, "a"s, "B"s, ""s, "a\x01"s})
        params.set_int(key, 1);
    EXPECT_EQ(keys_of(params), ",B,a,a\x01,ab,b,\xc3\xa9,");
    params.set_string("a", "again");
    EXPECT_TRUE(params.remove("ab"));
    EXPECT_FALSE(params.remove("ab"));
    EXPECT_EQ(keys_of(params), ",B,a,a\x01,b,\xc3\xa9,");
    EXPECT_EQ(params.get_string("a", ""), "again");
}

TEST(ParamsOrder, AssignSortsAndRefusesAKeyGivenTwiceLeavingTheOldSet)
{
    Params params("old=1");
    std::string duplicate;
    EXPECT_TRUE(params.assign({{"c", 3}, {"a", 1u}, {"b", true}}, duplicate));
    EXPECT_EQ(params, Params("a:u=1 b:b=true c:i=3"));
    EXPECT_FALSE(params.assign({{"x", 1}, {"y", 2}, {"x", "again"s}}, duplicate));
    EXPECT_EQ(duplicate, "x");
    EXPECT_EQ(params, Params("a:u=1 b:b=true c:i=3"));
}

} // namespace
