// Module configuration and UI language list files: good layouts, shipped samples, corrupt files.
#include "platform/ModuleConfigureParser.h"
#include "platform/SensorLanguageConfigParser.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const char* const ModulePath = "/hd1/moduleConfig/moduleConfig.xml";
const char* const LanguagePath = "/hd1/moduleConfig/sensorConfig/SensorLanguageConfig.xml";

// Text of a file of the source tree's sample device tree.
std::string sampleFile(const std::string& devicePath) {
    std::ifstream in(KV_SOURCE_DIR "/examples/rootfs" + devicePath, std::ios::binary);
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

TEST(ModuleConfigureParserTest, ReadsModulesInFileOrderAndTheShippedSample) {
    kvtest::TestRoot root;
    // Markup inside comments and attribute values does not count as nesting.
    root.writeFile(ModulePath, "<?xml version=\"1.0\"?>\n<!-- " + deeplyNested(100) +
                                   " -->\n<moduleConfig>\n  <module id=\"5\" detail=\"a=1\" "
                                   "parameters=\"x=" +
                                   deeplyNested(70) +
                                   "\"/>\n  <module id=\" 82 \" note=\"ignored\" detail=\"d\" "
                                   "parameters=\"RS485=9600,8,0,1;Prefix=A&amp;B\"/>\n"
                                   "</moduleConfig>\n");
    std::vector<ModuleConfigure> modules{ModuleConfigure(1, "old", "old")};
    ASSERT_EQ(ModuleConfigureParser::parse(modules), 1);
    ASSERT_EQ(modules.size(), 2u);
    EXPECT_EQ(modules[0].getModuleId(), 5);
    EXPECT_EQ(modules[0].getParameters(), "x=" + deeplyNested(70));
    EXPECT_EQ(modules[1].getModuleId(), 82);
    EXPECT_EQ(modules[1].getDetail(), "d");
    EXPECT_EQ(modules[1].getParameters(), "RS485=9600,8,0,1;Prefix=A&B");

    ASSERT_EQ(ModuleConfigureParser::parseText(sampleFile(ModulePath), modules), 1);
    ASSERT_FALSE(modules.empty());
    EXPECT_EQ(modules[0].getModuleId(), 82);
}

TEST(ModuleConfigureParserTest, CorruptMissingAndOversizedFilesFailAndKeepTheList) {
    const std::string m = "<moduleConfig>";
    const std::string e = "</moduleConfig>";
    const std::string all = " detail=\"\" parameters=\"\"/>";
    // clang-format off
    const std::string bad[] = {
        "", "not xml at all", m + "<module id=\"1\"" + all,
        "<modules><module id=\"1\"" + all + "</modules>", m + "<modul id=\"1\"" + all + e,
        m + "<module" + all + e, m + "<module id=\"1\" parameters=\"\"/>" + e,
        m + "<module id=\"x82\"" + all + e, m + "<module id=\"4294967378\"" + all + e,
        m + "<module id=\"1\" id=\"2\"" + all + e, "<moduleConfig/><moduleConfig/>",
        "<moduleConfig/>x<module id=\"1\"" + all, m + std::string(1, '\0') + e, "\xff\xfe garbage",
        deeplyNested(200000), m + std::string(5 * 1024 * 1024, ' ') + e,
        // A cut multi-byte character, a nesting hidden behind an instruction, a value cut by &#0;.
        "<?xml version=\"1.0\"?><moduleConfig      >\xC2", "<?x>" + deeplyNested(50000),
        m + "<module id=\"82\" detail=\"RS485=/dev/ttyS1&#0;;isInfrared=1\" parameters=\"\"/>" + e};
    // clang-format on
    kvtest::TestRoot root;
    std::vector<ModuleConfigure> modules{ModuleConfigure(7, "d", "p")};
    kvtest::StdoutCapture missing(STDERR_FILENO);
    EXPECT_EQ(ModuleConfigureParser::parse(modules), 0);
    EXPECT_NE(missing.text().find("cannot open"), std::string::npos);
    for (const std::string& text : bad) {
        root.writeFile(ModulePath, text);
        kvtest::StdoutCapture capture(STDERR_FILENO);
        const int result = ModuleConfigureParser::parse(modules);
        const std::string printed = capture.text();
        EXPECT_EQ(result, 0) << text.substr(0, 80);
        EXPECT_NE(printed.find("ModuleConfigureParser: " + std::string(ModulePath)),
                  std::string::npos);
        ASSERT_EQ(modules.size(), 1u);
        EXPECT_EQ(modules[0].getModuleId(), 7);
    }
}

TEST(SensorLanguageConfigParserTest, ReadsLanguagesInOrderAndTheShippedSample) {
    kvtest::TestRoot root;
    root.writeFile(LanguagePath, "<languages><language id=\"2\" folder=\"chinese\"/>"
                                 "<language folder=\" english \" id=\"1\"/></languages>");
    std::vector<SensorLanguageConfig> languages;
    ASSERT_EQ(SensorLanguageConfigParser::parse(languages), 1);
    ASSERT_EQ(languages.size(), 2u);
    std::string folder;
    EXPECT_EQ(languages[0].getLanguageId(), 2);
    EXPECT_EQ(languages[1].getLanguageId(), 1);
    ASSERT_EQ(languages[1].getFolderName(folder), 1);
    EXPECT_EQ(folder, "english");
    ASSERT_EQ(SensorLanguageConfigParser::parseText(sampleFile(LanguagePath), languages), 1);
    EXPECT_FALSE(languages.empty());
}

TEST(SensorLanguageConfigParserTest, RejectsBadListsAndUnsafeFolders) {
    const std::string l = "<languages><language id=\"1\" ";
    const std::string e = "/></languages>";
    // clang-format off
    const std::string bad[] = {
        l + "folder=\"en\"/><language id=\"1\" folder=\"fr\"" + e, l + "folder=\"../etc\"" + e,
        l + "folder=\"a/b\"" + e, l + "folder=\"  \"" + e, l + e,
        "<languages><language id=\"one\" folder=\"en\"" + e,
        "<languages><language folder=\"en\"" + e,
        "<languageList><language id=\"1\" folder=\"en\"/></languageList>", "<languages>"};
    // clang-format on
    kvtest::TestRoot root;
    for (const std::string& text : bad) {
        root.writeFile(LanguagePath, text);
        std::vector<SensorLanguageConfig> languages{SensorLanguageConfig(9, "kept")};
        kvtest::StdoutCapture capture(STDERR_FILENO);
        const int result = SensorLanguageConfigParser::parse(languages);
        const std::string printed = capture.text();
        EXPECT_EQ(result, 0) << text;
        EXPECT_NE(printed.find("SensorLanguageConfigParser:"), std::string::npos);
        ASSERT_EQ(languages.size(), 1u);
        EXPECT_EQ(languages[0].getLanguageId(), 9);
    }
}

} // namespace
