// Process tests of sensorctl (and camsim): output lines and exit status of the built programs.
#include "platform/TermiosUARTController.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Result {
    int status = -1; // exit status; -1 when killed or timed out
    std::string out;
    std::string err;
    double seconds = 0.0;
};

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int countLines(const std::string& text) {
    int n = 0;
    for (char c : text)
        n += c == '\n';
    return n;
}

// A child process with its standard output and error on pipes.
class Child {
public:
    explicit Child(const std::vector<std::string>& argv) {
        int outPipe[2], errPipe[2];
        if (pipe(outPipe) != 0 || pipe(errPipe) != 0)
            return;
        m_pid = fork();
        if (m_pid == 0) {
            dup2(outPipe[1], 1);
            dup2(errPipe[1], 2);
            close(outPipe[0]), close(outPipe[1]), close(errPipe[0]), close(errPipe[1]);
            int null = open("/dev/null", O_RDONLY);
            dup2(null, 0); // no terminal, no piped script: stdin is empty
            std::vector<char*> args;
            for (const std::string& a : argv)
                args.push_back(const_cast<char*>(a.c_str()));
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
        close(outPipe[1]), close(errPipe[1]);
        m_nOut = outPipe[0], m_nErr = errPipe[0];
    }
    ~Child() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        if (m_nOut >= 0)
            close(m_nOut);
        if (m_nErr >= 0)
            close(m_nErr);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Reads output until the child closes it or the deadline passes; true at end of output.
    bool pump(Clock::time_point deadline, const std::string& untilOut = "") {
        for (;;) {
            if (!untilOut.empty() && contains(out, untilOut))
                return true;
            int left = static_cast<int>(
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now())
                    .count());
            if ((m_nOut < 0 && m_nErr < 0) || left <= 0)
                return m_nOut < 0 && m_nErr < 0;
            pollfd fds[2] = {{m_nOut, POLLIN, 0}, {m_nErr, POLLIN, 0}};
            if (poll(fds, 2, left) < 0)
                return false;
            readInto(fds[0], m_nOut, out);
            readInto(fds[1], m_nErr, err);
        }
    }

    // Waits for the exit; -1 when it did not end by the deadline (it is killed then).
    int wait(Clock::time_point deadline) {
        int status = 0;
        while (waitpid(m_pid, &status, WNOHANG) == 0) {
            if (Clock::now() > deadline)
                return -1;
            pump(Clock::now() + std::chrono::milliseconds(20));
        }
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string out, err;

private:
    static void readInto(const pollfd& p, int& fd, std::string& text) {
        if (fd < 0 || !(p.revents & (POLLIN | POLLHUP | POLLERR)))
            return;
        char buf[4096];
        ssize_t n = read(fd, buf, sizeof buf);
        if (n > 0) {
            text.append(buf, static_cast<size_t>(n));
        } else {
            close(fd);
            fd = -1;
        }
    }

    pid_t m_pid = -1;
    int m_nOut = -1, m_nErr = -1;
};

Result run(std::vector<std::string> argv, double limitSeconds = 60.0) {
    argv.insert(argv.begin(), KV_SENSORCTL);
    const auto start = Clock::now();
    const auto deadline =
        start + std::chrono::milliseconds(static_cast<long long>(limitSeconds * 1000));
    Child child(argv);
    Result r;
    child.pump(deadline);
    r.status = child.wait(deadline);
    r.out = child.out;
    r.err = child.err;
    r.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return r;
}

// A temporary copy of the sample unit's file tree.
class SensorctlProcess : public ::testing::Test {
protected:
    void SetUp() override {
#ifdef KV_CROSSCOMPILING
        GTEST_SKIP() << "the programs run under an emulator here; covered by the host build";
#endif
        fs::copy(fs::path(KV_SOURCE_DIR) / "examples/rootfs", m_root.dir(),
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    }
    std::vector<std::string> common() const {
        return {"--root", m_root.dir(), "--time-scale", "0.01"};
    }
    kvtest::TestRoot m_root;
};

TEST_F(SensorctlProcess, SetThenGetAgainstTheSimulatorSucceeds) {
    std::vector<std::string> args = common();
    for (const char* a :
         {"--simulate", "set", "saturation=61", "--", "get", "saturation", "--", "flush"})
        args.push_back(a);
    Result r = run(args);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "ok")) << r.out;
    EXPECT_TRUE(contains(r.out, "61")) << r.out;
    EXPECT_FALSE(contains(r.out, "error:")) << r.out;
    // The flush keeps the value in the scheme's parameter file.
    bool kept = false;
    for (const auto& e : fs::directory_iterator(m_root.path("/mnt/mtd/code/config_file")))
        kept |= contains(
            m_root.readFile("/mnt/mtd/code/config_file/" + e.path().filename().string()), ",61)");
    EXPECT_TRUE(kept) << "no parameter file holds the value";
}

TEST_F(SensorctlProcess, BadArgumentsGetOneLineAndStatusTwo) {
    for (std::vector<std::string> args : {std::vector<std::string>{"--no-such-option"},
                                          {"--video-system", "7"},
                                          {"--time-scale", "fast"},
                                          {"--driver", "NoSuchController"},
                                          {"--driver", "CMD8300SenseController", "--module", "25"},
                                          {"--listen", "127.0.0.1:0", "get", "saturation"},
                                          {"--listen", "0.0.0.0:8080", "serve"},
                                          {"--listen", "::1:8080", "serve"},
                                          {"serve", "--", "get", "saturation"}}) {
        Result r = run(args, 20.0);
        EXPECT_EQ(r.status, 2) << args[0] << ": " << r.out << r.err;
        EXPECT_EQ(countLines(r.out + r.err), 1) << args[0] << ": " << r.out << r.err;
    }
    // An unknown class is answered with the known ones.
    Result r = run({"--driver", "NoSuchController"}, 20.0);
    EXPECT_TRUE(contains(r.err, "AmbaS2FBS8300SenseController, CMD7400SenseController")) << r.err;
}

// A class built by name rather than by module id: the CMD8300 (module 25,
// whose ids keep the base's day/night modes) on its sample record against its
// simulator model (its saturation frame, level 7 of 50), the value read back.
TEST_F(SensorctlProcess, DriverClassRunsAgainstItsSimulator) {
    std::vector<std::string> args = common();
    for (const char* a : {"--driver", "CMD8300SenseController", "--simulate", "--verbose", "set",
                          "saturation=50", "--", "get", "saturation", "--", "ids"})
        args.push_back(a);
    Result r = run(args);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    // The worker's own frames (the day picture) may show up among the set's.
    EXPECT_TRUE(contains(r.out, "> 81 01 04 A1 00 00 00 07 FF\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "\nok\n") && contains(r.out, "\nsaturation=50\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "\n22 daynight_mode 0..3 common")) << r.out;
    // A register module: its frames as text, its ids named from its own table.
    args = common();
    for (const char* a : {"--driver", "HitachSenseController", "--simulate", "--verbose", "set",
                          "brightness=100", "--", "get", "brightness", "--", "ids"})
        args.push_back(a);
    r = run(args);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    // Brightness 100 in the register of the picture mode in force.
    EXPECT_TRUE(contains(r.out, "> :WFD9EFF\n") || contains(r.out, "> :WFDAEFF\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "\nbrightness=100\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "\n7 max_gain any common")) << r.out;
    // A binary register module: its frames in hex, checksum last. Its exchange
    // time-out is 6 tenths of a device second: at this scale 60 ms, well clear
    // of a loaded machine's scheduling.
    args = {"--root", m_root.dir(), "--time-scale", "0.1"};
    for (const char* a : {"--driver", "IT1SenseController", "--simulate", "--verbose", "set",
                          "1=55", "--", "get", "1"})
        args.push_back(a);
    r = run(args);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "> 08 01 05 02 0A 03 37 54\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "\n1=55\n")) << r.out;
    // The ITN module's noise reduction in one frame; its day/night input is a
    // GPIO line of the host, and night reaches the module's register.
    args = {"--root", m_root.dir(), "--time-scale", "0.1"};
    for (const char* a : {"--driver", "ITNSenseController", "--simulate", "--verbose", "set",
                          "23=40", "--", "gpio", "0", "20", "0", "--", "wait", "2"})
        args.push_back(a);
    r = run(args);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "> 0E 01 0B 02 1D 00 03 20 01 21 66 22 66 6C\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "> 09 01 06 02 1B 00 50 33 B0\n")) << r.out;
}

TEST_F(SensorctlProcess, UnknownCommandOrIdFailsWithAnErrorLine) {
    std::vector<std::string> args = common();
    for (const char* a : {"--simulate", "frobnicate", "--", "get", "no-such-name"})
        args.push_back(a);
    Result r = run(args);
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_GE(countLines(r.out), 2);
    size_t first = r.out.find("error: ");
    ASSERT_NE(first, std::string::npos) << r.out;
    EXPECT_NE(r.out.find("error: ", first + 1), std::string::npos) << r.out;
}

// The web interface's texts come from the unit's files without a controller
// (no serial line here): the style merged for the sample's IR board, the
// texts of a language without files falling back to language 1's.
TEST_F(SensorctlProcess, UiPrintsTheUnitsTexts) {
    std::vector<std::string> args = common();
    for (const char* a : {"ui", "style", "--", "ui", "language", "9", "--", "ui", "init", "--",
                          "ui", "common", "x"})
        args.push_back(a);
    Result r = run(args);
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "<tab key=\"45\" name=\"infrared\"")) << r.out;
    EXPECT_TRUE(contains(r.out, "<text key=\"tab.image\" value=\"Image\"")) << r.out;
    EXPECT_TRUE(contains(r.out, "<page openTab=\"10\"")) << r.out;
    const size_t error = r.out.find("error:");
    EXPECT_EQ(error, r.out.find("error: usage: ui")) << r.out;
}

TEST_F(SensorctlProcess, SilentModuleMakesCommandsFailInBoundedTime) {
    Child camsim({KV_CAMSIM, "--silent", "--time-scale", "0.01"});
    camsim.pump(Clock::now() + std::chrono::seconds(10), "\n");
    std::string device = camsim.out.substr(0, camsim.out.find('\n'));
    ASSERT_TRUE(contains(device, "/dev/")) << device;

    std::vector<std::string> args = common();
    for (const char* a : {"--device", device.c_str(), "set", "saturation=62", "--", "zoom", "get"})
        args.push_back(a);
    Result r = run(args, 90.0);
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_LT(r.seconds, 60.0);
    EXPECT_TRUE(contains(r.out, "error: ")) << r.out;
    // The frames did reach the module's end of the line.
    camsim.pump(Clock::now() + std::chrono::milliseconds(200));
    EXPECT_TRUE(contains(camsim.out, "rx 81 ")) << camsim.out;
}

// camsim playing an ASCII register module: a read answered from the model's
// power-up registers (version 106 on the compatible module), the frame logged.
TEST_F(SensorctlProcess, CamsimPlaysAnAsciiRegisterModule) {
    Child camsim({KV_CAMSIM, "--protocol", "ascii", "--model", "compat", "--time-scale", "0.01"});
    camsim.pump(Clock::now() + std::chrono::seconds(10), "\n");
    const std::string device = camsim.out.substr(0, camsim.out.find('\n'));
    ASSERT_TRUE(contains(device, "/dev/")) << device;
    TermiosUARTController uart;
    const int port = uart.open(device.c_str());
    ASSERT_GE(port, 0);
    ASSERT_EQ(uart.setParameter(port, 9600, 8, 1, 0), 1);
    ASSERT_EQ(uart.send(port, ":RE1EE00", 8), 8);
    // The test's clock runs fast: the answer is awaited in short reads, 2 s at most.
    char answer[8] = {};
    int got = 0;
    for (const auto end = Clock::now() + std::chrono::seconds(2); got < 8 && Clock::now() < end;)
        got += std::max(0, uart.recv(port, answer + got, 8 - got, 10));
    EXPECT_EQ(std::string(answer, static_cast<size_t>(got)), ":RE1EE6A");
    camsim.pump(Clock::now() + std::chrono::milliseconds(200));
    EXPECT_TRUE(contains(camsim.out, "rx :RE1EE00")) << camsim.out;
}

// Module 80 has no serial line: with --simulate (and no record in the root)
// it runs on its sample record and the simulated ISP alone, whose power-up
// thresholds are day-to-night 60 and night-to-day 30 of the light measure.
// A measure past 60 is night at the next worker pass; "light" takes integers
// only. The set outlives the worker's scheme passes.
TEST_F(SensorctlProcess, IspModuleRunsOnTheSimulatedIsp) {
    std::vector<std::string> args = common();
    for (const char* a :
         {"--module", "80",  "--simulate", "set", "brightness=70", "--", "wait", "3",
          "--",       "get", "brightness", "--",  "light",         "80", "--",   "wait",
          "30",       "--",  "dnstate",    "--",  "light",         "x"})
        args.push_back(a);
    Result r = run(args);
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "\nbrightness=70\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "mode=auto state=night source=isp reading=none measure=80 "
                                "dtn=60 ntd=30 why=\"measure 80 >= day-to-night 60\""))
        << r.out;
    // One error line, the last: the bad measure.
    const size_t error = r.out.find("error: usage: light");
    EXPECT_NE(error, std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("error:"), error) << r.out;
    EXPECT_EQ(r.out.find('\n', error), r.out.size() - 1) << r.out;
}

// Each vendor module named with --module against camsim playing its model:
// the saturation frame of that module, and no restart at system 0.
TEST_F(SensorctlProcess, VendorModulesTalkToTheirSimulatorModels) {
    struct Module {
        const char* id;
        const char* model;
        const char* frame;   // saturation 50 on this module
        const char* restart; // its restart frame
    };
    const Module modules[] = {
        // Level 8: 7.5 rounded to the nearest.
        {"83", "cmd7400", "rx 81 01 04 A1 00 00 00 08 FF", "rx FE 05"},
        {"25", "cmd8300", "rx 81 01 04 A1 00 00 00 07 FF", "rx 81 01 04 19 03 FF"},
    };
    for (const Module& module : modules) {
        SCOPED_TRACE(module.model);
        Child camsim({KV_CAMSIM, "--model", module.model, "--time-scale", "0.01"});
        camsim.pump(Clock::now() + std::chrono::seconds(10), "\n");
        const std::string device = camsim.out.substr(0, camsim.out.find('\n'));
        ASSERT_TRUE(contains(device, "/dev/")) << device;
        std::vector<std::string> args = common();
        for (const char* a :
             {"--module", module.id, "--device", device.c_str(), "set", "saturation=50"})
            args.push_back(a);
        Result r = run(args);
        EXPECT_EQ(r.status, 0) << r.out << r.err;
        camsim.pump(Clock::now() + std::chrono::milliseconds(200));
        EXPECT_TRUE(contains(camsim.out, module.frame)) << camsim.out;
        EXPECT_FALSE(contains(camsim.out, module.restart)) << camsim.out;
    }
}

} // namespace
