// The sample unit's UI files against the FBS8300 driver: ids, ranges, tab keys and texts.
#include "config/SensorFile.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/protocols/ViscaSettings.h"
#include "platform/XmlText.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

const std::string kSensorConfig =
    std::string(KV_SOURCE_DIR) + "/examples/rootfs/hd1/moduleConfig/sensorConfig/";

// What the setters outside the shared VISCA table take: the settings
// component's coded setters, the IR component's lamps and power mode, the
// base's day/night times and scheme window. `hole`: a value inside min..max
// that is refused (-1: none).
struct CodedRange {
    int id;
    int min;
    int max;
    int hole;
};
const CodedRange kCodedRanges[] = {
    {8, 0, 3, -1},    {10, 0, 4, -1},   {21, 0, 3, -1},    {22, 1, 5, 2},    {27, 1, 3, -1},
    {30, 0, 5, -1},   {31, 5, 116, -1}, {32, 15, 126, -1}, {57, 0, 100, -1}, {58, 0, 100, -1},
    {59, 0, 100, -1}, {60, 0, 23, -1},  {61, 0, 59, -1},   {62, 0, 23, -1},  {63, 0, 59, -1},
    {64, 0, 1, -1},   {65, 0, 1, -1},   {66, 0, 100, -1},  {67, 0, 2, -1},   {500, 0, 1, -1},
    {501, 0, 23, -1}, {502, 0, 59, -1}, {503, 0, 23, -1},  {504, 0, 59, -1},
};

bool driverAccepts(int id, int value) {
    if (const ViscaSetting* setting = findViscaSetting(id))
        return setting->accepts(value);
    for (const CodedRange& range : kCodedRanges)
        if (range.id == id)
            return value >= range.min && value <= range.max && value != range.hole;
    return false;
}

// The driver's id categories, as its constructor registers them.
class Fbs8300Ids : public AmbaS2FBS8300SenseController {
public:
    int idType(int id) const { return m_pIdManager->getIdType(id); }
};

bool parseInt(const char* text, int& value) {
    if (text == nullptr || *text == '\0')
        return false;
    char* end = nullptr;
    errno = 0;
    const long parsed = std::strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || parsed < INT_MIN || parsed > INT_MAX)
        return false;
    value = static_cast<int>(parsed);
    return true;
}

bool intAttr(const TiXmlElement& e, const char* name, int& value) {
    return parseInt(e.Attribute(name), value);
}

// A tab's key: its first attribute, whatever its name.
int keyOf(const TiXmlElement& e) {
    int key = -1;
    EXPECT_TRUE(e.FirstAttribute() != nullptr && parseInt(e.FirstAttribute()->Value(), key))
        << "<" << e.Value() << "> without a numeric first attribute";
    return key;
}

std::unique_ptr<TiXmlDocument> load(const std::string& file,
                                    kvconfig::XmlRoots roots = kvconfig::XmlRoots::One) {
    std::ifstream in(kSensorConfig + file, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    auto doc = std::make_unique<TiXmlDocument>();
    std::string error;
    EXPECT_TRUE(in.good() && kvconfig::parseXmlDocument(text.str(), *doc, error, nullptr, roots))
        << file << ": " << error;
    return doc;
}

std::vector<const TiXmlElement*> children(const TiXmlNode* parent, const char* name = nullptr) {
    std::vector<const TiXmlElement*> out;
    for (const TiXmlElement* e = parent != nullptr ? parent->FirstChildElement() : nullptr;
         e != nullptr; e = e->NextSiblingElement())
        if (name == nullptr || e->ValueStr() == name)
            out.push_back(e);
    return out;
}

// The keys of a common or language document, each once.
std::set<std::string> textKeys(const std::string& file) {
    std::set<std::string> keys;
    const auto doc = load(file);
    for (const TiXmlElement* text : children(doc->RootElement())) {
        const char* key = text->Attribute("key");
        EXPECT_TRUE(text->ValueStr() == "text" && key != nullptr && text->Attribute("value"))
            << file << ": <" << text->Value() << ">";
        EXPECT_TRUE(key == nullptr || keys.insert(key).second) << file << ": " << key << " twice";
    }
    return keys;
}

class UiSampleTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const TiXmlElement* tab : children(style->RootElement()))
            addTab(*tab, baseKeys);
        for (const TiXmlElement* block : children(diversity.get())) {
            EXPECT_NE(block->FirstAttribute(), nullptr) << "a condition block without conditions";
            for (const TiXmlElement* op : children(block)) {
                const bool add = op->ValueStr() == "AddAfter" || op->ValueStr() == "AddBefore";
                EXPECT_TRUE(add || op->ValueStr() == "Delete") << op->Value();
                for (const TiXmlElement* target : children(op)) {
                    (add ? anchors : deleted).insert(keyOf(*target));
                    if (add)
                        for (const TiXmlElement* tab : children(target))
                            addTab(*tab, addedKeys);
                }
            }
        }
    }

    void addTab(const TiXmlElement& tab, std::set<int>& keys) {
        const int key = keyOf(tab);
        EXPECT_EQ(tab.ValueStr(), "tab");
        EXPECT_TRUE(baseKeys.count(key) == 0 && addedKeys.count(key) == 0) << "tab " << key;
        keys.insert(key);
        labels.insert(tab.Attribute("label") ? tab.Attribute("label") : "");
        for (const TiXmlElement* control : children(&tab)) {
            controls.push_back(control);
            labels.insert(control->Attribute("label") ? control->Attribute("label") : "");
            if (const char* unit = control->Attribute("unit"))
                units.insert(unit);
            for (const TiXmlElement* option : children(control, "option"))
                labels.insert(option->Attribute("label") ? option->Attribute("label") : "");
        }
    }

    kvtest::TestRoot root;
    Fbs8300Ids driver;
    std::unique_ptr<TiXmlDocument> style = load("style/FBS8300Style.xml");
    std::unique_ptr<TiXmlDocument> diversity =
        load("styleDiversity/FBS8300StyleDiversity.xml", kvconfig::XmlRoots::Any);
    std::set<int> baseKeys, addedKeys, anchors, deleted;
    std::vector<const TiXmlElement*> controls;
    std::set<std::string> labels;
    std::set<std::string> units{"switch.on", "switch.off"};
};

// Every control writes only ids the driver registers, with values it takes;
// set-only ids are buttons and nothing else; variations anchor on base tabs.
TEST_F(UiSampleTest, ControlsMatchTheDriversIdsAndRanges) {
    ASSERT_FALSE(controls.empty());
    for (const TiXmlElement* c : controls) {
        const std::string kind = c->ValueStr();
        int id = 0;
        ASSERT_TRUE(intAttr(*c, "id", id)) << "<" << kind << "> without an id";
        SCOPED_TRACE("<" + kind + " id=" + std::to_string(id) + ">");
        const int type = driver.idType(id);
        EXPECT_NE(type, IdManager::Unknown);
        EXPECT_EQ(type == IdManager::SetOnly, kind == "button");

        std::vector<int> written;
        int min = 0, max = -1, step = 1, on = 0, off = 0;
        if (kind == "slider") {
            EXPECT_TRUE(intAttr(*c, "min", min) && intAttr(*c, "max", max) && min <= max);
            EXPECT_TRUE(c->Attribute("step") == nullptr || (intAttr(*c, "step", step) && step > 0));
            for (int v = min; v <= max && step > 0; v += step)
                written.push_back(v);
        } else if (kind == "list") {
            for (const TiXmlElement* option : children(c, "option"))
                EXPECT_TRUE(intAttr(*option, "value", written.emplace_back()));
            EXPECT_FALSE(written.empty());
        } else if (kind == "switch") {
            EXPECT_TRUE(intAttr(*c, "on", on) && intAttr(*c, "off", off) && on != off);
            written = {on, off};
        } else {
            EXPECT_EQ(kind, "button");
            EXPECT_TRUE(intAttr(*c, "value", on));
        }
        for (int v : written)
            EXPECT_TRUE(driverAccepts(id, v)) << "value " << v;

        if (const char* when = c->Attribute("when")) {
            const std::string text = when;
            const std::size_t eq = text.find('=');
            int gate = 0;
            ASSERT_TRUE(eq != std::string::npos && parseInt(text.substr(0, eq).c_str(), gate))
                << when;
            EXPECT_EQ(driver.idType(gate), IdManager::Common) << when;
            std::stringstream values(text.substr(eq + 1));
            for (std::string item; std::getline(values, item, ',');) {
                int v = 0;
                EXPECT_TRUE(parseInt(item.c_str(), v) && driverAccepts(gate, v)) << when;
            }
        }
    }
    for (int key : anchors)
        EXPECT_TRUE(baseKeys.count(key) == 1 && deleted.count(key) == 0) << "anchor " << key;
    for (int key : deleted)
        EXPECT_EQ(baseKeys.count(key), 1u) << "deleted tab " << key;

    // The initial configuration opens on a base tab and reads readable ids.
    const auto init = load("FBS8300GUIConfig.xml");
    ASSERT_NE(init->RootElement(), nullptr);
    const TiXmlElement* page = init->RootElement()->FirstChildElement("page");
    const TiXmlElement* read = init->RootElement()->FirstChildElement("load");
    ASSERT_TRUE(page != nullptr && read != nullptr);
    int openTab = 0, refresh = -1;
    EXPECT_TRUE(intAttr(*page, "openTab", openTab) && baseKeys.count(openTab) == 1);
    EXPECT_TRUE(intAttr(*page, "refreshSeconds", refresh) && refresh >= 0);
    std::stringstream ids(read->Attribute("ids") ? read->Attribute("ids") : "");
    for (std::string item; std::getline(ids, item, ',');) {
        int id = 0;
        EXPECT_TRUE(parseInt(item.c_str(), id) && driver.idType(id) == IdManager::Common) << item;
    }
}

// Every label key has a text in each listed language's module file, every
// unit and switch text in its common file.
TEST_F(UiSampleTest, EveryTextKeyResolvesInEachLanguage) {
    const auto list = load("SensorLanguageConfig.xml");
    std::set<int> languageIds;
    for (const TiXmlElement* language : children(list->RootElement(), "language")) {
        int id = 0;
        ASSERT_TRUE(intAttr(*language, "id", id) && language->Attribute("folder"));
        languageIds.insert(id);
        const std::string folder = language->Attribute("folder");
        const std::set<std::string> lang = textKeys("language/" + folder + "/FBS8300Lang.xml");
        const std::set<std::string> common = textKeys("common/" + folder + "/SensorCommon.xml");
        for (const std::string& key : labels)
            EXPECT_EQ(lang.count(key), 1u) << folder << ": label \"" << key << "\"";
        for (const std::string& key : units)
            EXPECT_EQ(common.count(key), 1u) << folder << ": common \"" << key << "\"";
    }
    EXPECT_EQ(languageIds.count(1), 1u) << "language 1 is every text's fallback";
    EXPECT_GE(languageIds.size(), 2u);
}

// The host's view of the sample unit: the style merged for its detail (the
// IR tab after day/night; no mirror tab on an old generation), the texts per
// language with language 1 as the fallback.
TEST(UiSampleUnit, SensorFileMergesTheStyleForTheUnitsDetail) {
    kvtest::TestRoot root;
    std::error_code error;
    std::filesystem::copy(std::string(KV_SOURCE_DIR) + "/examples/rootfs", root.dir(),
                          std::filesystem::copy_options::recursive, error);
    ASSERT_FALSE(error) << error.message();
    const std::string moduleConfig = "/hd1/moduleConfig/moduleConfig.xml";
    const std::string record = root.readFile(moduleConfig);
    const struct {
        const char* from;
        const char* to;
        std::vector<int> tabs;
    } units[] = {
        {"", "", {10, 20, 30, 40, 45, 50, 60, 70, 80}},
        {"isInfrared=1", "isInfrared=0", {10, 20, 30, 40, 50, 60, 70, 80}},
        {"generation=3", "generation=1", {10, 20, 30, 40, 45, 50, 60, 80}},
    };
    for (const auto& unit : units) {
        SCOPED_TRACE(unit.to);
        std::string text = record;
        if (*unit.from != '\0')
            text.replace(text.find(unit.from), std::strlen(unit.from), unit.to);
        root.writeFile(moduleConfig, text);
        SensorFile file;
        kvtest::StdoutCapture out;
        ASSERT_EQ(file.init("", ""), 1) << out.text();
        TiXmlDocument style;
        std::string parseError;
        ASSERT_EQ(kvconfig::parseXmlDocument(file.getUIStyleConfig(), style, parseError), 1)
            << parseError;
        std::vector<int> tabs;
        ASSERT_NE(style.RootElement(), nullptr);
        for (const TiXmlElement* tab : children(style.RootElement()))
            tabs.push_back(std::atoi(tab->FirstAttribute()->Value()));
        EXPECT_EQ(tabs, unit.tabs);
        EXPECT_NE(file.getUILanguageConfig(1), file.getUILanguageConfig(2));
        EXPECT_EQ(file.getUILanguageConfig(7), file.getUILanguageConfig(1));
        EXPECT_EQ(file.getUICommonConfig(7), file.getUICommonConfig(1));
        EXPECT_FALSE(file.getUISensorConfig_V1().empty());
    }
}

} // namespace
