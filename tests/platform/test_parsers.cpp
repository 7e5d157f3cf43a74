// Parameter texts "(id,value)...", id lists and "name=value;..." module texts.
#include "platform/ModuleParameterParser.h"
#include "platform/SensorParameterParser.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <set>
#include <string>

namespace {

using IdValues = std::map<int, int>;

TEST(SensorParameterParserTest, MergesItemsWithBlanksSignsAndTheWholeInt32Range) {
    IdValues values{{1, 5}, {7, 70}};
    EXPECT_EQ(SensorParameterParser::parseSensorParameter("", values), 1);
    EXPECT_EQ(SensorParameterParser::parseSensorParameter(" \r\n\t", values), 1);
    ASSERT_EQ(SensorParameterParser::parseSensorParameter(
                  " (1,9)\n( 3 , -4 )\r\n(3,+31)(-2147483648,2147483647)(10000,3) ", values),
              1);
    EXPECT_EQ(values, (IdValues{{INT_MIN, INT_MAX}, {1, 9}, {3, 31}, {7, 70}, {10000, 3}}));
}

TEST(SensorParameterParserTest, MalformedTextFailsAndLeavesTheMapUnchanged) {
    // clang-format off
    const std::string bad[] = {
        "(1,2", "1,2)", "(1 2)", "(a,2)", "(1,)", "(,1)", "()", "(1,2)x", "(1,2),(3,4)", "(1,2)(",
        "((1,2))", "(1,2,3)", "(0x10,1)", "(1.5,2)", "(- 1,2)", "(1,--2)", "(+,2)",
        "(2147483648,1)", "(1,-2147483649)", "(1,99999999999999999999)", "(1;2)", "[1,2]", ")",
        std::string("(1,2)\0(3,4)", 11)};
    // clang-format on
    for (const std::string& text : bad) {
        IdValues values{{1, 11}, {9, 99}};
        EXPECT_EQ(SensorParameterParser::parseSensorParameter(text, values), 0) << text;
        EXPECT_EQ(values, (IdValues{{1, 11}, {9, 99}})) << text;
    }
}

TEST(SensorParameterParserTest, CreatesItemsInAscendingOrderThatParseBack) {
    const IdValues values{{10001, 1}, {2, -3}, {0, 50}, {INT_MIN, INT_MAX}};
    const std::string text = SensorParameterParser::createSensorParameterString(values);
    EXPECT_EQ(text, "(-2147483648,2147483647)(0,50)(2,-3)(10001,1)");
    IdValues back;
    ASSERT_EQ(SensorParameterParser::parseSensorParameter(text, back), 1);
    EXPECT_EQ(back, values);
    EXPECT_EQ(SensorParameterParser::createSensorParameterString({}), "");
}

TEST(SensorParameterParserTest, ParsesIdListsAndRejectsMalformedOnes) {
    std::set<int> ids{42};
    ASSERT_EQ(SensorParameterParser::parseParameterIdList(" 1, 2 ,500,-7,+8 ", ids), 1);
    EXPECT_EQ(ids, (std::set<int>{-7, 1, 2, 8, 42, 500}));
    EXPECT_EQ(SensorParameterParser::parseParameterIdList(" \n", ids), 1);
    EXPECT_EQ(ids.size(), 6u);
    for (const char* text : {"1,,2", "1,", ",1", "1 2", "a", "1;2", "(1)", "2147483648", "1, 2x"}) {
        std::set<int> kept{3};
        EXPECT_EQ(SensorParameterParser::parseParameterIdList(text, kept), 0) << text;
        EXPECT_EQ(kept, std::set<int>{3}) << text;
    }
}

TEST(ModuleParameterParserTest, ReadsNamedValuesWithCommasEqualsAndBlanks) {
    ModuleParameterParser parser;
    ASSERT_EQ(parser.parse(" RS485 = 9600,8,0,1 ;;\r\n GUIConfig=a=b.xml;e=2147483647;g=-300;"
                           "a=12abc;b=;c=99999999999;d=0x10;f=1.0;"),
              1);
    std::string text;
    ASSERT_EQ(parser.getValue("RS485", text), 1);
    EXPECT_EQ(text, "9600,8,0,1");
    ASSERT_EQ(parser.getValue("GUIConfig", text), 1);
    EXPECT_EQ(text, "a=b.xml");
    EXPECT_EQ(parser.getValue("rs485", text), 0); // names are case-sensitive
    ASSERT_EQ(parser.getValue("b", text), 1);     // present with an empty value
    EXPECT_EQ(text, "");

    int value = 7;
    for (const char* name : {"RS485", "a", "b", "c", "d", "f", "missing"})
        EXPECT_EQ(parser.getValue(name, value), 0) << name;
    EXPECT_EQ(value, 7);
    EXPECT_EQ(parser.getValue("e", value), 1);
    EXPECT_EQ(value, INT_MAX);
    EXPECT_EQ(parser.getValue("g", value), 1);
    EXPECT_EQ(value, -300);
}

TEST(ModuleParameterParserTest, ReparseReplacesAndInvalidTextLeavesNothing) {
    ModuleParameterParser parser;
    ASSERT_EQ(parser.parse("a=1;b=2;a=3"), 1);
    int value = 0;
    ASSERT_EQ(parser.getValue("a", value), 1);
    EXPECT_EQ(value, 3); // a repeated name keeps its last value
    ASSERT_EQ(parser.parse("c=4"), 1);
    EXPECT_EQ(parser.getValue("b", value), 0);
    for (const char* bad : {"a=1;b", "=5", " = 5;a=1", "noequals", "a=1;;x"}) {
        ASSERT_EQ(parser.parse("a=1"), 1);
        EXPECT_EQ(parser.parse(bad), 0) << bad;
        EXPECT_EQ(parser.getValue("a", value), 0) << bad;
    }
}

} // namespace
