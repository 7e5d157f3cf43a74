// Power cuts: a controller's process group killed at random instants of start-up, saves,
// resets and scheme switches leaves only files a clean run passes through.
#include "foundation/XmlConfigureTool.h"
#include "platform/SensorParameterParser.h"
#include "platform/SysfsGPIO.h"
#include "platform/SystemCommand.h"
#include "platform/TermiosUARTController.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <csignal>
#include <dirent.h>
#include <map>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const std::string kDir = "/mnt/mtd/code/config_file";

std::vector<std::string> entries(const std::string& hostDir) {
    std::vector<std::string> names;
    if (DIR* d = opendir(hostDir.c_str())) {
        while (const dirent* e = readdir(d)) {
            if (e->d_name[0] != '.' || std::string(e->d_name).size() > 2)
                names.emplace_back(e->d_name);
        }
        closedir(d);
    }
    return names;
}

// One controller life after another, each doing what a host does: start-up
// (with scheme files missing every other time, so that start-up copies them),
// set and save, scheme switches, both resets.
[[noreturn]] void runForever(int seed) {
    for (int round = seed;; ++round) {
        kvtest::RecordingController ctrl;
        ctrl.setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                         SafePointer<IGPIO>(new SysfsGPIO()));
        ctrl.init(1, ModuleConfigure(99, "", ""), VideoResolution());
        const int v = round % 90;
        ctrl.setParameters("(1," + std::to_string(v) + ")(2," + std::to_string(v + 1) + ")");
        ctrl.flush();
        ctrl.setParamScheme(round % 4);
        ctrl.resetToLastParameters();
        if (round % 3 == 0)
            ctrl.resetParameters();
        if (round % 2 == 0)
            sy_system("rm /mnt/mtd/code/config_file/sensor3.cfg /mnt/mtd/code/config_file/"
                      "sensor4.cfg",
                      30);
    }
}

TEST(PowerCut, KilledAtRandomInstantsLeavesWholeFilesAndStartUpSweepsTheRest) {
    kvtest::TestRoot root(0.001);
    root.writeFile(kDir + "/.keep", "");
    std::mt19937 random(11);
    int temporariesSeen = 0;
    for (int round = 0; round < 200; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            setpgid(0, 0); // its own group, so the cut also takes any command it runs
            runForever(round);
        }
        setpgid(child, child);
        usleep(static_cast<useconds_t>(random() % 20000));
        kill(-child, SIGKILL);
        waitpid(child, nullptr, 0);

        for (const std::string& name : entries(root.path(kDir))) {
            const std::string text = root.readFile(kDir + "/" + name);
            if (name[0] == '.' && name != ".keep") {
                ++temporariesSeen;
            } else if (name.size() > 4 && name.compare(name.size() - 4, 4, ".cfg") == 0) {
                // Every parameter file the library writes or copies is whole:
                // it parses and ends with both version stamps.
                std::map<int, int> values;
                ASSERT_EQ(SensorParameterParser::parseSensorParameter(text, values), 1)
                    << name << " after round " << round << ": " << text;
                ASSERT_TRUE(values.count(10000) == 1 && values.count(10001) == 1)
                    << name << " after round " << round << ": " << text;
            } else if (name == "sensor.xml") {
                XmlConfigureTool tool;
                ASSERT_EQ(tool.open(kDir + "/" + name, 1, XmlConfigureTool::ModeRead), 1)
                    << "round " << round << ": " << text;
            }
        }
    }
    // The next start-up removes what a cut left half-written.
    root.writeFile(kDir + "/.sensor1.cfg.kvtmp.a1B2c3", "(1,");
    root.writeFile("/hd1/program/config/.IRPowerConfigure.xml.kvtmp.Zz0099", "<IRCon");
    {
        kvtest::RecordingController ctrl;
        ctrl.setOperator(SafePointer<IUARTController>(new TermiosUARTController()),
                         SafePointer<IGPIO>(new SysfsGPIO()));
        ctrl.init(1, ModuleConfigure(99, "", ""), VideoResolution());
        ctrl.m_DNChangeThread->stop();
    }
    for (const std::string& dir : {kDir, std::string("/hd1/program/config")}) {
        for (const std::string& name : entries(root.path(dir)))
            EXPECT_TRUE(name[0] != '.' || name == ".keep") << name;
    }
    RecordProperty("temporaries_left_by_cuts", temporariesSeen);
}

} // namespace
