// ISP tuning tables and the IR power configuration file.
#include "config/IRPowerDefaultConfig.h"
#include "config/ISPParamParse.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

TEST(ISPParamTest, BandLookupRules) {
    ISPParam p;
    p.setParam("day", "low", 0, 10, "EE", 6);
    p.setParam("day", "mid", 10, 20, "EE", 4);
    p.setParam("day", "mid", 10, 20, "DC", 120);
    p.setParam("day", "overlap", 5, 15, "DC", 99); // listed after "low": never answers below 10
    p.setParam("day", "low", 50, 60, "DC", 1);     // redefinition keeps 0..10
    int v = 0;
    ASSERT_EQ(p.getParam("day", "EE", 10, v), 1) << "max belongs to the next band";
    EXPECT_EQ(v, 4);
    ASSERT_EQ(p.getParam("day", "DC", 5, v), 1);
    EXPECT_EQ(v, 1) << "first band containing the level answers";
    EXPECT_EQ(p.getParam("day", "EE", 55, v), 0) << "limits of the first definition";
    EXPECT_EQ(p.getParam("day", "XX", 5, v), 0);
    EXPECT_EQ(p.getParam("night", "EE", 5, v), 0);
    p.setParam("n", "a", 0, 10, "EE", 1);
    p.setParam("n", "b", 0, 10, "DC", 2);
    EXPECT_EQ(p.getParam("n", "DC", 3, v), 0) << "later bands are not tried";
    bool enabled = false;
    EXPECT_EQ(p.getEnableFlag("day", enabled), 0);
    p.setEnableFlag("day", true);
    EXPECT_EQ(p.getEnableFlag("day", enabled), 1);
    EXPECT_TRUE(enabled);
}

std::string sample(const std::string& name) {
    std::ifstream in(std::string(KV_SOURCE_DIR "/examples/rootfs/hd1/program/config/") + name);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(ISPParamParseTest, ReadsTheShippedSample) {
    kvtest::TestRoot root;
    root.writeFile(ISPParamParse::FilePath, sample("ISPParam.xml"));
    ISPParamParse parser;
    ASSERT_EQ(parser.parse(), 1);
    ISPParam p;
    parser.getISPParam(p);
    int v = 0;
    ASSERT_EQ(p.getParam("night", "A0", 20, v), 1);
    EXPECT_EQ(v, 10);
    EXPECT_EQ(parser.getDelayTime(), 1);
    EXPECT_FALSE(parser.getRealTimeUpdate());
}

TEST(ISPParamParseTest, OnlyAMissingFileFailsWhatTheFileLacksIsNotThere) {
    kvtest::TestRoot root;
    ISPParamParse parser;
    {
        kvtest::StdoutCapture out;
        EXPECT_EQ(parser.parse(), 0);
        EXPECT_EQ(out.text(), "open sensor.xml failed\n");
    }
    EXPECT_EQ(parser.getDelayTime(), 1);
    root.writeFile(ISPParamParse::FilePath, "<ISPParam><other/></ISPParam>");
    EXPECT_EQ(parser.parse(), 1) << "no config node: no tables";
    // A group without "enable" is disabled; a band without limits covers no
    // level; an item without a name or a numeric value is stored as "" / 0.
    root.writeFile(ISPParamParse::FilePath,
                   "<ISPParam><config time=\"3\" realTimeUpdate=\"true\">"
                   "<day enable=\"1\"><low min=\"0\" max=\"9\"><item name=\"EE\" value=\"high\"/>"
                   "<item value=\"4\"/></low><open><item name=\"EE\" value=\"5\"/></open></day>"
                   "<night><low min=\"0\" max=\"9\"><item name=\"EE\" value=\"7\"/></low></night>"
                   "</config></ISPParam>");
    EXPECT_EQ(parser.parse(), 1);
    EXPECT_EQ(parser.getDelayTime(), 3);
    EXPECT_TRUE(parser.getRealTimeUpdate());
    ISPParam p;
    parser.getISPParam(p);
    int v = -1;
    EXPECT_EQ(p.getParam("day", "EE", 3, v), 1);
    EXPECT_EQ(v, 0);
    EXPECT_EQ(p.getParam("day", "", 3, v), 1);
    EXPECT_EQ(v, 4);
    EXPECT_EQ(p.getParam("day", "EE", 9, v), 0) << "the band without limits holds no level";
    bool enabled = true;
    EXPECT_EQ(p.getEnableFlag("night", enabled), 1);
    EXPECT_FALSE(enabled);
}

const char* kIR = IRPowerDefaultConfig::FilePath;

TEST(IRPowerDefaultConfigTest, LoadsRowsAndRejectsIncompleteOnes) {
    kvtest::TestRoot root;
    IRPowerParamV2 param;
    IRPowerDefaultConfig missing;
    EXPECT_EQ(missing.load(1, kIR, param), -4);
    EXPECT_FALSE(root.exists(kIR)) << "reading never creates the file";

    root.writeFile(kIR, sample("IRPowerConfigure.xml"));
    IRPowerDefaultConfig config;
    ASSERT_EQ(config.load(1, kIR, param), 0);
    std::vector<IRPowerItem> rows;
    param.getIrPower(rows);
    ASSERT_EQ(rows.size(), 11u);
    EXPECT_EQ(rows[1], IRPowerItem(2, 0, 35, 55));

    root.writeFile(kIR, "<IRConfig><IRPower><item zoomup=\"1\" far=\"1\" mid=\"1\" near=\"1\"/>"
                        "<item zoomup=\"2\" far=\"1\" near=\"1\"/></IRPower></IRConfig>");
    EXPECT_EQ(config.load(1, kIR, param), -3);
    param.getIrPower(rows);
    EXPECT_EQ(rows.size(), 11u) << "a failed load leaves the table";
    root.writeFile(kIR, "<IRConfig><version/></IRConfig>");
    EXPECT_EQ(config.load(1, kIR, param), -1);
    root.writeFile(kIR, "<IRConfig><IRPower/></IRConfig>");
    EXPECT_EQ(config.load(1, kIR, param), 0);
    EXPECT_EQ(param.size(), 0);
}

TEST(IRPowerDefaultConfigTest, VersionIsCachedAndCreatedOnWrite) {
    kvtest::TestRoot root;
    root.writeFile("/hd1/program/config/.keep", "");
    IRPowerDefaultConfig config;
    int v = 0;
    EXPECT_EQ(config.getVersion(1, kIR, v), -4);
    EXPECT_EQ(config.setVersion(1, kIR, 5), 0);
    const std::string written = root.readFile(kIR);
    EXPECT_NE(written.find("<IRConfig>"), std::string::npos);
    EXPECT_NE(written.find("version=\"5\""), std::string::npos);
    EXPECT_EQ(written.find("version=\"1\""), std::string::npos) << "the created node was replaced";

    IRPowerDefaultConfig reader;
    ASSERT_EQ(reader.getVersion(1, kIR, v), 0);
    EXPECT_EQ(v, 5);
    root.writeFile(kIR, "<IRConfig><version><item version=\"9\"/></version></IRConfig>");
    EXPECT_EQ(reader.getVersion(1, kIR, v), 0);
    EXPECT_EQ(v, 5) << "second read comes from the cache";
    EXPECT_EQ(reader.setVersion(1, kIR, 5), 0);
    EXPECT_NE(root.readFile(kIR).find("version=\"9\""), std::string::npos)
        << "setting the cached value writes nothing";

    IRPowerDefaultConfig fresh;
    root.writeFile(kIR, "<IRConfig><version/></IRConfig>");
    EXPECT_EQ(fresh.getVersion(1, kIR, v), -2);
    root.writeFile(kIR, "<IRConfig><version><item version=\"x\"/></version></IRConfig>");
    EXPECT_EQ(fresh.getVersion(1, kIR, v), -3);
    root.writeFile(kIR, "<IRConfig/>");
    EXPECT_EQ(fresh.getVersion(1, kIR, v), -1);
}

// The version update the system runs at every start never costs the IR table:
// a document it cannot rewrite faithfully is left alone, one in another
// encoding is rewritten in that encoding.
TEST(IRPowerDefaultConfigTest, VersionUpdateKeepsTheTableWhateverTheBytes) {
    kvtest::TestRoot root;
    const std::string rows = "<IRPower><item zoomup=\"1\" far=\"1\" mid=\"2\" near=\"3\" "
                             "note=\"caf\xE9\"/></IRPower>";
    const std::string undeclared =
        "<IRConfig><version><item version=\"1\"/></version>" + rows + "</IRConfig>";
    root.writeFile(kIR, undeclared);
    IRPowerDefaultConfig config;
    EXPECT_EQ(config.setVersion(1, kIR, 2), -4);
    EXPECT_EQ(root.readFile(kIR), undeclared);

    root.writeFile(kIR, "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + undeclared);
    IRPowerDefaultConfig latin1;
    EXPECT_EQ(latin1.setVersion(1, kIR, 2), 0);
    IRPowerDefaultConfig reader;
    IRPowerParamV2 param;
    ASSERT_EQ(reader.load(1, kIR, param), 0);
    std::vector<IRPowerItem> table;
    param.getIrPower(table);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0], IRPowerItem(1, 1, 2, 3));
    EXPECT_NE(root.readFile(kIR).find("note=\"caf\xE9\""), std::string::npos);
}

} // namespace
