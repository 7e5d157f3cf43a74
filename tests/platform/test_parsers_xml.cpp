// Module configuration and UI language list files: good layouts, shipped samples, corrupt files.
#include "platform/ModuleConfigureParser.h"
#include "platform/SensorLanguageConfigParser.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const ModulePath = "/hd1/moduleConfig/moduleConfig.xml";
const char* const LanguagePath = "/hd1/moduleConfig/sensorConfig/SensorLanguageConfig.xml";

// Text of a file of the source tree's sample device tree.
std::string sampleFile(const std::string& devicePath) {
    std::string source = __FILE__;
    source = source.substr(0, source.rfind("/tests/"));
    std::ifstream in(source + "/examples/rootfs" + devicePath, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string deeplyNested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    return text;
}

TEST(ModuleConfigureParserTest, ReadsModulesInFileOrderFromTheDefaultPath) {
    kvtest::TestRoot root;
    // Markup inside comments and attribute values does not count as nesting.
    root.writeFile(ModulePath,
                   "<?xml version=\"1.0\"?>\n<!-- " + deeplyNested(100) +
                       " -->\n<moduleConfig>\n"
                       "  <module id=\"5\" detail=\"a=1\" parameters=\"x=" +
                       deeplyNested(70) +
                       "\"/>\n"
                       "  <module id=\" 82 \" note=\"ignored\" detail=\"RS485=/dev/ttyS1;"
                       "isInfrared=1\" parameters=\"RS485=9600,8,0,1;Prefix=A&amp;B\"/>\n"
                       "</moduleConfig>\n");
    std::vector<ModuleConfigure> modules{ModuleConfigure(1, "old", "old")};
    ASSERT_EQ(ModuleConfigureParser::parse(modules), 1);
    ASSERT_EQ(modules.size(), 2u);
    EXPECT_EQ(modules[0].getModuleId(), 5);
    EXPECT_EQ(modules[0].getParameters(), "x=" + deeplyNested(70));
    EXPECT_EQ(modules[1].getModuleId(), 82);
    EXPECT_EQ(modules[1].getDetail(), "RS485=/dev/ttyS1;isInfrared=1");
    EXPECT_EQ(modules[1].getParameters(), "RS485=9600,8,0,1;Prefix=A&B");

    root.writeFile("/other/m.xml", "<moduleConfig/>");
    ASSERT_EQ(ModuleConfigureParser::parse("/other/m.xml", modules), 1);
    EXPECT_TRUE(modules.empty());
}

TEST(ModuleConfigureParserTest, ShippedSampleParses) {
    const std::string text = sampleFile(ModulePath);
    ASSERT_FALSE(text.empty());
    std::vector<ModuleConfigure> modules;
    ASSERT_EQ(ModuleConfigureParser::parseText(text, modules), 1);
    ASSERT_FALSE(modules.empty());
    EXPECT_EQ(modules[0].getModuleId(), 82);
}

TEST(ModuleConfigureParserTest, CorruptFilesFailWithAMessageAndKeepTheList) {
    const std::string bad[] = {
        "",
        "not xml at all",
        "<moduleConfig><module id=\"1\" detail=\"\" parameters=\"\">",
        "<modules><module id=\"1\" detail=\"\" parameters=\"\"/></modules>",
        "<moduleConfig><modul id=\"1\" detail=\"\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig><module detail=\"\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig><module id=\"1\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig><module id=\"1\" detail=\"\"/></moduleConfig>",
        "<moduleConfig><module id=\"x82\" detail=\"\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig><module id=\"8.2\" detail=\"\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig><module id=\"4294967378\" detail=\"\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig><module id=\"1\" id=\"2\" detail=\"\" parameters=\"\"/></moduleConfig>",
        "<moduleConfig/><moduleConfig/>",
        "<moduleConfig/> trailing text",
        "<moduleConfig/>x<module id=\"1\" detail=\"\" parameters=\"\"/>",
        std::string("<moduleConfig>\0</moduleConfig>", 30),
        "\xff\xfe garbage",
        deeplyNested(200000),
    };
    kvtest::TestRoot root;
    for (const std::string& text : bad) {
        root.writeFile(ModulePath, text);
        std::vector<ModuleConfigure> modules{ModuleConfigure(7, "d", "p")};
        kvtest::StdoutCapture capture;
        const int result = ModuleConfigureParser::parse(modules);
        const std::string printed = capture.text();
        EXPECT_EQ(result, 0) << text.substr(0, 80);
        EXPECT_NE(printed.find("ModuleConfigureParser: " + std::string(ModulePath)),
                  std::string::npos);
        ASSERT_EQ(modules.size(), 1u);
        EXPECT_EQ(modules[0].getModuleId(), 7);
    }
}

TEST(ModuleConfigureParserTest, MissingAndOversizedFilesFail) {
    kvtest::TestRoot root;
    std::vector<ModuleConfigure> modules;
    std::string big = "<moduleConfig>";
    big += std::string(5 * 1024 * 1024, ' ');
    big += "</moduleConfig>";
    kvtest::StdoutCapture capture;
    const int missing = ModuleConfigureParser::parse(modules);
    root.writeFile(ModulePath, big);
    const int oversized = ModuleConfigureParser::parse(modules);
    const std::string printed = capture.text();
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(oversized, 0);
    EXPECT_NE(printed.find("cannot open"), std::string::npos);
    EXPECT_NE(printed.find("out of bounds"), std::string::npos);
}

TEST(SensorLanguageConfigParserTest, ReadsLanguagesInOrder) {
    kvtest::TestRoot root;
    root.writeFile(LanguagePath, "<languages><language id=\"2\" folder=\"chinese\"/>"
                                 "<language folder=\" english \" id=\"1\"/></languages>");
    std::vector<SensorLanguageConfig> languages;
    ASSERT_EQ(SensorLanguageConfigParser::parse(languages), 1);
    ASSERT_EQ(languages.size(), 2u);
    std::string folder;
    EXPECT_EQ(languages[0].getLanguageId(), 2);
    ASSERT_EQ(languages[0].getFolderName(folder), 1);
    EXPECT_EQ(folder, "chinese");
    EXPECT_EQ(languages[1].getLanguageId(), 1);
    ASSERT_EQ(languages[1].getFolderName(folder), 1);
    EXPECT_EQ(folder, "english");

    const std::string sample = sampleFile(LanguagePath);
    ASSERT_FALSE(sample.empty());
    ASSERT_EQ(SensorLanguageConfigParser::parseText(sample, languages), 1);
    EXPECT_FALSE(languages.empty());
}

TEST(SensorLanguageConfigParserTest, RejectsBadListsAndUnsafeFolders) {
    const char* const bad[] = {
        // The same id twice.
        ("<languages><language id=\"1\" folder=\"en\"/><language id=\"1\" folder=\"fr\"/>"
         "</languages>"),
        "<languages><language id=\"1\" folder=\"../etc\"/></languages>",
        "<languages><language id=\"1\" folder=\"a/b\"/></languages>",
        "<languages><language id=\"1\" folder=\"..\"/></languages>",
        "<languages><language id=\"1\" folder=\"  \"/></languages>",
        "<languages><language id=\"1\"/></languages>",
        "<languages><language folder=\"en\"/></languages>",
        "<languages><language id=\"one\" folder=\"en\"/></languages>",
        "<languageList><language id=\"1\" folder=\"en\"/></languageList>",
        "<languages><lang id=\"1\" folder=\"en\"/></languages>",
        "<languages>",
    };
    kvtest::TestRoot root;
    for (const char* text : bad) {
        root.writeFile(LanguagePath, text);
        std::vector<SensorLanguageConfig> languages{SensorLanguageConfig(9, "kept")};
        kvtest::StdoutCapture capture;
        const int result = SensorLanguageConfigParser::parse(languages);
        const std::string printed = capture.text();
        EXPECT_EQ(result, 0) << text;
        EXPECT_NE(printed.find("SensorLanguageConfigParser:"), std::string::npos);
        ASSERT_EQ(languages.size(), 1u);
        EXPECT_EQ(languages[0].getLanguageId(), 9);
    }
    std::string name = "untouched";
    EXPECT_EQ(SensorLanguageConfig(3, "").getFolderName(name), 0);
    EXPECT_EQ(name, "untouched");
}

} // namespace
