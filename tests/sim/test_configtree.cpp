#include "codec.h"
#include "configtree.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

// netmgr > devices > wlan0 > locations home, cafe; netmgr > remote > option password.
const char* const kTree = R"(
<m n="node"><s k="name">netmgr</s><m n="group"><s k="name"></s>
  <m n="node"><s k="name">devices</s><m n="group"><s k="name"></s>
    <m n="node"><s k="name">wlan0</s>
      <m n="group"><s k="name"></s>
        <m n="option"><s k="name">power_save</s><s k="type">bool</s><s k="value">true</s></m></m>
      <m n="group"><s k="name">loc</s>
        <m n="node"><s k="name">home</s><m n="group"><s k="name"></s>
          <m n="option"><s k="name">essid</s><s k="type">string</s><s k="value">Home</s></m></m></m>
        <m n="node"><s k="name">cafe</s></m></m></m></m></m>
  <m n="node"><s k="name">remote</s><m n="group"><s k="name"></s>
    <m n="option"><s k="name">password</s><s k="type">string</s></m></m></m>
</m></m>)";

ConfigTree makeTree()
{
    Message root;
    std::string error;
    EXPECT_TRUE(ipc::decode(ipc::Encoding::Xmls, kTree, std::char_traits<char>::length(kTree), root, error)) << error;
    return ConfigTree(root);
}

std::size_t countNodes(const Message& message)
{
    std::size_t count = message.name == "node" ? 1 : 0;
    for (std::size_t i = 0; i < message.child_count(); ++i)
        count += countNodes(message.child(i));
    return count;
}

TEST(ConfigTree, ResolvesPathsToNodesAndOptions)
{
    // path, is a node, is an option
    const std::tuple<const char*, bool, bool> cases[] = {
        {"netmgr.devices.wlan0.home", true, false}, {"netmgr.devices.wlan0.home.essid", false, true},
        {"netmgr.devices.eth0", false, false}, {"netmgr.devices.wlan0.power_save.more", false, false},
        {"netmgr.devices.", false, false}, {"devices.wlan0", false, false},
    };
    const ConfigTree tree = makeTree();
    for (const auto& [path, node, option] : cases) {
        SCOPED_TRACE(path);
        EXPECT_EQ(tree.findNode(path) != nullptr, node);
        EXPECT_EQ(tree.findOption(path) != nullptr, option);
    }
}

TEST(ConfigTree, DescribeIncludesSubObjectsDownToTheDepth)
{
    // path, depth, nodes in the answer
    const std::tuple<const char*, unsigned int, std::size_t> cases[] = {
        {"netmgr.devices", 0, 1}, {"netmgr.devices", 1, 2}, {"netmgr.devices", 9, 4}, {"netmgr.devices.wlan0", 1, 3}};
    const ConfigTree tree = makeTree();
    for (const auto& [path, depth, nodes] : cases) {
        SCOPED_TRACE(std::string(path) + " depth " + std::to_string(depth));
        Message answer("resp");
        ASSERT_TRUE(tree.describe(path, depth, answer));
        ASSERT_EQ(answer.num_children("node"), 1u);
        EXPECT_EQ(countNodes(answer.get_child("node", 0)), nodes);
    }
    // An option is described alone.
    Message answer("resp");
    ASSERT_TRUE(tree.describe("netmgr.remote.password", 3, answer));
    EXPECT_EQ(answer.child_count(), 1u);
    EXPECT_EQ(answer.num_children("option"), 1u);
    Message missing("resp");
    EXPECT_FALSE(tree.describe("netmgr.remote.nothing", 0, missing));
}

TEST(ConfigTree, NormalisedOptionsDeriveWhatTheyDoNotCarry)
{
    // option, value, defaulted, display value, display default
    const std::tuple<const char*, const char*, bool, const char*, const char*> cases[] = {
        {R"(<m n="option"><s k="type">bool</s><s k="value">true</s><s k="default_value">false</s></m>)", "true",
         false, "Enabled", "Not Enabled"},
        {R"(<m n="option"><s k="type">bool</s><s k="default_value">true</s><s k="label_true">DHCP</s></m>)", "true",
         true, "DHCP", "DHCP"},
        {R"(<m n="option"><s k="type">select</s><s k="value">b</s><s k="default_value">c</s>
              <m n="select"><s k="name">Bee</s><s k="value">b</s></m></m>)",
         "b", false, "Bee", "c"},
        {R"(<m n="option"><s k="type">string</s><s k="value">x</s><b k="defaulted">true</b>
              <s k="display_value">shown</s></m>)",
         "x", true, "shown", ""},
    };
    for (const auto& [text, value, defaulted, displayValue, displayDefault] : cases) {
        SCOPED_TRACE(text);
        Message option;
        std::string error;
        ASSERT_TRUE(ipc::decode(ipc::Encoding::Xmls, text, std::char_traits<char>::length(text), option, error)) << error;
        ConfigTree::normaliseOption(option);
        EXPECT_EQ(option.params().get_string("value", "?"), value);
        EXPECT_EQ(option.params().get_bool("defaulted", !defaulted), defaulted);
        EXPECT_EQ(option.params().get_string("display_value", "?"), displayValue);
        EXPECT_EQ(option.params().get_string("display_default", ""), displayDefault);
    }
    // Options inside a loaded tree go through the same normalisation.
    EXPECT_EQ(makeTree().findOption("netmgr.devices.wlan0.power_save")->params().get_string("display_value", ""),
              "Enabled");
}

} // namespace
