// Tests of KVFile (reads, atomic replacement, crash safety) and DiskManager.
#include "platform/DiskManager.h"
#include "platform/KVFile.h"

#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

const char* const kDir = "/mnt/mtd/code/config_file";
const char* const kFile = "/mnt/mtd/code/config_file/sensor1.cfg";

std::string readAll(const std::string& path) {
    KVFile f;
    std::string s(f.open(path, KVFile::ModeRead) == 1 ? size_t(f.getLength()) : 0, '\0');
    return f.read(&s[0], int(s.size())) == int(s.size()) ? s : "<failed>";
}

int writeAll(const std::string& path, const std::string& data) {
    KVFile f;
    if (f.open(path, KVFile::ModeReplace) != 1 ||
        f.write(data.data(), static_cast<int>(data.size())) != static_cast<int>(data.size()))
        return 0;
    return f.close();
}

// Names in a host folder.
std::vector<std::string> listDir(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir))
        names.push_back(e.path().filename().string());
    return names;
}

} // namespace

TEST(KVFile, ReplaceCommitsAtCloseAndReadsBackThroughTheRoot) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/keep", "");
    KVFile f;
    char buf[32] = {};
    ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
    EXPECT_EQ(f.write("(1,5)(10000,3)", 14), 14);
    EXPECT_EQ(f.getLength(), 14);
    EXPECT_EQ(f.read(buf, 1), -1);        // not open for reading
    EXPECT_FALSE(KVFile::isExist(kFile)); // nothing visible before close
    EXPECT_EQ(f.close(), 1);
    EXPECT_EQ(root.readFile(kFile), "(1,5)(10000,3)"); // landed under the root
    struct stat st {};
    ASSERT_EQ(stat(root.path(kFile).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);

    ASSERT_EQ(f.open(std::string(kFile), KVFile::ModeRead), 1);
    EXPECT_EQ(f.read(buf, 5), 5);
    EXPECT_EQ(std::string(buf), "(1,5)");
    EXPECT_EQ(f.read(buf, 32), 9); // short only at end of file
    EXPECT_EQ(f.read(buf, 32), 0);
    EXPECT_EQ(f.write("x", 1), -1); // not open for writing
    f.close();

    // Replacing keeps the permissions; an explicit empty write makes an empty
    // file, a large one keeps every byte.
    ASSERT_EQ(chmod(root.path(kFile).c_str(), 0600), 0);
    ASSERT_EQ(writeAll(kFile, ""), 1);
    EXPECT_EQ(readAll(kFile), "");
    ASSERT_EQ(stat(root.path(kFile).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    std::string big(3 * 1024 * 1024 + 7, '\0');
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<char>(i * 131 % 251);
    ASSERT_EQ(writeAll(kFile, big), 1);
    EXPECT_EQ(readAll(kFile), big);
}

TEST(KVFile, FailedOpensLeaveNothingBehindAndExistenceChecks) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/old.cfg", "old");
    KVFile f;
    EXPECT_EQ(f.open(kFile, KVFile::ModeRead), 0);                       // missing
    EXPECT_EQ(f.open("/mnt/mtd/code/config_file", KVFile::ModeRead), 0); // a folder
    EXPECT_EQ(f.open(static_cast<const char*>(nullptr), KVFile::ModeRead), 0);
    EXPECT_EQ(f.open("/mnt/mtd/code/config_file/old.cfg", 2), 0); // unknown mode
    EXPECT_EQ(f.open("/no/such/dir/x.cfg", KVFile::ModeReplace), 0);
    EXPECT_EQ(f.open("/mnt/mtd/code/config_file", KVFile::ModeReplace), 0);
    EXPECT_FALSE(f.isOpen());
    EXPECT_EQ(listDir(root.path(kDir)), std::vector<std::string>{"old.cfg"});
    EXPECT_EQ(root.readFile("/mnt/mtd/code/config_file/old.cfg"), "old");

    EXPECT_EQ(KVFile::isExist("/mnt/mtd/code/config_file/old.cfg"), 1);
    EXPECT_EQ(KVFile::isExist(kFile), 0);
    EXPECT_EQ(KVFile::isExist(kDir), 0);
    EXPECT_EQ(DiskManager::isFileExist("/mnt/mtd/code/config_file/old.cfg", 1), 1);
    EXPECT_EQ(DiskManager::isFileExist(kDir, 1), 0);
}

TEST(KVFile, ReplaceWithFailedOrNoWriteKeepsOldFile) {
    kvtest::TestRoot root;
    root.writeFile(kFile, "(1,5)");
    {
        KVFile f;
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        EXPECT_EQ(f.write("(2,", 3), 3);
        EXPECT_EQ(f.write(nullptr, 4), -1);
        EXPECT_EQ(f.close(), 0);
        EXPECT_EQ(root.readFile(kFile), "(1,5)");
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        EXPECT_EQ(f.write("(3,3)", 5), 5);
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1); // commits the first replacement
        EXPECT_EQ(root.readFile(kFile), "(3,3)");
        EXPECT_EQ(f.write("x", -1), -1);
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        // destroyed without a write call
    }
    EXPECT_EQ(root.readFile(kFile), "(3,3)");
    EXPECT_EQ(listDir(root.path(kDir)), std::vector<std::string>{"sensor1.cfg"});
}

TEST(KVFile, KilledWhileReplacingLeavesOneWholeVersion) {
    kvtest::TestRoot root;
    const size_t size = 256 * 1024;
    root.writeFile(kFile, std::string(size, 'A'));
    for (int round = 0; round < 10; ++round) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            // Replaces the file over and over, each version one letter repeated.
            // In odd rounds the first replacement stays open, half written.
            for (int i = 0;; ++i) {
                const std::string data(size, static_cast<char>('B' + i % 20));
                KVFile f;
                if (f.open(kFile, KVFile::ModeReplace) != 1)
                    _exit(1);
                f.write(data.data(), static_cast<int>(size / 2));
                if (i == 0 && write(fds[1], "r", 1) != 1)
                    _exit(1);
                while (round % 2 == 1)
                    pause();
                f.write(data.data() + size / 2, static_cast<int>(size - size / 2));
                f.close();
            }
        }
        close(fds[1]);
        pollfd p{fds[0], POLLIN, 0};
        char c = 0;
        const bool ready = poll(&p, 1, 10000) == 1 && read(fds[0], &c, 1) == 1;
        close(fds[0]);
        if (ready)
            std::this_thread::sleep_for(std::chrono::microseconds(round * 1500));
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        ASSERT_TRUE(ready) << "round " << round;
        const std::string now = root.readFile(kFile);
        ASSERT_EQ(now.size(), size) << "round " << round;
        EXPECT_EQ(now.find_first_not_of(now[0]), std::string::npos) << "round " << round;
    }
}
