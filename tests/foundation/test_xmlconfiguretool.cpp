// XML configuration tool: create, modify and read back; node, item and property rules; bad files.
#include "foundation/XmlConfigureTool.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>
#include <vector>

namespace {

using NodeList = std::vector<SafePointer<XmlConfigureNode>>;
using ItemList = std::vector<SafePointer<XmlConfigureItem>>;

const char* const SensorXml = "/mnt/mtd/code/config_file/sensor.xml";

TEST(XmlConfigureToolTest, CreateModifyAndReadBack) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/keep", "");
    XmlConfigureTool tool;
    tool.setRootNodeName("sensor");
    ASSERT_EQ(tool.open(SensorXml, 1, XmlConfigureTool::ModeCreate), 1);
    XmlConfigureNode scheme("paramScheme", 1);
    for (const char* name : {"SchemeIndex", "SchemeMode"}) {
        XmlConfigureItem item(1);
        item.setProperty("name", name);
        item.setProperty("value", 1);
        ASSERT_EQ(scheme.addConfigItem(item), 1);
    }
    ASSERT_EQ(tool.addConfigNode(scheme), 1);
    ASSERT_EQ(tool.close(), 1);
    EXPECT_EQ(root.readFile(SensorXml), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
                                        "<sensor>\n"
                                        "    <paramScheme>\n"
                                        "        <item name=\"SchemeIndex\" value=\"1\" />\n"
                                        "        <item name=\"SchemeMode\" value=\"1\" />\n"
                                        "    </paramScheme>\n"
                                        "</sensor>\n");
    {
        XmlConfigureTool modify;
        ASSERT_EQ(modify.open(SensorXml, 1, XmlConfigureTool::ModeModify), 1);
        EXPECT_EQ(modify.getRootNodeName(), "sensor");
        XmlConfigureNode node;
        ASSERT_EQ(modify.getConfigNode("paramScheme", node), 1);
        ItemList items;
        ASSERT_EQ(node.getItemList(items), 1);
        EXPECT_EQ(items.at(0)->setProperty("value", 3), 1);
        // The destructor closes and writes.
    }
    EXPECT_NE(root.readFile(SensorXml).find("<item name=\"SchemeIndex\" value=\"3\" />"),
              std::string::npos);
}

TEST(XmlConfigureToolTest, PropertyConversionsAreStrict) {
    XmlConfigureItem item(1);
    const char* const props[][2] = {{"n", "abc"}, {"f", "1.5"},   {"e", ""},   {"o", "2147483648"},
                                    {"b", "yes"}, {"s", " -42 "}, {"one", "1"}};
    for (const auto& p : props)
        item.setProperty(p[0], p[1]);
    int number = 9;
    bool flag = true;
    for (const char* name : {"n", "f", "e", "o", "b", "missing"})
        EXPECT_EQ(item.getProperty(name, number), 0) << name;
    for (const char* name : {"n", "e", "b", "s", "missing"})
        EXPECT_EQ(item.getProperty(name, flag), 0) << name;
    EXPECT_EQ(number, 9);
    EXPECT_EQ(item.getProperty("s", number), 1);
    EXPECT_EQ(number, -42);
    item.setProperty("t", false);
    std::string text;
    EXPECT_EQ(item.getProperty("t", text), 1);
    EXPECT_EQ(text, "false");
    EXPECT_EQ(item.getProperty("t", flag), 1);
    EXPECT_FALSE(flag);
    EXPECT_EQ(item.getProperty("one", flag), 1);
    EXPECT_TRUE(flag);
    item.setProperty("lit", "value"); // a string literal stays a string, not a bool
    EXPECT_EQ(item.getProperty("lit", text), 1);
    EXPECT_EQ(text, "value");
    for (const char* name : {"", "1abc", "a b"})
        EXPECT_EQ(item.setProperty(name, 1), 0) << name;
    EXPECT_EQ(item.setProperty("x", std::string("a\0b", 3)), 0);
}

TEST(XmlConfigureToolTest, RewriteKeepsNestingAndSpecialCharactersAndRemovesNodes) {
    kvtest::TestRoot root;
    root.writeFile("/cfg/a.xml", "<IRConfig rev=\"2\"><version><item version=\"1\"/></version>"
                                 "<item top=\"1\"/><IRPower on=\"false\"><low><item value=\"3\"/>"
                                 "</low><high/></IRPower><version/></IRConfig>");
    const std::string tricky = "a&b <c> \"d\" 'e'\nline2 \xc3\xa9";
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/a.xml", 1, XmlConfigureTool::ModeModify), 1);
    EXPECT_EQ(tool.removeConfigNode("version"), 1); // both of that name
    EXPECT_EQ(tool.removeConfigNode("version"), 0);
    XmlConfigureNode version("version", 1);
    version.setProperty("note", tricky);
    ASSERT_EQ(tool.addConfigNode(version), 1);
    ASSERT_EQ(tool.close(), 1);
    EXPECT_EQ(tool.close(), 1); // a second close does nothing

    ASSERT_EQ(tool.open("/cfg/a.xml", 1, XmlConfigureTool::ModeRead), 1);
    std::string text;
    ASSERT_EQ(tool.getDocumentText(text), 1);
    EXPECT_NE(text.find("<IRConfig rev=\"2\">"), std::string::npos);
    EXPECT_NE(text.find("<item top=\"1\" />"), std::string::npos);
    SafePointer<XmlConfigureNode> missing(new XmlConfigureNode());
    EXPECT_EQ(tool.getConfigNode("missing", missing), 0);
    NodeList nodes;
    ASSERT_EQ(tool.getConfigNodeList(nodes), 1);
    ASSERT_EQ(nodes.size(), 2u);
    std::string note;
    ASSERT_EQ(nodes[1]->getProperty("note", note), 1);
    EXPECT_EQ(note, tricky);
    bool on = true;
    EXPECT_EQ(nodes[0]->getProperty("on", on), 1);
    EXPECT_FALSE(on);
    NodeList bands;
    ASSERT_EQ(nodes[0]->getChildNodeList(bands), 1);
    ASSERT_EQ(bands.size(), 2u);
    ItemList items;
    bands[0]->getItemList(items);
    int value = 0;
    EXPECT_EQ(items.at(0)->getProperty("value", value), 1);
    EXPECT_EQ(value, 3);
    bands[1]->getItemList(items);
    EXPECT_TRUE(items.empty());
}

TEST(XmlConfigureToolTest, ReadModeNeverWritesAndReopeningWritesTheFirstDocument) {
    kvtest::TestRoot root;
    root.writeFile("/cfg/r.xml", "<r><n a=\"1\"/></r>");
    root.writeFile("/cfg/one.xml", "<one/>");
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/r.xml", 1, XmlConfigureTool::ModeRead), 1);
    EXPECT_EQ(tool.addConfigNode(XmlConfigureNode("extra", 1)), 1);
    EXPECT_EQ(tool.close(), 1);
    EXPECT_EQ(root.readFile("/cfg/r.xml"), "<r><n a=\"1\"/></r>");

    ASSERT_EQ(tool.open("/cfg/one.xml", 1, XmlConfigureTool::ModeModify), 1);
    tool.setRootNodeName("first");
    ASSERT_EQ(tool.open("/cfg/r.xml", 1, XmlConfigureTool::ModeRead), 1);
    EXPECT_NE(root.readFile("/cfg/one.xml").find("<first />"), std::string::npos);

    kvtest::StdoutCapture capture(STDERR_FILENO);
    EXPECT_EQ(tool.open("/cfg/missing.xml", 1, XmlConfigureTool::ModeRead), 0);
    EXPECT_EQ(tool.open("/cfg/missing.xml", 1, XmlConfigureTool::ModeModify), 0);
    EXPECT_FALSE(root.exists("/cfg/missing.xml"));
    EXPECT_EQ(tool.addConfigNode(XmlConfigureNode("n", 1)), 0); // nothing open
    EXPECT_NE(capture.text().find("XmlConfigureTool: /cfg/missing.xml: cannot open"),
              std::string::npos);
}

TEST(XmlConfigureToolTest, BadOpensFailCleanlyAndLeaveTheFile) {
    std::string deep;
    std::string closing;
    for (int i = 0; i < 20000; ++i) {
        deep += "<a>";
        closing += "</a>";
    }
    const std::string wellFormedDeep = deep + closing;
    // clang-format off
    const std::string bad[] = {
        "", "garbage", "<r><n></r>", "<r><n a=\"1\" a=\"2\"/></r>", "<r/><r/>",
        "<r><n><item a=\"1\"><sub/></item></n></r>", std::string("<r>\0</r>", 8), deep,
        wellFormedDeep, "<?x>" + deep, "<?xml version=\"1.0\"?><r      >\xC2",
        "<r><n v=\"a&#0;b\"/></r>", "<r><n v=\"&#x110000;\"/></r>", "<r><n v=\"&#xD800;\"/></r>",
        "<r><n v=\"&#x;\"/></r>", "<r><n v=\"a & b\"/></r>", "<r><n v=\"&nbsp;\"/></r>",
        "<?xml version=\"1.0\"?><r><?pi a=\">\"?><n/></r>", "<!DOCTYPE r [<!ENTITY e \"x\">]><r/>",
        // Bytes that are not text in the declared (or default) encoding.
        "<r><n name=\"caf\xE9\"/></r>", "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r a=\"\xE9\"/>",
        "<?xml version=\"1.0\" encoding=\"UTF-16\"?><r/>", "<r a=\"\xC0\xAF\"/>",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r a=\"&#x100;\"/>",
        // Markup the parser would end elsewhere than a strict reader: a comment
        // closed by its own opener, a declaration value running past its "?>".
        "<r><!--><![CDATA[-->" + deep + "]]></r>",
        "<?xml a'b version=\"x' ?><r><![CDATA[ \">" + deep + "]]></r>",
        "<?xml version='x encoding=\"ISO-8859-1\"' encoding=\"UTF-8\"?><r a=\"\xE9\"/>"};
    // clang-format on
    kvtest::TestRoot root;
    XmlConfigureTool tool;
    for (const std::string& text : bad) {
        root.writeFile("/cfg/bad.xml", text);
        kvtest::StdoutCapture capture(STDERR_FILENO);
        EXPECT_EQ(tool.open("/cfg/bad.xml", 1, XmlConfigureTool::ModeModify), 0)
            << text.substr(0, 60);
        EXPECT_FALSE(tool.isOpen());
        EXPECT_EQ(tool.close(), 1);
        EXPECT_NE(capture.text().find("XmlConfigureTool: /cfg/bad.xml:"), std::string::npos);
        EXPECT_EQ(root.readFile("/cfg/bad.xml"), text);
    }
    kvtest::StdoutCapture capture(STDERR_FILENO);
    EXPECT_EQ(tool.open("/cfg/new.xml", 1, XmlConfigureTool::ModeCreate), 0); // no root name
    EXPECT_EQ(tool.open("/cfg/new.xml", 1, 4), 0);
    tool.setRootNodeName("bad name");
    EXPECT_EQ(tool.getRootNodeName(), "");
    tool.setRootNodeName("r"); // writing into a missing folder fails at close
    EXPECT_EQ(tool.open("/no/such/dir/x.xml", 1, XmlConfigureTool::ModeCreate), 1);
    EXPECT_EQ(tool.close(), 0);
    const std::string printed = capture.text();
    EXPECT_NE(printed.find("invalid root node name \"bad name\""), std::string::npos);
    EXPECT_NE(printed.find("write failed"), std::string::npos);
}

// Rewrites in modify mode keep every value, whatever the document's encoding,
// and keep the encoding it declared.
TEST(XmlConfigureToolTest, RewritesKeepValuesAndEncoding) {
    struct Case {
        std::string document;
        std::string value; // of property "v" of the item of node "n"
        std::string declaration;
    };
    const std::string latin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";
    // clang-format off
    const Case cases[] = {
        {latin1 + "<r><n><item name=\"caf\xE9\" v=\"\xC4&amp;\"/></n></r>", "\xC4&", "ISO-8859-1"},
        {"<r><n><item v=\"\xC3\xA9&amp;&#x41;&#10;&#9;&#13;&lt;&quot;\"/></n></r>", "\xC3\xA9&A\n\t\r<\"", "UTF-8"},
        {"<r><n><item v=\"&amp;#x41;\"/></n></r>", "&#x41;", "UTF-8"},
        {"\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?><r><n><item v='\"&apos;'/></n></r>", "\"'", "utf-8"},
    };
    // clang-format on
    kvtest::TestRoot root;
    for (const Case& c : cases) {
        root.writeFile("/cfg/t.xml", c.document);
        for (int round = 0; round < 3; ++round) {
            XmlConfigureTool tool;
            ASSERT_EQ(tool.open("/cfg/t.xml", 1, XmlConfigureTool::ModeModify), 1) << c.document;
            XmlConfigureNode node;
            ASSERT_EQ(tool.getConfigNode("n", node), 1);
            ItemList items;
            node.getItemList(items);
            ASSERT_EQ(items.size(), 1u);
            std::string value;
            EXPECT_EQ(items[0]->getProperty("v", value), 1);
            EXPECT_EQ(value, c.value) << c.document << " round " << round;
            ASSERT_EQ(tool.close(), 1);
            EXPECT_EQ(root.readFile("/cfg/t.xml")
                          .rfind("<?xml version=\"1.0\" encoding=\"" + c.declaration + "\" ?>", 0),
                      0u);
        }
    }
    // A value the document's encoding cannot hold is not written.
    root.writeFile("/cfg/t.xml", "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r><n/></r>");
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/t.xml", 1, XmlConfigureTool::ModeModify), 1);
    XmlConfigureNode node;
    ASSERT_EQ(tool.getConfigNode("n", node), 1);
    ASSERT_EQ(node.setProperty("v", std::string("\xE9")), 1);
    kvtest::StdoutCapture capture(STDERR_FILENO);
    EXPECT_EQ(tool.close(), 0);
    EXPECT_NE(capture.text().find("not written"), std::string::npos);
    EXPECT_EQ(root.readFile("/cfg/t.xml"),
              "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r><n/></r>");
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
    XmlConfigureItem item(1);
    ASSERT_EQ(c.addConfigItem(item), 1);
    EXPECT_EQ(b.addConfigItem(item), 0);
    EXPECT_EQ(b.removeChildNode("c"), 1);
    EXPECT_EQ(a.addChildNode(c), 1); // free again after removal

    // Nodes of a closed document are detached and may go to another one.
    kvtest::TestRoot root;
    root.writeFile("/cfg/t.xml", "<r><n/></r>");
    XmlConfigureNode n;
    XmlConfigureTool tool;
    ASSERT_EQ(tool.open("/cfg/t.xml", 1, XmlConfigureTool::ModeRead), 1);
    ASSERT_EQ(tool.getConfigNode("n", n), 1);
    EXPECT_EQ(a.addChildNode(n), 0);
    tool.close();
    EXPECT_EQ(a.addChildNode(n), 1);
}

} // namespace
