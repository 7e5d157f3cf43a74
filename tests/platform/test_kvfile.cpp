// Tests of KVFile (reads, atomic replacement, crash safety) and DiskManager.
#include "platform/DiskManager.h"
#include "platform/KVFile.h"

#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <dirent.h>
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
    if (f.open(path, KVFile::ModeRead) != 1)
        return "<missing>";
    std::string s(static_cast<size_t>(f.getLength()), '\0');
    if (f.read(&s[0], static_cast<int>(s.size())) != static_cast<int>(s.size()))
        return "<short>";
    return s;
}

int writeAll(const std::string& path, const std::string& data) {
    KVFile f;
    if (f.open(path, KVFile::ModeReplace) != 1)
        return 0;
    if (f.write(data.data(), static_cast<int>(data.size())) != static_cast<int>(data.size()))
        return 0;
    return f.close();
}

// Names in a host folder, "." and ".." left out.
std::vector<std::string> listDir(const std::string& dir) {
    std::vector<std::string> names;
    DIR* d = opendir(dir.c_str());
    if (d == nullptr)
        return names;
    while (dirent* e = readdir(d)) {
        const std::string n = e->d_name;
        if (n != "." && n != "..")
            names.push_back(n);
    }
    closedir(d);
    return names;
}

} // namespace

TEST(KVFile, RoundTripThroughTheRootWithLengths) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/keep", "");
    ASSERT_EQ(writeAll(kFile, "(1,5)(10000,3)"), 1);
    EXPECT_EQ(root.readFile(kFile), "(1,5)(10000,3)"); // landed under the root
    EXPECT_EQ(readAll(kFile), "(1,5)(10000,3)");

    KVFile f;
    EXPECT_EQ(f.getLength(), -1);
    ASSERT_EQ(f.open(std::string(kFile), KVFile::ModeRead), 1);
    EXPECT_EQ(f.getLength(), 14);
    char buf[32] = {};
    EXPECT_EQ(f.read(buf, 5), 5);
    EXPECT_EQ(std::string(buf), "(1,5)");
    EXPECT_EQ(f.read(buf, 32), 9); // short only at end of file
    EXPECT_EQ(f.read(buf, 32), 0);
    EXPECT_EQ(f.write("x", 1), -1); // not open for writing
    f.close();
    EXPECT_EQ(f.read(buf, 1), -1);
    EXPECT_EQ(f.getLength(), -1);

    // An explicit empty write makes an empty file; a large one keeps every byte.
    ASSERT_EQ(writeAll(kFile, ""), 1);
    EXPECT_EQ(readAll(kFile), "");
    std::string big(3 * 1024 * 1024 + 7, '\0');
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<char>(i * 131 % 251);
    ASSERT_EQ(writeAll(kFile, big), 1);
    EXPECT_EQ(readAll(kFile), big);
}

TEST(KVFile, ReplaceModeReportsWrittenLengthAndMakesReadableFiles) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/keep", "");
    KVFile f;
    ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
    EXPECT_EQ(f.getLength(), 0);
    EXPECT_EQ(f.write("abcdef", 6), 6);
    EXPECT_EQ(f.getLength(), 6);
    char c;
    EXPECT_EQ(f.read(&c, 1), -1);         // not open for reading
    EXPECT_FALSE(KVFile::isExist(kFile)); // nothing visible before close
    EXPECT_EQ(f.close(), 1);
    struct stat st {};
    ASSERT_EQ(stat(root.path(kFile).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);

    // Replacing keeps the permissions the file already had.
    ASSERT_EQ(chmod(root.path(kFile).c_str(), 0600), 0);
    ASSERT_EQ(writeAll(kFile, "new"), 1);
    ASSERT_EQ(stat(root.path(kFile).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST(KVFile, FailedOpensLeaveNothingBehind) {
    kvtest::TestRoot root;
    root.writeFile("/mnt/mtd/code/config_file/old.cfg", "old");
    KVFile f;
    EXPECT_EQ(f.open(kFile, KVFile::ModeRead), 0);                       // missing
    EXPECT_EQ(f.open("/mnt/mtd/code/config_file", KVFile::ModeRead), 0); // a folder
    EXPECT_EQ(f.open(static_cast<const char*>(nullptr), KVFile::ModeRead), 0);
    EXPECT_EQ(f.open("", KVFile::ModeReplace), 0);
    EXPECT_EQ(f.open("/mnt/mtd/code/config_file/old.cfg", 2), 0); // unknown mode
    EXPECT_EQ(f.open("/no/such/dir/x.cfg", KVFile::ModeReplace), 0);
    EXPECT_EQ(f.open("/mnt/mtd/code/config_file", KVFile::ModeReplace), 0);
    EXPECT_FALSE(f.isOpen());
    EXPECT_EQ(f.read(nullptr, 0), -1);
    EXPECT_EQ(listDir(root.path(kDir)), std::vector<std::string>{"old.cfg"});
    EXPECT_EQ(root.readFile("/mnt/mtd/code/config_file/old.cfg"), "old");
}

TEST(KVFile, ReplaceWithoutWriteOrWithFailedWriteKeepsOldFile) {
    kvtest::TestRoot root;
    root.writeFile(kFile, "(1,5)");
    {
        KVFile f;
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        // destroyed without a write call
    }
    EXPECT_EQ(root.readFile(kFile), "(1,5)");
    {
        KVFile f;
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        EXPECT_EQ(f.write("(2,", 3), 3);
        EXPECT_EQ(f.write(nullptr, 4), -1);
        EXPECT_EQ(f.close(), 0);
    }
    EXPECT_EQ(root.readFile(kFile), "(1,5)");
    {
        // Reopening commits the first replacement before starting the next.
        KVFile f;
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        EXPECT_EQ(f.write("(3,3)", 5), 5);
        ASSERT_EQ(f.open(kFile, KVFile::ModeReplace), 1);
        EXPECT_EQ(f.write("x", -1), -1);
    }
    EXPECT_EQ(root.readFile(kFile), "(3,3)");
    EXPECT_EQ(listDir(root.path(kDir)), std::vector<std::string>{"sensor1.cfg"});
}

TEST(KVFile, ExistenceChecks) {
    kvtest::TestRoot root;
    root.writeFile(kFile, "x");
    EXPECT_EQ(KVFile::isExist(kFile), 1);
    EXPECT_EQ(KVFile::isExist(std::string(kFile)), 1);
    EXPECT_EQ(KVFile::isExist("/mnt/mtd/code/config_file/none.cfg"), 0);
    EXPECT_EQ(KVFile::isExist(kDir), 0);
    EXPECT_EQ(KVFile::isExist(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(DiskManager::isFileExist(kFile, 1), 1);
    EXPECT_EQ(DiskManager::isFileExist("/hd1/moduleConfig/moduleConfig.xml", 1), 0);
    EXPECT_EQ(DiskManager::isFileExist(kDir, 1), 0);
}

namespace {

// Forks a child that runs `body` (which never returns normally) after
// telling the parent through a pipe that it is under way. Returns the pid, or
// -1 when the child did not report within 10 s (it is then killed).
template <typename Body>
pid_t startChild(Body body) {
    int fds[2];
    if (pipe(fds) != 0)
        return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        body(fds[1]);
        _exit(0);
    }
    close(fds[1]);
    pollfd p{fds[0], POLLIN, 0};
    char c = 0;
    const bool ready = pid > 0 && poll(&p, 1, 10000) == 1 && read(fds[0], &c, 1) == 1;
    close(fds[0]);
    if (pid > 0 && !ready) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return -1;
    }
    return pid;
}

void killAndReap(pid_t pid) {
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
}

} // namespace

TEST(KVFile, KilledWhileWritingLeavesOldFileIntact) {
    kvtest::TestRoot root;
    const std::string old = "(1,5)(2,6)(10000,3)(10001,1)";
    root.writeFile(kFile, old);
    for (int round = 0; round < 6; ++round) {
        const pid_t pid = startChild([](int ready) {
            KVFile f;
            if (f.open(kFile, KVFile::ModeReplace) != 1)
                _exit(1);
            const std::string chunk(64 * 1024, 'N');
            bool told = false;
            // Writes until killed; stops growing at 8 MiB and keeps the file open.
            for (int i = 0;; ++i) {
                if (i < 128)
                    f.write(chunk.data(), static_cast<int>(chunk.size()));
                if (!told) {
                    told = write(ready, "r", 1) == 1;
                }
                if (i >= 128)
                    pause();
            }
        });
        ASSERT_GT(pid, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(round * 3));
        killAndReap(pid);
        const std::string now = root.readFile(kFile);
        EXPECT_TRUE(now == old) << "round " << round << ": " << now.size() << " bytes";
    }
}

TEST(KVFile, KilledDuringRepeatedReplacementsLeavesOneWholeVersion) {
    kvtest::TestRoot root;
    const size_t size = 256 * 1024;
    root.writeFile(kFile, std::string(size, 'A'));
    for (int round = 0; round < 8; ++round) {
        const pid_t pid = startChild([size](int ready) {
            for (int i = 0;; ++i) {
                // Every version is one letter repeated over the full size.
                const std::string data(size, static_cast<char>('B' + i % 20));
                KVFile f;
                if (f.open(kFile, KVFile::ModeReplace) == 1) {
                    f.write(data.data(), static_cast<int>(data.size() / 2));
                    f.write(data.data() + data.size() / 2,
                            static_cast<int>(data.size() - data.size() / 2));
                    f.close();
                }
                if (i == 0 && write(ready, "r", 1) != 1)
                    _exit(1);
            }
        });
        ASSERT_GT(pid, 0);
        std::this_thread::sleep_for(std::chrono::microseconds(round * 1500));
        killAndReap(pid);
        const std::string now = root.readFile(kFile);
        ASSERT_EQ(now.size(), size) << "round " << round;
        EXPECT_EQ(now.find_first_not_of(now[0]), std::string::npos) << "round " << round;
    }
}
