// XML configuration tool: create, modify and read back; node, item and property rules; bad files.
#include "foundation/XmlConfigureTool.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using NodeList = std::vector<SafePointer<XmlConfigureNode>>;
using ItemList = std::vector<SafePointer<XmlConfigureItem>>;

const char* const SensorXml = "/mnt/mtd/code/config_file/sensor.xml";

XmlConfigureItem nameValue(const std::string& name, int value) {
    XmlConfigureItem item(1);
    item.setProperty("name", name);
    item.setProperty("value", value);
    return item;
}

// Writes the sensor file the way the controller creates it.
void createSensorXml() {
    XmlConfigureTool tool;
    tool.setRootNodeName("sensor");
    ASSERT_EQ(tool.open(SensorXml, 1, XmlConfigureTool::ModeCreate), 1);
    XmlConfigureNode scheme("paramScheme", 1);
    ASSERT_EQ(scheme.addConfigItem(nameValue("SchemeIndex", 0)), 1);
    ASSERT_EQ(scheme.addConfigItem(nameValue("SchemeMode", 1)), 1);
    ASSERT_EQ(tool.addConfigNode(scheme), 1);
    ASSERT_EQ(tool.close(), 1);
}

TEST(XmlConfigureToolTest, CreateWritesTheDocumentAtClose) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/keep", "");
    createSensorXml();
    EXPECT_EQ(root.readFile(SensorXml), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
                                        "<sensor>\n"
                                        "    <paramScheme>\n"
                                        "        <item name=\"SchemeIndex\" value=\"0\" />\n"
                                        "        <item name=\"SchemeMode\" value=\"1\" />\n"
                                        "    </paramScheme>\n"
                                        "</sensor>\n");
}

TEST(XmlConfigureToolTest, ModifyChangesItemsInPlaceAndReadBack) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/keep", "");
    createSensorXml();
    {
        XmlConfigureTool tool;
        ASSERT_EQ(tool.open(SensorXml, 1, XmlConfigureTool::ModeModify), 1);
        EXPECT_EQ(tool.getRootNodeName(), "sensor");
        XmlConfigureNode scheme;
        ASSERT_EQ(tool.getConfigNode("paramScheme", scheme), 1);
        ItemList items;
        ASSERT_EQ(scheme.getItemList(items), 1);
        ASSERT_EQ(items.size(), 2u);
        EXPECT_EQ(items[0]->setProperty("value", 3), 1);
        // The destructor closes and writes.
    }
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open(SensorXml, 1, XmlConfigureTool::ModeRead), 1);
    SafePointer<XmlConfigureNode> scheme(new XmlConfigureNode());
    ASSERT_EQ(tool.getConfigNode("paramScheme", scheme), 1);
    ItemList items;
    scheme->getItemList(items);
    ASSERT_EQ(items.size(), 2u);
    int index = -1;
    int mode = -1;
    EXPECT_EQ(items[0]->getProperty("value", index), 1);
    EXPECT_EQ(items[1]->getProperty("value", mode), 1);
    EXPECT_EQ(index, 3);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(tool.getConfigNode("missing", scheme), 0);
}

TEST(XmlConfigureToolTest, ReadsNestedNodesWithTypedProperties) {
    kvtest::TestRoot root;
    root.writeFile("/hd1/program/config/ISPParam.xml",
                   "<ISPParam><config time=\"1\" realTimeUpdate=\"false\">"
                   "<EE enable=\"true\"><low min=\"0\" max=\"10\"><item name=\"strength\" "
                   "value=\"3\"/></low><high min=\"10\" max=\"100\"/></EE>"
                   "<DC enable=\"0\"/></config></ISPParam>");
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/hd1/program/config/ISPParam.xml", 1, XmlConfigureTool::ModeRead), 1);
    XmlConfigureNode config;
    ASSERT_EQ(tool.getConfigNode("config", config), 1);
    int time = 0;
    bool realTime = true;
    EXPECT_EQ(config.getProperty("time", time), 1);
    EXPECT_EQ(config.getProperty("realTimeUpdate", realTime), 1);
    EXPECT_EQ(time, 1);
    EXPECT_FALSE(realTime);

    NodeList groups;
    ASSERT_EQ(config.getChildNodeList(groups), 1);
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0]->getName(), "EE");
    EXPECT_EQ(groups[1]->getName(), "DC");
    bool enabled = false;
    EXPECT_EQ(groups[0]->getProperty("enable", enabled), 1);
    EXPECT_TRUE(enabled);
    EXPECT_EQ(groups[1]->getProperty("enable", enabled), 1);
    EXPECT_FALSE(enabled);

    NodeList bands;
    groups[0]->getChildNodeList(bands);
    ASSERT_EQ(bands.size(), 2u);
    int max = 0;
    EXPECT_EQ(bands[0]->getProperty("max", max), 1);
    EXPECT_EQ(max, 10);
    ItemList items;
    bands[0]->getItemList(items);
    ASSERT_EQ(items.size(), 1u);
    std::string name;
    int value = 0;
    EXPECT_EQ(items[0]->getProperty("name", name), 1);
    EXPECT_EQ(items[0]->getProperty("value", value), 1);
    EXPECT_EQ(name, "strength");
    EXPECT_EQ(value, 3);
    bands[1]->getItemList(items);
    EXPECT_TRUE(items.empty());
}

TEST(XmlConfigureToolTest, PropertyConversionsAreStrict) {
    XmlConfigureItem item(1);
    item.setProperty("n", "abc");
    item.setProperty("f", "1.5");
    item.setProperty("e", "");
    item.setProperty("o", "2147483648");
    item.setProperty("b", "yes");
    item.setProperty("s", " -42 ");
    int number = 9;
    bool flag = true;
    for (const char* name : {"n", "f", "e", "o", "b", "missing"})
        EXPECT_EQ(item.getProperty(name, number), 0) << name;
    for (const char* name : {"n", "e", "b", "s", "missing"})
        EXPECT_EQ(item.getProperty(name, flag), 0) << name;
    EXPECT_EQ(number, 9);
    EXPECT_TRUE(flag);
    EXPECT_EQ(item.getProperty("s", number), 1);
    EXPECT_EQ(number, -42);
    item.setProperty("t", "1");
    EXPECT_EQ(item.getProperty("t", flag), 1);
    EXPECT_TRUE(flag);
    item.setProperty("t", false);
    std::string text;
    EXPECT_EQ(item.getProperty("t", text), 1);
    EXPECT_EQ(text, "false");
    // A string literal stays a string, not a bool.
    item.setProperty("lit", "value");
    EXPECT_EQ(item.getProperty("lit", text), 1);
    EXPECT_EQ(text, "value");

    EXPECT_EQ(item.setProperty("", 1), 0);
    EXPECT_EQ(item.setProperty("1abc", 1), 0);
    EXPECT_EQ(item.setProperty("a b", 1), 0);
    EXPECT_EQ(item.setProperty("x", std::string("a\0b", 3)), 0);
    std::vector<std::string> names;
    item.getPropertyNames(names);
    EXPECT_EQ(names, (std::vector<std::string>{"n", "f", "e", "o", "b", "s", "t", "lit"}));
}

TEST(XmlConfigureToolTest, SpecialCharactersAndRootPropertiesSurviveARewrite) {
    kvtest::TestRoot root;
    root.writeFile("/cfg/a.xml", "<!-- lost on rewrite --><IRConfig rev=\"2\"><item top=\"1\"/>"
                                 "<version><item version=\"7\"/></version></IRConfig>");
    const std::string tricky = "a&b <c> \"d\" 'e'\nline2 \xc3\xa9";
    {
        XmlConfigureTool tool;
        ASSERT_EQ(tool.open("/cfg/a.xml", 1, XmlConfigureTool::ModeModify), 1);
        XmlConfigureNode version;
        ASSERT_EQ(tool.getConfigNode("version", version), 1);
        version.setProperty("note", tricky);
        ASSERT_EQ(tool.close(), 1);
        EXPECT_EQ(tool.close(), 1); // a second close does nothing
    }
    EXPECT_EQ(root.readFile("/cfg/a.xml").find("lost on rewrite"), std::string::npos);
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/a.xml", 1, XmlConfigureTool::ModeRead), 1);
    std::string text;
    ASSERT_EQ(tool.getDocumentText(text), 1);
    EXPECT_NE(text.find("<IRConfig rev=\"2\">"), std::string::npos);
    EXPECT_NE(text.find("<item top=\"1\" />"), std::string::npos);
    XmlConfigureNode version;
    ASSERT_EQ(tool.getConfigNode("version", version), 1);
    std::string note;
    ASSERT_EQ(version.getProperty("note", note), 1);
    EXPECT_EQ(note, tricky);
}

TEST(XmlConfigureToolTest, RemoveAndReplaceANodeAsTheIrTableVersionUpdateDoes) {
    kvtest::TestRoot root;
    const std::string path = "/hd1/program/config/IRPowerConfigure.xml";
    root.writeFile(path, "<IRConfig><version><item version=\"1\"/></version>"
                         "<IRPower><item zoomup=\"10\" far=\"1\" mid=\"2\" near=\"3\"/></IRPower>"
                         "<version/></IRConfig>");
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open(path, 1, XmlConfigureTool::ModeModify), 1);
    EXPECT_EQ(tool.removeConfigNode("version"), 1); // both of that name
    EXPECT_EQ(tool.removeConfigNode("version"), 0);
    XmlConfigureNode version("version", 1);
    XmlConfigureItem item(1);
    ASSERT_EQ(item.setProperty("version", 5), 1);
    ASSERT_EQ(version.addConfigItem(item), 1);
    ASSERT_EQ(tool.addConfigNode(version), 1);
    ASSERT_EQ(tool.close(), 1);

    ASSERT_EQ(tool.open(path, 1, XmlConfigureTool::ModeRead), 1);
    NodeList nodes;
    ASSERT_EQ(tool.getConfigNodeList(nodes), 1);
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0]->getName(), "IRPower");
    EXPECT_EQ(nodes[1]->getName(), "version");
    ItemList items;
    nodes[1]->getItemList(items);
    ASSERT_EQ(items.size(), 1u);
    int value = 0;
    EXPECT_EQ(items[0]->getProperty("version", value), 1);
    EXPECT_EQ(value, 5);
}

TEST(XmlConfigureToolTest, ReadModeNeverWritesOrCreates) {
    kvtest::TestRoot root;
    root.writeFile("/cfg/r.xml", "<r><n a=\"1\"/></r>");
    const std::string before = root.readFile("/cfg/r.xml");
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/r.xml", 1, XmlConfigureTool::ModeRead), 1);
    EXPECT_EQ(tool.addConfigNode(XmlConfigureNode("extra", 1)), 1);
    EXPECT_EQ(tool.close(), 1);
    EXPECT_EQ(root.readFile("/cfg/r.xml"), before);

    kvtest::StdoutCapture capture;
    const int read = tool.open("/cfg/missing.xml", 1, XmlConfigureTool::ModeRead);
    const int modify = tool.open("/cfg/missing.xml", 1, XmlConfigureTool::ModeModify);
    const std::string printed = capture.text();
    EXPECT_EQ(read, 0);
    EXPECT_EQ(modify, 0);
    EXPECT_FALSE(tool.isOpen());
    EXPECT_EQ(tool.close(), 1);
    EXPECT_FALSE(root.exists("/cfg/missing.xml"));
    EXPECT_EQ(tool.addConfigNode(XmlConfigureNode("n", 1)), 0); // nothing open
    EXPECT_NE(printed.find("XmlConfigureTool: /cfg/missing.xml: cannot open"), std::string::npos);
}

TEST(XmlConfigureToolTest, BadOpensFailCleanlyAndLeaveTheFile) {
    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "<a>";
    const std::string bad[] = {
        "",
        "garbage",
        "<r><n></r>",
        "<r><n a=\"1\" a=\"2\"/></r>",
        "<r/><r/>",
        "<r><n><item a=\"1\"><sub/></item></n></r>",
        std::string("<r>\0</r>", 8),
        deep,
    };
    kvtest::TestRoot root;
    for (const std::string& text : bad) {
        root.writeFile("/cfg/bad.xml", text);
        XmlConfigureTool tool;
        kvtest::StdoutCapture capture;
        const int result = tool.open("/cfg/bad.xml", 1, XmlConfigureTool::ModeModify);
        const std::string printed = capture.text();
        EXPECT_EQ(result, 0) << text.substr(0, 60);
        EXPECT_FALSE(tool.isOpen());
        EXPECT_EQ(tool.close(), 1);
        EXPECT_NE(printed.find("XmlConfigureTool: /cfg/bad.xml:"), std::string::npos);
        EXPECT_EQ(root.readFile("/cfg/bad.xml"), text);
    }
    XmlConfigureTool tool;
    kvtest::StdoutCapture capture;
    const int noRoot = tool.open("/cfg/new.xml", 1, XmlConfigureTool::ModeCreate);
    const int badMode = tool.open("/cfg/new.xml", 1, 4);
    tool.setRootNodeName("bad name");
    const std::string rootName = tool.getRootNodeName();
    // Writing into a folder that does not exist fails at close.
    tool.setRootNodeName("r");
    const int created = tool.open("/no/such/dir/x.xml", 1, XmlConfigureTool::ModeCreate);
    const int closed = tool.close();
    const std::string printed = capture.text();
    EXPECT_EQ(noRoot, 0);
    EXPECT_EQ(badMode, 0);
    EXPECT_EQ(rootName, "");
    EXPECT_EQ(created, 1);
    EXPECT_EQ(closed, 0);
    EXPECT_NE(printed.find("invalid root node name \"bad name\""), std::string::npos);
    EXPECT_NE(printed.find("write failed"), std::string::npos);
}

TEST(XmlConfigureToolTest, NodesStayATree) {
    XmlConfigureNode a("a", 1);
    XmlConfigureNode b("b", 1);
    XmlConfigureNode c("c", 1);
    ASSERT_EQ(a.addChildNode(b), 1);
    ASSERT_EQ(b.addChildNode(c), 1);
    EXPECT_EQ(a.addChildNode(a), 0);                           // itself
    EXPECT_EQ(c.addChildNode(a), 0);                           // an ancestor
    EXPECT_EQ(a.addChildNode(c), 0);                           // already has a parent
    EXPECT_EQ(a.addChildNode(XmlConfigureNode("item", 1)), 0); // reserved
    EXPECT_EQ(a.addChildNode(XmlConfigureNode("", 1)), 0);
    EXPECT_EQ(a.addChildNode(XmlConfigureNode("x y", 1)), 0);
    XmlConfigureItem item(1);
    ASSERT_EQ(c.addConfigItem(item), 1);
    EXPECT_EQ(b.addConfigItem(item), 0);

    EXPECT_EQ(b.removeChildNode("c"), 1);
    EXPECT_EQ(a.addChildNode(c), 1); // free again after removal
    XmlConfigureNode found;
    ASSERT_EQ(a.getChildNode("c", found), 1);
    EXPECT_TRUE(found.isSameNode(c));

    // Nodes of a closed document are detached and may go to another one.
    kvtest::TestRoot root;
    root.writeFile("/cfg/t.xml", "<r><n/></r>");
    XmlConfigureNode n;
    {
        XmlConfigureTool tool;
        ASSERT_EQ(tool.open("/cfg/t.xml", 1, XmlConfigureTool::ModeRead), 1);
        ASSERT_EQ(tool.getConfigNode("n", n), 1);
        EXPECT_EQ(a.addChildNode(n), 0);
    }
    EXPECT_EQ(a.addChildNode(n), 1);
}

TEST(XmlConfigureToolTest, OpeningAgainClosesAndWritesTheFirstDocument) {
    kvtest::TestRoot root;
    root.writeFile("/cfg/one.xml", "<one/>");
    root.writeFile("/cfg/two.xml", "<two/>");
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/one.xml", 1, XmlConfigureTool::ModeModify), 1);
    tool.setRootNodeName("first");
    ASSERT_EQ(tool.open("/cfg/two.xml", 1, XmlConfigureTool::ModeRead), 1);
    EXPECT_EQ(tool.getRootNodeName(), "two");
    EXPECT_NE(root.readFile("/cfg/one.xml").find("<first />"), std::string::npos);
}

} // namespace
