// Tests of KVLogger: entry format, rotation, shared files and concurrent writers.
// labels: threaded
#include "platform/KVLogger.h"

#include "platform/PlatformClock.h"
#include "support/TestRoot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <utility>
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

std::string entry(int n) {
    return "entry " + std::to_string(n);
}

} // namespace

TEST(KVLogger, BadSettingsFailAndEntryIsOneStampedLineAppendedToTheFile) {
    kvtest::TestRoot root(1.0); // real pace: the stamp must not run ahead
    PlatformClock::setTimeOfDay(10, 0, 1);
    root.writeFile(kLog, "earlier entry\n");
    root.writeFile("/mnt/mtd/file", "not a folder");
    KVLogger log;
    EXPECT_EQ(log.init(nullptr, 100, 3), 0);
    EXPECT_EQ(log.init(kLog, 0, 3), 0);
    EXPECT_EQ(log.init(kLog, 100, 100000), 0);
    EXPECT_EQ(log.init("/mnt/mtd/log", 100, 3), 0);        // a folder
    EXPECT_EQ(log.init("/mnt/mtd/file/x.log", 100, 3), 0); // parent is a file
    EXPECT_EQ(log.writeLog("SensorError", "lost: no good init yet"), 0);
    ASSERT_EQ(log.init(kLog, 10240, 3), 1);
    EXPECT_EQ(log.writeLog("SensorError", "setSaturation(300) is out of range\n"), 1);
    EXPECT_EQ(log.writeLog("SensorInit", "two\nlines {} %s\r\n\n"), 1);
    EXPECT_EQ(log.writeLog(nullptr, nullptr), 1);

    const std::vector<std::string> got = lines(root.readFile(kLog));
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[0], "earlier entry");
    for (size_t i = 1; i < got.size(); ++i)
        EXPECT_THAT(got[i], ::testing::ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2} "
                                                     "10:00:0[0-9][.][0-9]{3} "));
    EXPECT_EQ(got[1].substr(24), "[SensorError] setSaturation(300) is out of range");
    EXPECT_EQ(got[2].substr(24), "[SensorInit] two lines {} %s");
    EXPECT_EQ(got[3].substr(24), "[] ");
}

TEST(KVLogger, RotationBoundsSizeAndFileCountAndLosesNoRecentEntry) {
    // {size limit, file count}; two loggers on the file share its limit.
    for (const auto& config : {std::make_pair(200, 3), std::make_pair(120, 1)}) {
        const size_t limit = size_t(config.first);
        const int files = config.second;
        kvtest::TestRoot root;
        KVLogger a;
        KVLogger b;
        ASSERT_EQ(a.init(kLog, config.first, files), 1);
        ASSERT_EQ(b.init(kLog, config.first, files), 1);
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ((i % 2 ? b : a).writeLog("SensorError", entry(i).c_str()), 1);
        EXPECT_FALSE(root.exists("/mnt/mtd/log/SensorError." + std::to_string(files) + ".log"));
        // Oldest to newest, the kept entries run on without a gap up to the last one.
        int expected = -1;
        for (int f = files - 1; f >= 0; --f) {
            const std::string text = root.readFile(
                f == 0 ? kLog : "/mnt/mtd/log/SensorError." + std::to_string(f) + ".log");
            EXPECT_LE(text.size(), limit) << f;
            for (const std::string& l : lines(text)) {
                EXPECT_TRUE(expected < 0 || entryNumber(l) == expected) << f << ": " << l;
                expected = entryNumber(l) + 1;
            }
        }
        EXPECT_EQ(expected, 100);
        // An entry longer than the limit is cut to it.
        ASSERT_EQ(a.writeLog("T", std::string(500, 'x').c_str()), 1);
        const std::string text = root.readFile(kLog);
        EXPECT_EQ(text.size(), limit);
        EXPECT_EQ(text.back(), '\n');
    }
}

TEST(KVLogger, ConcurrentWritersKeepEntriesWhole) {
    kvtest::TestRoot root;
    KVLogger loggers[2];
    for (KVLogger& log : loggers)
        ASSERT_EQ(log.init(kLog, 1024 * 1024, 3), 1);
    const int perThread = 300;
    std::vector<std::thread> writers;
    for (int t = 0; t < 3; ++t) { // two threads share the first logger
        writers.emplace_back([&loggers, t] {
            for (int i = 0; i < perThread; ++i)
                loggers[t / 2].writeLog(std::to_string(t).c_str(), entry(i).c_str());
        });
    }
    // Re-initialising while others write must not disturb them.
    KVLogger late;
    for (int i = 0; i < 20; ++i)
        late.init(kLog, 1024 * 1024, 3);
    for (std::thread& t : writers)
        t.join();

    const std::vector<std::string> got = lines(root.readFile(kLog));
    ASSERT_EQ(got.size(), 3u * perThread);
    int next[3] = {0, 0, 0};
    for (const std::string& l : got) {
        ASSERT_THAT(l, ::testing::MatchesRegex("[^ ]+ [^ ]+ \\[[012]\\] entry [0-9]+")) << l;
        const int writer = l[l.find('[') + 1] - '0';
        EXPECT_EQ(entryNumber(l), next[writer]++); // each writer's entries in order
    }
}
