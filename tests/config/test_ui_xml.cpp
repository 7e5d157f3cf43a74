// The UI files: the style merge with its variations, the language texts and the module choice.
#include "config/MergedXml.h"
#include "config/SensorFile.h"
#include "config/SensorUIConfigFile.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

namespace {

using kvtest::contains;

const char* const kBase = "/ui/base.xml";
const char* const kModify = "/ui/modify.xml";
const std::string kTabs159 = R"(<Style><Tab id="1"/><Tab id="5"/><Tab id="9"/></Style>)";

// The keys of the printed tabs (lines at the first indent), in order.
std::string tabKeys(const std::string& printed) {
    std::istringstream lines(printed);
    std::string line;
    std::string keys;
    while (std::getline(lines, line)) {
        if (line.compare(0, 5, "    <") != 0 || line[5] == ' ' || line[5] == '/')
            continue;
        const std::size_t open = line.find("=\"");
        keys +=
            (keys.empty() ? "" : " ") + line.substr(open + 2, line.find('"', open + 2) - open - 2);
    }
    return keys;
}

struct Merge {
    int result;
    std::string out;
    std::string printed;
};

Merge merge(MergedXml& xml, const std::string& detail) {
    Merge m{0, "untouched", ""};
    kvtest::StdoutCapture capture;
    m.result = xml.getStyleMergedString(detail, m.out);
    m.printed = capture.text();
    return m;
}

Merge merge(const kvtest::TestRoot& root, const std::string& base, const std::string& modify,
            const std::string& detail) {
    root.writeFile(kBase, base);
    root.writeFile(kModify, modify);
    MergedXml xml;
    xml.setStyleOriginalPath(kBase);
    xml.setStyleModifyPath(kModify);
    return merge(xml, detail);
}

struct MergeCase {
    const char* name;
    std::string base;
    std::string modify;
    std::string detail;
    std::string tabs;
};

TEST(MergedXmlTest, AppliesMatchingBlocksInOrder) {
    const std::string del9 = R"(<Delete><Tab id="9"/></Delete>)";
    const MergeCase cases[] = {
        {"1,3 accepts 3", kTabs159, R"(<If Zoom="1,3">)" + del9 + "</If>", "Zoom=3", "1 5"},
        {"1,3 refuses 13", kTabs159, R"(<If Zoom="1,3">)" + del9 + "</If>", "Zoom=13", "1 5 9"},
        {"unknown parameter", kTabs159, R"(<If Lens="1">)" + del9 + "</If>", "Zoom=1", "1 5 9"},
        {"every attribute must match", kTabs159, R"(<If Zoom="1" Ir="1">)" + del9 + "</If>",
         "Zoom=1;Ir=0", "1 5 9"},
        {"no attributes always match", kTabs159, "<If>" + del9 + "</If>", "", "1 5"},
        {"several blocks, empty detail value", kTabs159,
         R"(<If Zoom="">)" + del9 + R"(</If><If Zoom="2"><Delete><T k="1"/></Delete></If>)",
         "Zoom=", "1 5"},
        {"doubled key deleted twice over",
         R"(<Style><Tab id="1"/><Tab id="5"/><Tab id="5"/><Tab id="9"/></Style>)",
         R"(<If><Delete><Tab id="5"/></Delete></If>)", "", "1 9"},
        {"AddAfter keeps written order", kTabs159,
         R"(<If><AddAfter><Tab id="5"><Tab id="6"/><Tab id="7"/><Tab id="8"/></Tab></AddAfter></If>)",
         "", "1 5 6 7 8 9"},
        {"AddBefore run ends before the anchor", kTabs159,
         R"(<If><AddBefore><Tab id="5"><Tab id="2"/><Tab id="3"/><Tab id="4"/></Tab></AddBefore></If>)",
         "", "1 2 3 4 5 9"},
        {"key is the first attribute, any name",
         R"(<Style><Tab name="x" id="1"/><Tab key="+5"/></Style>)",
         R"(<If><AddAfter><A n="5"><B z="6" id="1"/></A></AddAfter></If>)", "", "x +5 6"},
        {"missing first anchor inserts nothing, the rest runs", kTabs159,
         R"(<If><AddAfter><T k="42"><T k="6"/></T></AddAfter>)" + del9 +
             R"(<Other><T k="1"/></Other></If>)",
         "", "1 5"},
        {"missing anchor goes where the last lookup found a tab", kTabs159,
         R"(<If><AddBefore><T k="5"><T k="4"/></T></AddBefore>)"
         R"(<AddAfter><T k="42"><T k="7"/></T></AddAfter></If>)",
         "", "1 4 5 7 9"},
        {"that position is the lookup's, not the last insertion's", kTabs159,
         R"(<If><AddAfter><T k="1"><T k="2"/></T><T k="42"><T k="3"/></T></AddAfter></If>)", "",
         "1 3 2 5 9"},
        {"a deleted position is forgotten", kTabs159,
         R"(<If><AddAfter><T k="5"><T k="6"/></T></AddAfter><Delete><T k="5"/></Delete>)"
         R"(<AddAfter><T k="42"><T k="7"/></T></AddAfter></If>)",
         "", "1 6 9"},
        {"blank variation file", kTabs159, " \n", "", "1 5 9"},
        {"variation file of comments", kTabs159, "<!-- nothing yet -->", "", "1 5 9"},
    };
    for (const MergeCase& c : cases) {
        kvtest::TestRoot root;
        const Merge m = merge(root, c.base, c.modify, c.detail);
        EXPECT_EQ(m.result, 1) << c.name;
        EXPECT_EQ(tabKeys(m.out), c.tabs) << c.name << "\n" << m.out;
        EXPECT_EQ(m.printed, "") << c.name;
        EXPECT_EQ(root.readFile(kBase), c.base) << c.name << ": files are never written";
    }
}

TEST(MergedXmlTest, PrintsWithFourBlankIndent) {
    kvtest::TestRoot root;
    const Merge m = merge(root, R"(<S><T id="1"><C a="x"/></T></S>)", "", "");
    EXPECT_EQ(m.out, "<S>\n    <T id=\"1\">\n        <C a=\"x\" />\n    </T>\n</S>\n");
}

struct FailureCase {
    const char* name;
    std::string base;
    std::string modify;
    std::string detail;
    std::string printed; // what the output starts with
};

TEST(MergedXmlTest, BadInputFailsWithAMessageAndLeavesTheOutput) {
    const std::string ok = R"(<If><Delete><T k="9"/></Delete></If>)";
    const FailureCase cases[] = {
        {"malformed base", "<Style><Tab id=\"1\"></Style>", ok, "",
         "mergeStyleXml parse /ui/base.xml failed: "},
        {"two roots in the base", kTabs159 + kTabs159, ok, "",
         "mergeStyleXml parse /ui/base.xml failed: "},
        {"malformed variation", kTabs159, "<If><Delete></If>", "",
         "mergeStyleXml parse /ui/modify.xml failed: "},
        {"NUL in the variation", kTabs159, std::string("<If/>\0", 6), "",
         "mergeStyleXml parse /ui/modify.xml failed: "},
        {"detail does not parse", kTabs159, R"(<If Zoom="1"/>)", "Zoom",
         "parse detail failed\nmergeStyleXml failed\n"},
        {"hexadecimal key", kTabs159, R"(<If><Delete><T k="0x9"/></Delete></If>)", "",
         "mergeStyleXml key of <T> at line 1 is not a number\nmergeStyleXml failed\n"},
        {"key with a blank", kTabs159, R"(<If><AddBefore><T k=" 5"/></AddBefore></If>)", "",
         "mergeStyleXml key of <T> at line 1 is not a number\n"},
        {"new tab without a key", kTabs159, R"(<If><AddAfter><T k="5"><T/></T></AddAfter></If>)",
         "", "mergeStyleXml key of <T> at line 1 is not a number\n"},
    };
    for (const FailureCase& c : cases) {
        kvtest::TestRoot root;
        const Merge m = merge(root, c.base, c.modify, c.detail);
        EXPECT_EQ(m.result, 0) << c.name;
        EXPECT_EQ(m.out, "untouched") << c.name;
        EXPECT_EQ(m.printed.compare(0, c.printed.size(), c.printed), 0) << c.name << m.printed;
        EXPECT_TRUE(contains(m.printed, "mergeStyleXml failed\n")) << c.name;
    }
}

TEST(MergedXmlTest, MissingPathsFilesAndOversizedFilesFail) {
    kvtest::TestRoot root;
    root.writeFile(kBase, kTabs159);
    root.writeFile(kModify, "");
    for (int which = 0; which < 2; ++which) {
        MergedXml xml;
        xml.setStyleOriginalPath(which == 0 ? "" : kBase);
        xml.setStyleModifyPath(which == 0 ? kModify : "");
        const Merge m = merge(xml, "");
        EXPECT_EQ(m.result, 0);
        EXPECT_EQ(m.out, "untouched");
        EXPECT_EQ(m.printed, "m_strStyleModifyPath or m_strStyleOriginalPath is NULL,Please set "
                             "path first\nmergeStyleXml failed\n");
    }
    MergedXml xml;
    xml.setStyleOriginalPath(kBase);
    xml.setStyleModifyPath("/ui/none.xml");
    EXPECT_EQ(merge(xml, "").printed, "mergeStyleXml file open failed \nmergeStyleXml failed\n");
    root.writeFile(kModify, std::string(4 * 1024 * 1024 + 1, ' '));
    xml.setStyleModifyPath(kModify);
    EXPECT_EQ(merge(xml, "").printed, "mergeStyleXml file /ui/modify.xml is too large (4194305 "
                                      "bytes)\nmergeStyleXml failed\n");
}

TEST(MergedXmlTest, EachMergeStartsFromTheFiles) {
    kvtest::TestRoot root;
    const std::string add = R"(<If><AddAfter><T k="5"><T k="6"/></T></AddAfter></If>)";
    root.writeFile(kBase, kTabs159);
    root.writeFile(kModify, add);
    MergedXml xml;
    xml.setStyleOriginalPath(kBase);
    xml.setStyleModifyPath(kModify);
    const Merge first = merge(xml, "");
    EXPECT_EQ(merge(xml, "").out, first.out) << "merged once, not twice";
    EXPECT_EQ(tabKeys(first.out), "1 5 6 9");
    root.writeFile(kModify, "");
    EXPECT_EQ(tabKeys(merge(xml, "").out), "1 5 9");
}

TEST(MergedXmlTest, LanguageMergeGivesAnEmptyDocument) {
    kvtest::TestRoot root;
    root.writeFile("/ui/lang.xml", "<Lang><T id=\"1\"/></Lang>");
    MergedXml xml;
    xml.setLangOriginalPath("/ui/lang.xml");
    xml.setLangModifyPath("/ui/lang.xml");
    std::string out = "untouched";
    EXPECT_EQ(xml.mergeLangXml("Zoom=1"), 1);
    EXPECT_EQ(xml.getLangMergedString("Zoom=1", out), 1);
    EXPECT_EQ(out, "");
}

// A UI tree under /x for the prefix P with English (1) and Chinese (2).
void writeUITree(const kvtest::TestRoot& root, const std::string& folder = "/x") {
    root.writeFile(folder + "/SensorLanguageConfig.xml",
                   R"(<languages><language id="2" folder="cn"/><language id="1" folder="en"/>)"
                   "</languages>");
    root.writeFile(folder + "/style/PStyle.xml", kTabs159);
    for (const char* f : {"cn", "en"}) {
        root.writeFile(folder + "/common/" + f + "/SensorCommon.xml", std::string("common ") + f);
        root.writeFile(folder + "/language/" + f + "/PLang.xml", std::string("lang ") + f);
    }
}

TEST(SensorUIConfigFileTest, ReadsTheTreeAndFallsBackToLanguageOne) {
    kvtest::TestRoot root;
    writeUITree(root);
    SensorUIConfigFile ui;
    ui.setUIConfigPath("/x");
    ui.setUIConfigPrefix("P");
    EXPECT_EQ(ui.getUICommonConfigString(1), "") << "nothing loaded yet";
    ASSERT_EQ(ui.init("Zoom=1"), 1);
    EXPECT_EQ(ui.getUIStyleConfigString(), kTabs159) << "no variation file: the file as it is";
    EXPECT_EQ(ui.getUICommonConfigString(2), "common cn");
    EXPECT_EQ(ui.getUILanguageConfigString(2), "lang cn");
    EXPECT_EQ(ui.getUICommonConfigString(7), "common en");
    EXPECT_EQ(ui.getUILanguageConfigString(7), "lang en");

    root.writeFile("/x/styleDiversity/PStyleDiversity.xml",
                   R"(<If Zoom="1"><Delete><T k="5"/></Delete></If>)");
    ASSERT_EQ(ui.init("Zoom=1"), 1);
    EXPECT_EQ(tabKeys(ui.getUIStyleConfigString()), "1 9");
    root.writeFile("/x/styleDiversity/PStyleDiversity.xml", "<If>");
    kvtest::StdoutCapture out;
    EXPECT_EQ(ui.init("Zoom=1"), 0);
    EXPECT_TRUE(contains(out.text(), "mergeStyleXml failed\nobjMergedXml.getStyleMergedString("
                                     "Zoom=1) failed\n"));
    EXPECT_EQ(tabKeys(ui.getUIStyleConfigString()), "1 9") << "a failed merge keeps the text";
}

TEST(SensorUIConfigFileTest, MissingFilesFailWithTheirPath) {
    const struct {
        const char* remove;
        const char* printed;
    } cases[] = {
        {"/x/SensorLanguageConfig.xml", "parse SensorLanguageConfig.xml failed \n"},
        {"/x/style/PStyle.xml", "getStyleFileText failed , path=/x/style/PStyle.xml \n"},
        {"/x/common/en/SensorCommon.xml",
         "getCommonFile failed , path=/x/common/en/SensorCommon.xml\n"},
        {"/x/language/cn/PLang.xml", "getLanguageFile failed , path=/x/language/cn/PLang.xml\n"},
    };
    for (const auto& c : cases) {
        kvtest::TestRoot root;
        writeUITree(root);
        std::remove(root.path(c.remove).c_str());
        SensorUIConfigFile ui;
        ui.setUIConfigPath("/x");
        ui.setUIConfigPrefix("P");
        kvtest::StdoutCapture out;
        EXPECT_EQ(ui.init(""), 0) << c.remove;
        EXPECT_TRUE(contains(out.text(), c.printed)) << out.text();
    }
}

const char* const kModules = "/hd1/moduleConfig/moduleConfig.xml";

void writeModules(const kvtest::TestRoot& root, const std::string& path,
                  const std::string& parameters) {
    root.writeFile(path, "<moduleConfig>"
                         R"(<module id="5" detail="" parameters="GUIConfig=Five.xml;Prefix=F"/>)"
                         R"(<module id="120" detail="" parameters="Prefix=Q"/>)"
                         R"(<module id="7" detail="Zoom=1" parameters=")" +
                             parameters + R"("/></moduleConfig>)");
}

TEST(SensorFileTest, TakesTheLastModuleBelow100WithTheDefaultPaths) {
    kvtest::TestRoot root;
    writeUITree(root, "/hd1/moduleConfig/sensorConfig");
    root.writeFile("/hd1/moduleConfig/sensorConfig/UI.xml", "<ui/>");
    writeModules(root, kModules, "GUIConfig=UI.xml;Prefix=P");
    SensorFile file;
    kvtest::StdoutCapture out;
    ASSERT_EQ(file.init("", ""), 1);
    EXPECT_EQ(out.text(), "SensorFile::init  successs !!!!\n");
    EXPECT_EQ(file.getModuleConfigure().getModuleId(), 7);
    EXPECT_EQ(file.getModuleConfigure().getDetail(), "Zoom=1");
    EXPECT_EQ(file.getUISensorConfig_V1(), "<ui/>");
    EXPECT_EQ(file.getUIStyleConfig(), kTabs159);
    EXPECT_EQ(file.getUICommonConfig(2), "common cn");
    EXPECT_EQ(file.getUILanguageConfig(3), "lang en");
}

TEST(SensorFileTest, EachFailingStepSaysWhich) {
    const struct {
        const char* parameters;
        const char* printed;
    } cases[] = {
        {"GUIConfig", "parse senseParameter failed\n"},
        {"Prefix=P", "get GUIConfigName from senseParameter failed\n"},
        {"GUIConfig=UI.xml", "getPrefix failed \n"},
        {"GUIConfig=None.xml;Prefix=P",
         "ISensorController::initUIInitConfigString error\ninitUIConfigString from /s/None.xml "
         "failed\n"},
        {"GUIConfig=Big.xml;Prefix=P",
         "read sensorUIConfig failed,fileLength = 0,readLength = 4194305\ninitUIConfigString "
         "from /s/Big.xml failed\n"},
        {"GUIConfig=UI.xml;Prefix=Q",
         "getStyleFileText failed , path=/s/style/QStyle.xml \nm_pSensorUIConfigFile  init  "
         "failed\n"},
    };
    for (const auto& c : cases) {
        kvtest::TestRoot root;
        writeUITree(root, "/s");
        root.writeFile("/s/UI.xml", "<ui/>");
        if (contains(c.parameters, "Big"))
            root.writeFile("/s/Big.xml", std::string(4 * 1024 * 1024 + 1, ' '));
        writeModules(root, "/m.xml", c.parameters);
        SensorFile file;
        kvtest::StdoutCapture out;
        EXPECT_EQ(file.init("/m.xml", "/s"), 0) << c.parameters;
        EXPECT_EQ(out.text(), c.printed);
    }
}

} // namespace
