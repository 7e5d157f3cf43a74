// IR LED banks, zoom-linked IR power and light sensor of the zoom domes.
// labels: threaded
#include "drivers/platform/ZoomIrIllumination.h"
#include "foundation/GThread.h"
#include "platform/DeviceIoctl.h"
#include "platform/GlobalEnv.h"
#include "platform/SimulatedDevices.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

namespace {

using Family = ZoomIrIllumination::Family;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A driver stand-in: reports a zoom position and a day/night state the test sets.
class ZoomOwner : public kvtest::RecordingController {
public:
    ~ZoomOwner() override { m_DNChangeThread->stop(); }
    int getZoomValue(int& position, int& ratio) override {
        position = zoomPosition;
        ratio = 0;
        return zoomResult;
    }
    int getDayNightState(int& state) override {
        state = dnState;
        return 1;
    }
    std::atomic<int> zoomPosition{0};
    std::atomic<int> zoomResult{1};
    std::atomic<int> dnState{1};
};

// Zoom table: positions 0, 1000, 2000 give magnifications 0.9x, 2.5x and 9x.
const char* const kZmaPath = "/hd1/program/config/ZMAParam.txt";
const char* const kZma = "0 900\n1000 2500\n2000 9000\n";
const char* const kIRPowerPath = "/hd1/program/config/IRPowerConfigure.xml";
const char* const kIRPower = "<IRConfig><IRPower>"
                             "<item zoomup=\"1\" far=\"1\" mid=\"2\" near=\"3\"/>"
                             "<item zoomup=\"2\" far=\"10\" mid=\"20\" near=\"30\"/>"
                             "<item zoomup=\"3\" far=\"100\" mid=\"99\" near=\"0\"/>"
                             "</IRPower></IRConfig>";

class ZoomIrTest : public ::testing::Test {
protected:
    void SetUp() override {
        DeviceIoctl::registerDevice("/dev/pwm1", nearPwm);
        DeviceIoctl::registerDevice("/dev/pwm2", midPwm);
        DeviceIoctl::registerDevice("/dev/pwm4", farPwm);
        DeviceIoctl::registerDevice("/dev/adc", adc);
        ZoomIrIllumination::resetFirstReading(Family::FBS8300);
        ZoomIrIllumination::resetFirstReading(Family::CMD7400);
        ir = std::make_unique<ZoomIrIllumination>(owner, ZoomIrIllumination::Config());
    }
    void TearDown() override {
        ir.reset();
        EXPECT_EQ(keptOpen, DeviceIoctl::openSimulatedCount());
        DeviceIoctl::unregisterAll();
        GlobalEnv::getInstance()->setPrintFlag(0);
    }
    void setFailing(bool failing) {
        for (auto* pwm : {nearPwm.get(), midPwm.get(), farPwm.get()})
            pwm->setFailing(failing);
    }
    void clearLogs() {
        for (auto* pwm : {nearPwm.get(), midPwm.get(), farPwm.get()})
            pwm->clearLog();
    }
    bool noWrites() {
        return nearPwm->writeLog().empty() && midPwm->writeLog().empty() &&
               farPwm->writeLog().empty();
    }
    // Opens the outputs, loads both tables, and goes to night, ready for IR passes.
    void prepareNight() {
        root.writeFile(kZmaPath, kZma);
        root.writeFile(kIRPowerPath, kIRPower);
        ASSERT_EQ(1, ir->initPWM());
        ASSERT_EQ(0, ir->loadIRPowerTable());
        ASSERT_EQ(ZoomIrIllumination::ZmaResult::Loaded, ir->loadZMA(kZmaPath));
        ASSERT_EQ(1, ir->onNight());
        owner.dnState = 0;
        clearLogs();
    }
    void expectDuties(int nearPercent, int midPercent, int farPercent) {
        EXPECT_EQ(100 * ZoomIrIllumination::getRealPWM(nearPercent), nearPwm->duty());
        EXPECT_EQ(100 * ZoomIrIllumination::getRealPWM(midPercent), midPwm->duty());
        EXPECT_EQ(100 * ZoomIrIllumination::getRealPWM(farPercent), farPwm->duty());
    }
    // What one IR pass prints.
    std::string pass() {
        kvtest::StdoutCapture out;
        ir->irLedPass();
        return out.text();
    }

    kvtest::TestRoot root;
    ZoomOwner owner;
    std::shared_ptr<SimulatedPwm> nearPwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedPwm> midPwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedPwm> farPwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedAdc> adc = std::make_shared<SimulatedAdc>();
    std::unique_ptr<ZoomIrIllumination> ir;
    int keptOpen = 0; // descriptors a test leaves open on purpose
};

TEST_F(ZoomIrTest, DutyFollowsPowerWithFullPowerStep) {
    ASSERT_EQ(1, ir->initPWM());
    const int cases[][2] = {{0, 0}, {1, 230000}, {99, 475000}, {100, 660000}};
    for (const auto& c : cases) {
        ASSERT_EQ(1, ir->setNearLight(c[0])) << c[0];
        EXPECT_EQ(c[1], nearPwm->duty()) << c[0];
        EXPECT_EQ(1000000, nearPwm->period());
    }
}

// A power table row may hold any power: the formula holds outside 0..100 too,
// and only a duty that is negative or beyond an int is refused.
TEST_F(ZoomIrTest, TablePowersOutsidePercentFollowTheFormula) {
    prepareNight();
    root.writeFile(kIRPowerPath, "<IRConfig><IRPower>"
                                 "<item zoomup=\"1\" far=\"300\" mid=\"-5\" near=\"150\"/>"
                                 "<item zoomup=\"2\" far=\"1\" mid=\"1\" near=\"-100\"/>"
                                 "</IRPower></IRConfig>");
    ASSERT_EQ(0, ir->loadIRPowerTable());
    owner.zoomPosition = 1000; // 2.5x: row 2
    EXPECT_TRUE(contains(pass(), "setPWM(-100) out of range"));
    owner.zoomPosition = 500; // between: 1.7x, row 1
    pass();
    EXPECT_EQ(602500, nearPwm->duty());
    EXPECT_EQ(215000, midPwm->duty());
    EXPECT_EQ(977500, farPwm->duty());
    EXPECT_EQ(2147483647, ZoomIrIllumination::getRealPWM(2147483647));
}

TEST_F(ZoomIrTest, RefusedValuesChangeNothingAndRefusedOutputsOnlyStoreFar) {
    ASSERT_EQ(1, ir->initPWM());
    kvtest::StdoutCapture out;
    EXPECT_EQ(0, ir->setNearLight(101));
    EXPECT_EQ(0, ir->setMiddleLight(-1));
    EXPECT_EQ(0, ir->setPowerMode(2));
    EXPECT_EQ(0, ir->setPWM(-1, 50));
    EXPECT_TRUE(noWrites());
    setFailing(true);
    EXPECT_EQ(0, ir->setNearLight(30));
    EXPECT_EQ(0, ir->setMiddleLight(30));
    EXPECT_EQ(0, ir->setFarLight(30));
    int nearP = 0, midP = 0, farP = 0, mode = -1;
    ir->getNearLight(nearP);
    ir->getMiddleLight(midP);
    ir->getFarLight(farP);
    ir->getPowerMode(mode);
    EXPECT_EQ(50, nearP);
    EXPECT_EQ(50, midP);
    EXPECT_EQ(30, farP);
    EXPECT_EQ(0, mode);
}

TEST_F(ZoomIrTest, OutputsSwitchOnlyOnChangeAndManualPowersNeedThem) {
    ASSERT_EQ(1, ir->initPWM());
    EXPECT_EQ(1, ir->onDay());
    ASSERT_EQ(1, ir->setPowerMode(1));
    EXPECT_TRUE(noWrites()) << "day and manual mode while disabled send nothing";

    ASSERT_EQ(1, ir->onNight());
    EXPECT_TRUE(nearPwm->enabled() && midPwm->enabled() && farPwm->enabled());
    clearLogs();
    EXPECT_EQ(1, ir->onNight());
    EXPECT_TRUE(noWrites()) << "night while enabled sends nothing";
    ASSERT_EQ(1, ir->setPowerMode(1));
    expectDuties(50, 50, 50);
    clearLogs();
    ASSERT_EQ(1, ir->setPowerMode(0));
    EXPECT_TRUE(noWrites());

    EXPECT_EQ(1, ir->onDay());
    EXPECT_FALSE(nearPwm->enabled() || midPwm->enabled() || farPwm->enabled());
}

TEST_F(ZoomIrTest, OpenEnableAndDisableFailures) {
    kvtest::StdoutCapture out;
    for (const auto& [path, pwm] :
         {std::make_pair("/dev/pwm1", nearPwm), std::make_pair("/dev/pwm2", midPwm),
          std::make_pair("/dev/pwm4", farPwm)}) {
        DeviceIoctl::unregisterDevice(path);
        EXPECT_EQ(0, ir->initPWM()) << path;
        DeviceIoctl::registerDevice(path, pwm);
    }
    ASSERT_EQ(1, ir->initPWM());
    EXPECT_EQ(3, DeviceIoctl::openSimulatedCount()) << "a reopen closes the old descriptors";
    setFailing(true);
    EXPECT_EQ(0, ir->openPWM());
    EXPECT_EQ(0, ir->closePWM());
    midPwm->setFailing(false);
    farPwm->setFailing(false);
    EXPECT_EQ(0, ir->openPWM());
    EXPECT_TRUE(midPwm->enabled() && farPwm->enabled()) << "one broken bank leaves the others";
}

TEST_F(ZoomIrTest, PowerTableLookupByRatioIndex) {
    IRPowerItem row;
    EXPECT_EQ(0, ir->getIRPowerItem(1, row)) << "empty table";
    EXPECT_EQ(-4, ir->loadIRPowerTable()) << "missing file";
    root.writeFile(kIRPowerPath, kIRPower);
    ASSERT_EQ(0, ir->loadIRPowerTable());
    ASSERT_EQ(1, ir->getIRPowerItem(2, row));
    EXPECT_EQ(IRPowerItem(2, 10, 20, 30), row);
    ASSERT_EQ(1, ir->getIRPowerItem(40, row));
    EXPECT_EQ(3, row.getZoomUp()) << "beyond the table: last row";
    EXPECT_EQ(0, ir->getIRPowerItem(0, row));
    root.writeFile(kIRPowerPath, "<IRConfig><IRPower>garbage");
    EXPECT_NE(0, ir->loadIRPowerTable());
    EXPECT_EQ(3, ir->irPowerTableSize()) << "a bad file keeps the old table";
}

TEST_F(ZoomIrTest, ZmaLoadNamesTheFailingStep) {
    using R = ZoomIrIllumination::ZmaResult;
    EXPECT_EQ(R::PathFailed, ir->loadZMA(kZmaPath));
    root.writeFile(kZmaPath, "10 1000\n5 oops\n"); // the file rules are the table's own
    EXPECT_EQ(R::ReadFailed, ir->loadZMA(kZmaPath));
    root.writeFile(kZmaPath, kZma);
    EXPECT_EQ(R::Loaded, ir->loadZMA(kZmaPath));
}

TEST_F(ZoomIrTest, IrPassSetsBanksFromZoomAtNightOnlyAndStopsAtAFailure) {
    prepareNight();
    owner.zoomPosition = 1000; // 2.5x: row 2
    EXPECT_EQ(0, ir->irLedPass());
    expectDuties(30, 20, 10);
    owner.zoomPosition = 2000; // 9x: beyond the table, last row
    ir->irLedPass();
    expectDuties(0, 99, 100);

    ASSERT_EQ(1, ir->setPowerMode(1));
    clearLogs();
    owner.zoomPosition = 1000;
    ir->irLedPass();
    EXPECT_TRUE(noWrites()) << "manual powers hold at night";
    ASSERT_EQ(1, ir->setPowerMode(0));
    owner.dnState = 1;
    ir->irLedPass();
    EXPECT_TRUE(noWrites()) << "day leaves the LEDs alone";

    // Failures name the step and skip the rest.
    owner.dnState = 0;
    owner.zoomPosition = 0; // 0.9x: index 0
    EXPECT_TRUE(contains(pass(), "AmbaS2FBS8300SenseController IR: getIRPowerItem(0) failed"));
    owner.zoomPosition = 1000;
    owner.zoomResult = 0;
    EXPECT_TRUE(contains(pass(), "getZoomValue failed"));
    EXPECT_TRUE(noWrites());
    owner.zoomResult = 1;
    nearPwm->setFailing(true);
    EXPECT_TRUE(contains(pass(), "IR: set near PWM(30) failed"));
    EXPECT_TRUE(noWrites()) << "middle and far skipped after the near failure";
    nearPwm->setFailing(false);
    farPwm->setFailing(true);
    EXPECT_TRUE(contains(pass(), "IR: set far PWM(10) failed"));
    EXPECT_EQ(100 * ZoomIrIllumination::getRealPWM(20), midPwm->duty()) << "set before far";
}

TEST_F(ZoomIrTest, LightSensorHysteresisWithAFirstReadingSeedPerFamily) {
    ir->setThresholds(600, 400);
    adc->setValue(500);
    int status = -1;
    ASSERT_EQ(1, ir->getDNStatusFromLDR(status, 0)); // first reading: seeded night
    EXPECT_EQ(0, status) << "500 in the band keeps night";
    EXPECT_EQ(1, adc->lastChannel());
    const int steps[][2] = {{601, 1}, {500, 1}, {400, 1}, {399, 0}, {600, 0}};
    for (const auto& s : steps) {
        adc->setValue(s[0]);
        // Later readings never reseed from the controller's state.
        ASSERT_EQ(1, ir->getDNStatusFromLDR(status, 1 - s[1]));
        EXPECT_EQ(s[1], status) << s[0];
    }
    // The other family seeds on its own first reading. Thresholds the wrong
    // way round: a dark reading goes to night and straight back to day.
    ZoomIrIllumination::Config config;
    config.family = Family::CMD7400;
    ZoomIrIllumination other(owner, config);
    other.setThresholds(300, 400);
    GlobalEnv::getInstance()->setPrintFlag(1);
    adc->setValue(350);
    kvtest::StdoutCapture out;
    ASSERT_EQ(1, other.getDNStatusFromLDR(status, 1));
    EXPECT_EQ(1, status);
    EXPECT_TRUE(contains(out.text(), "DN states switch to Night \n"));
}

TEST_F(ZoomIrTest, LightSensorFailuresKeepTheState) {
    ir->setThresholds(600, 400);
    ir->setLightSensorState(0);
    int status = -1, value = 0;
    adc->setFailing(true);
    kvtest::StdoutCapture out;
    EXPECT_EQ(0, ir->getDNStatusFromLDR(status, 1));
    keptOpen = 1;
    EXPECT_EQ(1, DeviceIoctl::openSimulatedCount()) << "a failed reading keeps the ADC open";
    DeviceIoctl::unregisterDevice("/dev/adc");
    EXPECT_EQ(0, ir->getADCVal(value));
    EXPECT_EQ(-1, status);
    EXPECT_EQ(1, ir->getLightSensorState()) << "seeded from the first call, then unchanged";
}

TEST_F(ZoomIrTest, IrThreadRunsWhileHostChangesPowers) {
    prepareNight();
    owner.zoomPosition = 1000;
    adc->setValue(500);
    ir->setThresholds(600, 400);
    std::unique_ptr<GThread> thread(
        makeMemberThread(ir.get(), &ZoomIrIllumination::irLedPass, "IrContrlThread"));
    ASSERT_NE(0, thread->start());
    int status = 0;
    for (int i = 0; i < 300; ++i) {
        ir->setNearLight(i % 101);
        ir->setFarLight(100 - i % 101);
        ir->setPowerMode(i % 2);
        owner.zoomPosition = 1000 + (i % 2) * 1000;
        if (i % 100 == 0)
            ir->onDay();
        else if (i % 50 == 0)
            ir->onNight();
        ir->getDNStatusFromLDR(status, 0);
        PlatformClock::sleepFor(PlatformClock::Duration(0.5));
    }
    thread->stop();
    EXPECT_FALSE(thread->isRunning());
    // After the storm the state is coherent: one more pass at 2.5x sets row 2.
    ASSERT_EQ(1, ir->setPowerMode(0));
    owner.zoomPosition = 1000;
    ir->irLedPass();
    expectDuties(30, 20, 10);
}

} // namespace
