#include "codec.h"
#include "configtree.h"

#include <gtest/gtest.h>

namespace {

// netmgr > devices > wlan0 > locations home, cafe; netmgr > remote > option password.
const char* const kTree = R"(
<m n="node"><s k="name">netmgr</s>
  <m n="group"><s k="name"></s>
    <m n="node"><s k="name">devices</s>
      <m n="group"><s k="name"></s>
        <m n="node"><s k="name">wlan0</s><s k="display_name">Wireless</s>
          <m n="status"><b k="enabled">true</b></m>
          <m n="command"><s k="name">apply</s></m>
          <m n="group"><s k="name"></s>
            <m n="option"><s k="name">power_save</s><s k="type">bool</s><s k="value">true</s>
              <s k="default_value">false</s></m>
          </m>
          <m n="group"><s k="name">loc</s>
            <m n="command"><s k="name">_add</s></m>
            <m n="node"><s k="name">home</s>
              <m n="group"><s k="name"></s>
                <m n="option"><s k="name">essid</s><s k="type">string</s><s k="value">Home</s></m>
              </m>
            </m>
            <m n="node"><s k="name">cafe</s></m>
          </m>
        </m>
      </m>
    </m>
    <m n="node"><s k="name">remote</s>
      <m n="group"><s k="name"></s>
        <m n="option"><s k="name">password</s><s k="type">string</s><b k="defaulted">true</b></m>
      </m>
    </m>
  </m>
</m>)";

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
    struct Case {
        const char* path;
        bool node;
        bool option;
    };
    const Case cases[] = {
        {"netmgr", true, false},
        {"netmgr.devices", true, false},
        {"netmgr.devices.wlan0", true, false},
        {"netmgr.devices.wlan0.home", true, false},
        {"netmgr.devices.wlan0.power_save", false, true},
        {"netmgr.devices.wlan0.home.essid", false, true},
        {"netmgr.remote.password", false, true},
        {"netmgr.devices.eth0", false, false},
        {"netmgr.devices.wlan0.power_save.more", false, false},
        {"netmgr.devices.", false, false},
        {"devices.wlan0", false, false},
        {"", false, false},
    };
    const ConfigTree tree = makeTree();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(tree.findNode(c.path) != nullptr, c.node);
        EXPECT_EQ(tree.findOption(c.path) != nullptr, c.option);
    }
}

TEST(ConfigTree, DescribeIncludesSubObjectsDownToTheDepth)
{
    struct Case {
        const char* path;
        unsigned int depth;
        std::size_t nodes;
    };
    const Case cases[] = {
        {"netmgr.devices", 0, 1},
        {"netmgr.devices", 1, 2},
        {"netmgr.devices", 2, 4},
        {"netmgr.devices", 9, 4},
        {"netmgr.devices.wlan0", 0, 1},
        {"netmgr.devices.wlan0", 1, 3},
        {"netmgr.devices.wlan0.home", 0, 1},
    };
    const ConfigTree tree = makeTree();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " depth " + std::to_string(c.depth));
        Message answer("resp");
        ASSERT_TRUE(tree.describe(c.path, c.depth, answer));
        ASSERT_EQ(answer.num_children("node"), 1u);
        EXPECT_EQ(countNodes(answer.get_child("node", 0)), c.nodes);
    }
}

TEST(ConfigTree, DescribedNodeKeepsStatusCommandsAndGroups)
{
    Message answer("resp");
    ASSERT_TRUE(makeTree().describe("netmgr.devices.wlan0", 0, answer));
    const Message& device = answer.get_child("node", 0);
    EXPECT_EQ(device.params().get_string("display_name", ""), "Wireless");
    ASSERT_EQ(device.num_children("status"), 1u);
    EXPECT_TRUE(device.get_child("status", 0).params().get_bool("enabled", false));
    EXPECT_EQ(device.num_children("command"), 1u);
    ASSERT_EQ(device.num_children("group"), 2u);
    const Message& locations = device.get_child("group", 1);
    EXPECT_EQ(locations.params().get_string("name", "?"), "loc");
    EXPECT_EQ(locations.num_children("command"), 1u);
    EXPECT_EQ(locations.num_children("node"), 0u);
}

TEST(ConfigTree, DescribingAnOptionGivesTheOptionAlone)
{
    Message answer("resp");
    ASSERT_TRUE(makeTree().describe("netmgr.remote.password", 3, answer));
    EXPECT_EQ(answer.child_count(), 1u);
    ASSERT_EQ(answer.num_children("option"), 1u);
    EXPECT_TRUE(answer.get_child("option", 0).params().get_bool("defaulted", false));

    Message missing("resp");
    EXPECT_FALSE(makeTree().describe("netmgr.remote.nothing", 0, missing));
    EXPECT_EQ(missing.child_count(), 0u);
}

TEST(ConfigTree, NormalisedOptionsDeriveWhatTheyDoNotCarry)
{
    struct Case {
        const char* option;
        const char* value;
        bool defaulted;
        const char* displayValue;
        const char* displayDefault;
    };
    const Case cases[] = {
        {R"(<m n="option"><s k="type">bool</s><s k="value">true</s><s k="default_value">false</s></m>)", "true",
         false, "Enabled", "Not Enabled"},
        {R"(<m n="option"><s k="type">bool</s><s k="default_value">true</s><s k="label_true">DHCP</s></m>)", "true",
         true, "DHCP", "DHCP"},
        {R"(<m n="option"><s k="type">select</s><s k="value">b</s><s k="default_value">c</s>
              <m n="select"><s k="name">Bee</s><s k="value">b</s></m></m>)",
         "b", false, "Bee", "c"},
        {R"(<m n="option"><s k="type">int</s><s k="value">7</s><s k="default_value">7</s></m>)", "7", true, "7",
         "7"},
        {R"(<m n="option"><s k="type">string</s><s k="value">x</s><b k="defaulted">true</b>
              <s k="display_value">shown</s></m>)",
         "x", true, "shown", ""},
        {R"(<m n="option"><s k="type">string</s></m>)", "", false, "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.option);
        Message option;
        std::string error;
        ASSERT_TRUE(ipc::decode(ipc::Encoding::Xmls, c.option, std::char_traits<char>::length(c.option), option, error))
            << error;
        ConfigTree::normaliseOption(option);
        EXPECT_EQ(option.params().get_string("value", "?"), c.value);
        EXPECT_EQ(option.params().get_bool("defaulted", !c.defaulted), c.defaulted);
        EXPECT_EQ(option.params().get_string("display_value", "?"), c.displayValue);
        EXPECT_EQ(option.params().get_string("display_default", ""), c.displayDefault);
    }
}

TEST(ConfigTree, OptionsInTheTreeAreNormalised)
{
    const ConfigTree tree = makeTree();
    const Message* option = tree.findOption("netmgr.devices.wlan0.power_save");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->params().get_string("display_value", ""), "Enabled");
    EXPECT_FALSE(option->params().get_bool("defaulted", true));
}

} // namespace
