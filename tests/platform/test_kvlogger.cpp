// Tests of KVLogger: entry format, rotation, shared files and concurrent writers.
// labels: threaded
#include "platform/KVLogger.h"

#include "platform/PlatformClock.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

const char* const kLog = "/mnt/mtd/log/SensorError.log";

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        out.push_back(l);
    return out;
}

// The number at the end of an entry "... [T] entry <n>".
int entryNumber(const std::string& line) {
    return std::stoi(line.substr(line.rfind(' ') + 1));
}

} // namespace

TEST(KVLogger, EntryIsOneStampedTaggedLine) {
    kvtest::TestRoot root(1.0); // real pace: the stamp must not run ahead
    PlatformClock::setTimeOfDay(10, 0, 1);
    KVLogger log;
    EXPECT_EQ(log.writeLog("SensorError", "before init"), 0);
    ASSERT_EQ(log.init(kLog, 10240, 3), 1); // makes /mnt/mtd/log
    EXPECT_EQ(log.writeLog("SensorError", "setSaturation(300) is out of range\n"), 1);
    EXPECT_EQ(log.writeLog("SensorInit", "two\nlines {} %s\r\n\n"), 1);
    EXPECT_EQ(log.writeLog(nullptr, nullptr), 1);

    const std::vector<std::string> got = lines(root.readFile(kLog));
    ASSERT_EQ(got.size(), 3u);
    const std::regex stamp(R"(^\d{4}-\d{2}-\d{2} 10:00:0\d\.\d{3} )");
    for (const std::string& l : got)
        EXPECT_TRUE(std::regex_search(l, stamp)) << l;
    EXPECT_EQ(got[0].substr(24), "[SensorError] setSaturation(300) is out of range");
    EXPECT_EQ(got[1].substr(24), "[SensorInit] two lines {} %s");
    EXPECT_EQ(got[2].substr(24), "[] ");
}

TEST(KVLogger, BadSettingsFailAndAppendsToExistingFile) {
    kvtest::TestRoot root;
    root.writeFile(kLog, "earlier entry\n");
    root.writeFile("/mnt/mtd/file", "not a folder");
    KVLogger log;
    EXPECT_EQ(log.init(nullptr, 100, 3), 0);
    EXPECT_EQ(log.init("", 100, 3), 0);
    EXPECT_EQ(log.init(kLog, 0, 3), 0);
    EXPECT_EQ(log.init(kLog, 100, 100000), 0);
    EXPECT_EQ(log.init("/mnt/mtd/log", 100, 3), 0);        // a folder
    EXPECT_EQ(log.init("/mnt/mtd/file/x.log", 100, 3), 0); // parent is a file
    EXPECT_EQ(log.writeLog("T", "lost"), 0);

    ASSERT_EQ(log.init(kLog, 10240, 3), 1);
    ASSERT_EQ(log.writeLog("T", "later entry"), 1);
    const std::vector<std::string> got = lines(root.readFile(kLog));
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0], "earlier entry");
    EXPECT_EQ(got[1].substr(24), "[T] later entry");
}

TEST(KVLogger, RotationBoundsSizeAndFileCount) {
    kvtest::TestRoot root;
    KVLogger log;
    ASSERT_EQ(log.init(kLog, 200, 3), 1);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(log.writeLog("SensorError", ("entry " + std::to_string(i)).c_str()), 1);

    const char* const files[] = {"/mnt/mtd/log/SensorError.2.log", "/mnt/mtd/log/SensorError.1.log",
                                 kLog};
    EXPECT_FALSE(root.exists("/mnt/mtd/log/SensorError.3.log"));
    // Oldest to newest, the kept entries run on without a gap up to the last one.
    int expected = -1;
    for (const char* f : files) {
        const std::string text = root.readFile(f);
        EXPECT_LE(text.size(), 200u) << f;
        for (const std::string& l : lines(text)) {
            const int n = entryNumber(l);
            if (expected >= 0) {
                EXPECT_EQ(n, expected) << f;
            }
            expected = n + 1;
        }
    }
    EXPECT_EQ(expected, 100);

    // An entry longer than the limit is cut to it.
    ASSERT_EQ(log.writeLog("T", std::string(500, 'x').c_str()), 1);
    const std::string text = root.readFile(kLog);
    EXPECT_EQ(text.size(), 200u);
    EXPECT_EQ(text.back(), '\n');
}

TEST(KVLogger, SingleFileRestartsWhenFull) {
    kvtest::TestRoot root;
    KVLogger log;
    ASSERT_EQ(log.init(kLog, 120, 1), 1);
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(log.writeLog("T", ("entry " + std::to_string(i)).c_str()), 1);
    const std::vector<std::string> got = lines(root.readFile(kLog));
    EXPECT_LE(root.readFile(kLog).size(), 120u);
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(entryNumber(got.back()), 19);
    EXPECT_FALSE(root.exists("/mnt/mtd/log/SensorError.1.log"));
}

TEST(KVLogger, LoggersOnOneFileShareItsLimit) {
    kvtest::TestRoot root;
    KVLogger a;
    KVLogger b;
    ASSERT_EQ(a.init(kLog, 300, 2), 1);
    ASSERT_EQ(b.init(kLog, 300, 2), 1);
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(a.writeLog("A", ("entry " + std::to_string(2 * i)).c_str()), 1);
        ASSERT_EQ(b.writeLog("B", ("entry " + std::to_string(2 * i + 1)).c_str()), 1);
    }
    EXPECT_LE(root.readFile(kLog).size(), 300u);
    EXPECT_LE(root.readFile("/mnt/mtd/log/SensorError.1.log").size(), 300u);
    EXPECT_FALSE(root.exists("/mnt/mtd/log/SensorError.2.log"));
    const std::vector<std::string> got = lines(root.readFile(kLog));
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(entryNumber(got.back()), 79);
}

TEST(KVLogger, ConcurrentWritersKeepEntriesWhole) {
    kvtest::TestRoot root;
    KVLogger shared;
    KVLogger other;
    ASSERT_EQ(shared.init(kLog, 1024 * 1024, 3), 1);
    ASSERT_EQ(other.init(kLog, 1024 * 1024, 3), 1);
    const int perThread = 300;
    auto writer = [perThread](KVLogger* log, const char* tag) {
        for (int i = 0; i < perThread; ++i)
            log->writeLog(tag, ("entry " + std::to_string(i)).c_str());
    };
    std::thread t1(writer, &shared, "One");
    std::thread t2(writer, &shared, "Two");
    std::thread t3(writer, &other, "Three");
    // Re-initialising while others write must not disturb them.
    KVLogger late;
    for (int i = 0; i < 20; ++i)
        late.init(kLog, 1024 * 1024, 3);
    t1.join();
    t2.join();
    t3.join();

    const std::vector<std::string> got = lines(root.readFile(kLog));
    ASSERT_EQ(got.size(), 3u * perThread);
    const std::regex entry(R"(^\S+ \S+ \[(One|Two|Three)\] entry \d+$)");
    int next[3] = {0, 0, 0};
    for (const std::string& l : got) {
        std::smatch m;
        ASSERT_TRUE(std::regex_match(l, m, entry)) << l;
        const int who = m[1] == "One" ? 0 : m[1] == "Two" ? 1 : 2;
        EXPECT_EQ(entryNumber(l), next[who]++); // each writer's entries in order
    }
}
