// Parameter id sets and the parameter cache.
// labels: threaded
#include "config/IdManager.h"
#include "config/SensorCache.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace {

TEST(IdManagerTest, RegistrationRules) {
    IdManager ids;
    ids.addParameterId(5, 1, 3);
    ids.addParameterId(0, 7);
    ids.addParameterId(1, 10, 9);
    std::set<int> out{42};
    ids.getCommonIdList(out);
    EXPECT_TRUE(out.empty()) << "bad types and empty ranges insert nothing; out is replaced";
    ids.addParameterId(1, 9, 9);
    ids.addParameterId(1, 1, 3);
    ids.addParameterId(1, 2);
    ids.getCommonIdList(out);
    EXPECT_EQ(out, (std::set<int>{1, 2, 3, 9}));
}

TEST(IdManagerTest, LookupOrderPrefersKeepDefault) {
    IdManager ids;
    ids.addParameterId(IdManager::Common, 20);
    ids.addParameterId(IdManager::KeepDefaultValue, 20);
    ids.addParameterId(IdManager::SetOnly, 30);
    ids.addParameterId(IdManager::Especial, 40);
    EXPECT_EQ(ids.getIdType(20), 4);
    EXPECT_EQ(ids.getIdType(30), 3);
    EXPECT_EQ(ids.getIdType(40), 2);
    EXPECT_EQ(ids.getIdType(99), 0);
    EXPECT_TRUE(ids.isIdExist(20));
    EXPECT_FALSE(ids.isIdExist(99));
    std::set<int> keep;
    ids.getKeepDefaultValueList(keep);
    EXPECT_EQ(keep, std::set<int>{20});
}

TEST(SensorCacheTest, ValuesAndComparison) {
    SensorCache cache;
    EXPECT_EQ(cache.isEqualToCache(1, 0), 0) << "absent id never equals, even 0";
    cache.setSensorValue(1, 5);
    cache.setSensorValue(1, 6);
    int v = -1;
    EXPECT_EQ(cache.getSensorValue(1, v), 1);
    EXPECT_EQ(v, 6);
    EXPECT_EQ(cache.isEqualToCache(1, 6), 1);
    v = -1;
    EXPECT_EQ(cache.getSensorValue(2, v), 0);
    EXPECT_EQ(v, -1);
    std::string all;
    cache.getAllSensorValues(all);
    EXPECT_EQ(all, "(1,6)");
}

TEST(SensorCacheTest, TextMergesAndBadTextChangesNothing) {
    SensorCache cache;
    EXPECT_EQ(cache.setSensorValues("(3,30)(1,10)"), 1);
    EXPECT_EQ(cache.setSensorValues("(1,11)(2,-20)"), 1);
    kvtest::StdoutCapture out;
    EXPECT_EQ(cache.setSensorValues("(4,40)(5,"), 0);
    EXPECT_EQ(out.text(), "parseSensorParameter failed\n");
    std::string all;
    cache.getAllSensorValues(all);
    EXPECT_EQ(all, "(1,11)(2,-20)(3,30)");
}

TEST(SensorCacheTest, GetSensorValuesIsAllOrNothing) {
    SensorCache cache;
    cache.setSensorValues("(1,10)(2,20)(3,30)");
    std::string text = "untouched";
    EXPECT_EQ(cache.getSensorValues(std::set<int>{1, 9, 3}, text), 0);
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(cache.getSensorValues(std::set<int>{}, text), 1);
    EXPECT_EQ(text, "");
    EXPECT_EQ(cache.getSensorValues(std::string("3, 1"), text), 1);
    EXPECT_EQ(text, "(1,10)(3,30)");
    kvtest::StdoutCapture out;
    EXPECT_EQ(cache.getSensorValues(std::string("1,x"), text), 0);
    EXPECT_EQ(out.text(), "________SensorParameterParser::parseParameterIdList(1,x) failed\n");
}

TEST(SensorCacheTest, CursorWalksInIdOrderAndStaysAtEnd) {
    SensorCache cache;
    int id = 0, v = 0;
    EXPECT_EQ(cache.getFirstIdValue(id, v), 0);
    EXPECT_EQ(cache.getNextIdValue(id, v), 0) << "unset cursor";
    cache.setSensorValues("(7,70)(2,20)");
    ASSERT_EQ(cache.getFirstIdValue(id, v), 1);
    EXPECT_EQ(id, 2);
    ASSERT_EQ(cache.getNextIdValue(id, v), 1);
    EXPECT_EQ(id, 7);
    EXPECT_EQ(v, 70);
    EXPECT_EQ(cache.getNextIdValue(id, v), 0);
    EXPECT_EQ(cache.getNextIdValue(id, v), 0);
    cache.clear();
    EXPECT_EQ(cache.getNextIdValue(id, v), 0) << "clear drops the cursor";
}

TEST(SensorCacheTest, ConcurrentWritersAndReaders) {
    SensorCache cache;
    std::thread writer([&] {
        for (int i = 0; i < 2000; ++i)
            cache.setSensorValue(i % 50, i);
    });
    std::thread texts([&] {
        for (int i = 0; i < 200; ++i) {
            std::string t;
            cache.getAllSensorValues(t);
            cache.setSensorValues("(100,1)(101,2)");
        }
    });
    writer.join();
    texts.join();
    int v = 0;
    EXPECT_EQ(cache.getSensorValue(49, v), 1);
    EXPECT_EQ(v, 1999);
}

// A list read by id text sees one state of the table, never half of a
// concurrent whole-text write.
TEST(SensorCacheTest, ListReadByTextIsOneLockedStep) {
    SensorCache cache;
    std::string all[2], list;
    for (int id = 0; id < 200; ++id) {
        all[0] += "(" + std::to_string(id) + ",1)";
        all[1] += "(" + std::to_string(id) + ",2)";
        list += (id == 0 ? "" : ",") + std::to_string(id);
    }
    cache.setSensorValues(all[0]);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; !done; ++i)
            cache.setSensorValues(all[i % 2]);
    });
    int torn = 0;
    for (int i = 0; i < 300; ++i) {
        std::string text;
        ASSERT_EQ(cache.getSensorValues(list, text), 1);
        torn += text != all[0] && text != all[1] ? 1 : 0;
    }
    done = true;
    writer.join();
    EXPECT_EQ(torn, 0);
}

} // namespace
