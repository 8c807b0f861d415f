// Parameters are kept in key order whatever order they are set or arrive in, and a key that
// arrives twice is refused wherever the two are.
#include "codec.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
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
