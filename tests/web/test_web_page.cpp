// The settings page model built from style, language, common and initial-configuration texts.
#include "tools/WebPage.h"

#include <gtest/gtest.h>

namespace {

const char* const kStyle = R"(<?xml version="1.0" ?>
<sensorStyle version="1">
    <tab key="20" name="exposure" label="tab.exposure">
        <list id="10" label="exposure.mode">
            <option value="0" label="exposure.mode.auto" />
            <option value="1" label="exposure.mode.manual" />
        </list>
        <slider id="14" label="exposure.gain" min="0" max="15" when="10=1,4" />
        <slider id="15" label="exposure.level" min="4" max="16" step="4" unit="unit.percent" />
        <switch id="17" label="exposure.backlight" on="2" off="3" />
        <!-- a comment between controls -->
        <slider id="99" label="exposure.unknown" min="0" max="5" />
        <slider id="28" label="focus.onePushAsSlider" min="0" max="1" />
    </tab>
    <tab key="60" name="focus" label="tab.focus">
        <button id="28" label="focus.onePush" value="1" />
        <switch id="9" label="focus.noText" on="1" off="0" />
    </tab>
</sensorStyle>)";

const char* const kLanguage = R"(<sensorLanguage>
    <text key="tab.exposure" value="Exposure" /><text key="tab.focus" value="Focus" />
    <text key="exposure.mode" value="Mode" /><text key="exposure.mode.auto" value="Auto" />
    <text key="exposure.mode.manual" value="Manual &amp; fixed" />
    <text key="exposure.gain" value="Gain" /><text key="exposure.level" value="Level" />
    <text key="exposure.backlight" value="Backlight" /><text key="focus.onePush" value="Push" />
</sensorLanguage>)";

const char* const kCommon = R"(<sensorCommon><text key="unit.percent" value="%" />
    <text key="switch.on" value="On" /></sensorCommon>)";

const char* const kInit = R"(<sensorUI version="1"><page openTab="60" refreshSeconds="5" />
    <load ids="10,14,17" /></sensorUI>)";

WebPage::OfferedIds offered() {
    return {{9, 10, 14, 15, 17}, {28}};
}

TEST(WebPage, BuildsEachControlKindFromTheTexts) {
    WebPage page;
    std::string error;
    ASSERT_TRUE(page.build(kStyle, kLanguage, kCommon, kInit, offered(), error)) << error;
    ASSERT_EQ(page.tabs().size(), 2u);
    const WebPage::Tab& exposure = page.tabs()[0];
    EXPECT_EQ(exposure.key, 20);
    EXPECT_EQ(exposure.label, "Exposure");
    ASSERT_EQ(exposure.controls.size(), 4u); // 99 and the set-only 28 as a slider left out
    const WebPage::Control& mode = exposure.controls[0];
    EXPECT_EQ(mode.kind, WebPage::Kind::List);
    ASSERT_EQ(mode.options.size(), 2u);
    EXPECT_EQ(mode.options[1].value, 1);
    EXPECT_EQ(mode.options[1].label, "Manual & fixed");
    const WebPage::Control& gain = exposure.controls[1];
    EXPECT_EQ(gain.whenId, 10);
    EXPECT_EQ(gain.whenValues, (std::vector<int>{1, 4}));
    const WebPage::Control& level = exposure.controls[2];
    EXPECT_EQ(level.step, 4);
    EXPECT_EQ(level.unit, "%");
    EXPECT_EQ(exposure.controls[3].on, 2);
    EXPECT_EQ(exposure.controls[3].off, 3);
    const WebPage::Tab& focus = page.tabs()[1];
    ASSERT_EQ(focus.controls.size(), 2u);
    EXPECT_EQ(focus.controls[0].kind, WebPage::Kind::Button);
    EXPECT_EQ(focus.controls[0].value, 1);

    // A label without a text shows its key, and is listed once.
    EXPECT_EQ(focus.controls[1].label, "focus.noText");
    EXPECT_EQ(page.missingLabels(), std::vector<std::string>{"focus.noText"});
    ASSERT_EQ(page.omitted().size(), 2u);
    EXPECT_EQ(page.omitted()[0].id, 99);
    EXPECT_EQ(page.omitted()[0].why, "the driver does not offer id 99");
    EXPECT_EQ(page.omitted()[1].id, 28);

    EXPECT_EQ(page.openTab(), 60);
    EXPECT_EQ(page.refreshSeconds(), 5);
    EXPECT_EQ(page.loadIds(), (std::vector<int>{10, 14, 17}));
    EXPECT_EQ(page.readableIds(), (std::vector<int>{10, 14, 15, 17, 9}));
}

TEST(WebPage, WithoutTextsEveryLabelIsItsKey) {
    WebPage page;
    std::string error;
    ASSERT_TRUE(page.build(kStyle, "", "", "", offered(), error)) << error;
    EXPECT_EQ(page.tabs()[0].label, "tab.exposure");
    EXPECT_EQ(page.tabs()[0].controls[2].unit, "unit.percent");
    EXPECT_EQ(page.openTab(), 0);
}

TEST(WebPage, ChecksValuesAgainstTheControls) {
    WebPage page;
    std::string error;
    ASSERT_TRUE(page.build(kStyle, kLanguage, kCommon, kInit, offered(), error)) << error;
    const struct {
        int id;
        int value;
        bool ok;
        const char* why;
    } cases[] = {
        {14, 0, true, ""},
        {14, 15, true, ""},
        {14, 16, false, "value 16 out of range for slider 14 (0..15)"},
        {14, -1, false, "value -1 out of range for slider 14 (0..15)"},
        {15, 12, true, ""},
        {15, 10, false, "value 10 out of range for slider 15 (4..16 in steps of 4)"},
        {10, 1, true, ""},
        {10, 2, false, "value 2 out of range for list 10 (0, 1)"},
        {17, 3, true, ""},
        {17, 1, false, "value 1 out of range for switch 17 (2 or 3)"},
        {28, 1, true, ""},
        {28, 0, false, "value 0 out of range for button 28 (1)"},
        {99, 0, false, "id 99 is not a setting of this page"},
    };
    for (const auto& c : cases) {
        std::string why;
        EXPECT_EQ(page.check(c.id, c.value, why), c.ok) << c.id << "=" << c.value;
        EXPECT_EQ(why, c.why) << c.id << "=" << c.value;
    }
}

TEST(WebPage, RefusesTextsThatDoNotMakeAPage) {
    const struct {
        const char* style;
        const char* init;
        const char* error;
    } cases[] = {
        {"", "", "the unit has no style text"},
        {"<sensorStyle><tab key=\"1\">", "", "the style text is not well-formed XML"},
        {"<sensorStyle />", "", "the style text has no tabs"},
        {"<sensorStyle><tab label=\"t\" /></sensorStyle>", "", "a tab of the style has no numeric"},
        {"<sensorStyle><tab key=\"1\"><slider label=\"a\" min=\"0\" max=\"1\" "
         "/></tab></sensorStyle>",
         "", "the slider \"a\" of tab 1 lacks an attribute"},
        {"<sensorStyle><tab key=\"1\"><slider id=\"9\" label=\"a\" min=\"5\" max=\"1\" /></tab>"
         "</sensorStyle>",
         "", "the slider \"a\" of tab 1"},
        {"<sensorStyle><tab key=\"1\"><list id=\"9\" label=\"l\" /></tab></sensorStyle>", "",
         "the list \"l\" of tab 1"},
        {"<sensorStyle><tab key=\"1\"><switch id=\"9\" label=\"s\" on=\"1\" off=\"x\" /></tab>"
         "</sensorStyle>",
         "", "the switch \"s\" of tab 1"},
        {"<sensorStyle><tab key=\"1\"><switch id=\"9\" label=\"s\" on=\"1\" off=\"0\" when=\"9\" />"
         "</tab></sensorStyle>",
         "", "the switch \"s\" of tab 1"},
        {"<sensorStyle><tab key=\"1\" /></sensorStyle>", "<sensorUI>",
         "the UI initial configuration text is not well-formed XML"},
    };
    for (const auto& c : cases) {
        WebPage page;
        std::string error;
        EXPECT_FALSE(page.build(c.style, "", "", c.init, offered(), error)) << c.style;
        EXPECT_EQ(error.rfind(c.error, 0), 0u) << c.style << ": " << error;
    }
}

} // namespace
