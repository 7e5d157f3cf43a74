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
const char* const kZma = "0 900\n1000 2500\n2000 9000\n";
const char* const kIRPower = "<IRConfig><IRPower>"
                             "<item zoomup=\"1\" far=\"1\" mid=\"2\" near=\"3\"/>"
                             "<item zoomup=\"2\" far=\"10\" mid=\"20\" near=\"30\"/>"
                             "<item zoomup=\"3\" far=\"100\" mid=\"99\" near=\"0\"/>"
                             "</IRPower></IRConfig>";

int duty(int percent) {
    return 100 * ZoomIrIllumination::getRealPWM(percent);
}

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
        EXPECT_EQ(0, DeviceIoctl::openSimulatedCount());
        DeviceIoctl::unregisterAll();
        GlobalEnv::getInstance()->setPrintFlag(0);
    }
    void clearLogs() {
        nearPwm->clearLog();
        midPwm->clearLog();
        farPwm->clearLog();
    }
    bool noWrites() {
        return nearPwm->writeLog().empty() && midPwm->writeLog().empty() &&
               farPwm->writeLog().empty();
    }
    // Opens the outputs, loads both tables, and goes to night, ready for IR passes.
    void prepareNight() {
        root.writeFile("/hd1/program/config/ZMAParam.txt", kZma);
        root.writeFile("/hd1/program/config/IRPowerConfigure.xml", kIRPower);
        ASSERT_EQ(1, ir->initPWM());
        ASSERT_EQ(0, ir->loadIRPowerTable());
        ASSERT_EQ(ZoomIrIllumination::ZmaResult::Loaded,
                  ir->loadZMA("/hd1/program/config/ZMAParam.txt"));
        ASSERT_EQ(1, ir->onNight());
        owner.dnState = 0;
        clearLogs();
    }
    void expectDuties(int nearPercent, int midPercent, int farPercent) {
        EXPECT_EQ(duty(nearPercent), nearPwm->duty());
        EXPECT_EQ(duty(midPercent), midPwm->duty());
        EXPECT_EQ(duty(farPercent), farPwm->duty());
    }

    kvtest::TestRoot root;
    ZoomOwner owner;
    std::shared_ptr<SimulatedPwm> nearPwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedPwm> midPwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedPwm> farPwm = std::make_shared<SimulatedPwm>();
    std::shared_ptr<SimulatedAdc> adc = std::make_shared<SimulatedAdc>();
    std::unique_ptr<ZoomIrIllumination> ir;
};

TEST_F(ZoomIrTest, DutyFollowsPowerWithFullPowerStep) {
    ASSERT_EQ(1, ir->initPWM());
    const struct {
        int percent;
        int duty;
    } cases[] = {{0, 0}, {1, 230000}, {99, 475000}, {100, 660000}};
    for (const auto& c : cases) {
        ASSERT_EQ(1, ir->setNearLight(c.percent)) << c.percent;
        EXPECT_EQ(c.duty, nearPwm->duty()) << c.percent;
        EXPECT_EQ(1000000, nearPwm->period());
    }
    int value = 0;
    ir->getNearLight(value);
    EXPECT_EQ(100, value);
    ASSERT_EQ(1, ir->setMiddleLight(1));
    EXPECT_EQ(230000, midPwm->duty());
    ASSERT_EQ(1, ir->setFarLight(99));
    EXPECT_EQ(475000, farPwm->duty());
}

TEST_F(ZoomIrTest, OutOfRangeValuesAreRefusedAndChangeNothing) {
    ASSERT_EQ(1, ir->initPWM());
    kvtest::StdoutCapture out;
    EXPECT_EQ(0, ir->setNearLight(101));
    EXPECT_EQ(0, ir->setMiddleLight(-1));
    EXPECT_EQ(0, ir->setFarLight(1000));
    EXPECT_EQ(0, ir->setPowerMode(2));
    EXPECT_EQ(0, ir->setPowerMode(-1));
    EXPECT_EQ(0, ir->setPWM(-1, 50));
    const std::string text = out.text();
    EXPECT_TRUE(contains(text, "setNearLight(101) out of range")) << text;
    EXPECT_TRUE(contains(text, "setMiddleLight(-1) out of range")) << text;
    EXPECT_TRUE(contains(text, "setFarLight(1000) out of range")) << text;
    EXPECT_TRUE(contains(text, "setPowerMode(2) out of range")) << text;
    EXPECT_TRUE(contains(text, "setPWM failed (-1) !!")) << text;
    EXPECT_TRUE(noWrites());
    int nearP = 0, midP = 0, farP = 0, mode = -1;
    ir->getNearLight(nearP);
    ir->getMiddleLight(midP);
    ir->getFarLight(farP);
    ir->getPowerMode(mode);
    EXPECT_EQ(50, nearP);
    EXPECT_EQ(50, midP);
    EXPECT_EQ(50, farP);
    EXPECT_EQ(0, mode);
}

TEST_F(ZoomIrTest, RefusedOutputKeepsNearAndMiddleButStoresFar) {
    ASSERT_EQ(1, ir->initPWM());
    nearPwm->setFailing(true);
    midPwm->setFailing(true);
    farPwm->setFailing(true);
    kvtest::StdoutCapture out;
    EXPECT_EQ(0, ir->setNearLight(30));
    EXPECT_EQ(0, ir->setMiddleLight(30));
    EXPECT_EQ(0, ir->setFarLight(30));
    EXPECT_TRUE(contains(out.text(), "setPWM failed ("));
    int nearP = 0, midP = 0, farP = 0;
    ir->getNearLight(nearP);
    ir->getMiddleLight(midP);
    ir->getFarLight(farP);
    EXPECT_EQ(50, nearP);
    EXPECT_EQ(50, midP);
    EXPECT_EQ(30, farP);
}

TEST_F(ZoomIrTest, ManualPowerModeReappliesOnlyWhenOutputsEnabled) {
    ASSERT_EQ(1, ir->initPWM());
    ASSERT_EQ(1, ir->setPowerMode(1));
    EXPECT_TRUE(noWrites()) << "outputs still disabled";

    ASSERT_EQ(1, ir->onNight());
    EXPECT_TRUE(nearPwm->enabled() && midPwm->enabled() && farPwm->enabled());
    clearLogs();
    ASSERT_EQ(1, ir->setPowerMode(1));
    expectDuties(50, 50, 50);
    EXPECT_EQ(1u, nearPwm->writeLog().size());

    clearLogs();
    ASSERT_EQ(1, ir->setPowerMode(0));
    EXPECT_TRUE(noWrites());
    int mode = -1;
    ir->getPowerMode(mode);
    EXPECT_EQ(0, mode);
}

TEST_F(ZoomIrTest, DayAndNightSwitchOutputsOnlyOnChange) {
    ASSERT_EQ(1, ir->initPWM());
    EXPECT_FALSE(ir->isPWMEnabled());
    EXPECT_EQ(1, ir->onDay());
    EXPECT_TRUE(noWrites()) << "day while disabled sends nothing";

    EXPECT_EQ(1, ir->onNight());
    EXPECT_TRUE(ir->isPWMEnabled());
    EXPECT_TRUE(farPwm->enabled());
    clearLogs();
    EXPECT_EQ(1, ir->onNight());
    EXPECT_TRUE(noWrites()) << "night while enabled sends nothing";

    EXPECT_EQ(1, ir->onDay());
    EXPECT_FALSE(ir->isPWMEnabled());
    EXPECT_FALSE(nearPwm->enabled() || midPwm->enabled() || farPwm->enabled());
}

TEST_F(ZoomIrTest, OpeningFailuresLogTheirHistoricTexts) {
    const struct {
        const char* missing;
        const char* text;
    } cases[] = {{"/dev/pwm1", "open /dev/pwm error\n"},
                 {"/dev/pwm2", "open /dev/pwm1 error\n"},
                 {"/dev/pwm4", "open /dev/pwm2 error\n"}};
    for (const auto& c : cases) {
        DeviceIoctl::unregisterDevice(c.missing);
        kvtest::StdoutCapture out;
        EXPECT_EQ(0, ir->initPWM()) << c.missing;
        EXPECT_TRUE(contains(out.text(), c.text)) << c.missing;
        DeviceIoctl::registerDevice(c.missing, std::make_shared<SimulatedPwm>());
    }
    EXPECT_EQ(1, ir->initPWM());
    EXPECT_EQ(3, DeviceIoctl::openSimulatedCount()) << "a reopen closes the old descriptors";
}

TEST_F(ZoomIrTest, EnableAndDisableFailuresAreLoggedPerBank) {
    ASSERT_EQ(1, ir->initPWM());
    nearPwm->setFailing(true);
    midPwm->setFailing(true);
    farPwm->setFailing(true);
    kvtest::StdoutCapture out;
    EXPECT_EQ(0, ir->openPWM());
    EXPECT_EQ(0, ir->closePWM());
    const std::string text = out.text();
    for (const char* part :
         {"Near enable failed (", "Mid enable failed (", "Far enable failed (",
          "Near disenable failed(", "Mid disenable failed !!", "Far disenable failed !!"})
        EXPECT_TRUE(contains(text, part)) << part << "\n" << text;

    midPwm->setFailing(false);
    farPwm->setFailing(false);
    EXPECT_EQ(0, ir->openPWM());
    EXPECT_TRUE(midPwm->enabled() && farPwm->enabled()) << "one broken bank leaves the others";
}

TEST_F(ZoomIrTest, PowerTableLookupByRatioIndex) {
    IRPowerItem row;
    EXPECT_EQ(0, ir->getIRPowerItem(1, row)) << "empty table";
    EXPECT_EQ(-4, ir->loadIRPowerTable()) << "missing file";

    root.writeFile("/hd1/program/config/IRPowerConfigure.xml", kIRPower);
    ASSERT_EQ(0, ir->loadIRPowerTable());
    ASSERT_EQ(3, ir->irPowerTableSize());
    ASSERT_EQ(1, ir->getIRPowerItem(1, row));
    EXPECT_EQ(IRPowerItem(1, 1, 2, 3), row);
    ASSERT_EQ(1, ir->getIRPowerItem(2, row));
    EXPECT_EQ(IRPowerItem(2, 10, 20, 30), row);
    ASSERT_EQ(1, ir->getIRPowerItem(40, row));
    EXPECT_EQ(3, row.getZoomUp()) << "beyond the table: last row";
    EXPECT_EQ(0, ir->getIRPowerItem(0, row));
    EXPECT_EQ(0, ir->getIRPowerItem(-3, row));

    root.writeFile("/hd1/program/config/IRPowerConfigure.xml", "<IRConfig><IRPower>garbage");
    EXPECT_NE(0, ir->loadIRPowerTable());
    EXPECT_EQ(3, ir->irPowerTableSize()) << "a bad file keeps the old table";
}

TEST_F(ZoomIrTest, ZmaLoadNamesTheFailingStep) {
    using R = ZoomIrIllumination::ZmaResult;
    EXPECT_EQ(R::PathFailed, ir->loadZMA("/hd1/program/config/ZMAParam.txt"));
    root.writeFile("/hd1/program/config/ZMAParam.txt", "10 1000\n5 oops\n");
    EXPECT_EQ(R::ReadFailed, ir->loadZMA("/hd1/program/config/ZMAParam.txt"));
    root.writeFile("/hd1/program/config/ZMAParam.txt", "# no rows\n");
    EXPECT_EQ(R::ReadFailed, ir->loadZMA("/hd1/program/config/ZMAParam.txt"));
    root.writeFile("/hd1/program/config/ZMAParam.txt", kZma);
    EXPECT_EQ(R::Loaded, ir->loadZMA("/hd1/program/config/ZMAParam.txt"));
    int magnification = 0;
    ASSERT_TRUE(ir->zmaAlgorithm()->calcMagnify(1000, magnification));
    EXPECT_EQ(2500, magnification);
}

TEST_F(ZoomIrTest, IrPassSetsBanksFromZoomAtNightOnly) {
    prepareNight();
    owner.zoomPosition = 1000; // 2.5x: row 2
    EXPECT_EQ(0, ir->irLedPass());
    expectDuties(30, 20, 10);

    owner.zoomPosition = 2000; // 9x: beyond the table, last row
    ir->irLedPass();
    expectDuties(0, 99, 100);

    clearLogs();
    ASSERT_EQ(1, ir->setPowerMode(1));
    clearLogs();
    owner.zoomPosition = 1000;
    ir->irLedPass();
    EXPECT_TRUE(noWrites()) << "manual powers hold at night";

    ASSERT_EQ(1, ir->setPowerMode(0));
    owner.dnState = 1;
    ir->irLedPass();
    EXPECT_TRUE(noWrites()) << "day leaves the LEDs alone";
}

TEST_F(ZoomIrTest, IrPassFailuresNameTheStepAndSkipTheRest) {
    prepareNight();
    {
        owner.zoomPosition = 0; // 0.9x: index 0
        kvtest::StdoutCapture out;
        ir->irLedPass();
        EXPECT_TRUE(
            contains(out.text(), "AmbaS2FBS8300SenseController IR: getIRPowerItem(0) failed"))
            << out.text();
        EXPECT_TRUE(noWrites());
    }
    {
        owner.zoomPosition = 1000;
        owner.zoomResult = 0;
        kvtest::StdoutCapture out;
        ir->irLedPass();
        EXPECT_TRUE(contains(out.text(), "getZoomValue failed")) << out.text();
        EXPECT_TRUE(noWrites());
        owner.zoomResult = 1;
    }
    {
        nearPwm->setFailing(true);
        kvtest::StdoutCapture out;
        ir->irLedPass();
        EXPECT_TRUE(contains(out.text(), "IR: set near PWM(30) failed")) << out.text();
        EXPECT_TRUE(noWrites()) << "middle and far skipped after the near failure";
        nearPwm->setFailing(false);
    }
    {
        farPwm->setFailing(true);
        kvtest::StdoutCapture out;
        ir->irLedPass();
        EXPECT_TRUE(contains(out.text(), "IR: set far PWM(10) failed")) << out.text();
        expectDuties(30, 20, 0);
    }
}

TEST_F(ZoomIrTest, LightSensorHysteresisWithFirstReadingSeed) {
    ir->setThresholds(600, 400);
    adc->setValue(500);
    int status = -1;
    ASSERT_EQ(1, ir->getDNStatusFromLDR(status, 1)); // first reading: seeded day
    EXPECT_EQ(1, status) << "500 in the band keeps day";
    EXPECT_EQ(1, adc->lastChannel());
    const struct {
        int value;
        int expected;
    } steps[] = {{399, 0}, {500, 0}, {600, 0}, {601, 1}, {400, 1}};
    for (const auto& s : steps) {
        adc->setValue(s.value);
        // Later readings never reseed from the controller's state.
        ASSERT_EQ(1, ir->getDNStatusFromLDR(status, 1 - s.expected));
        EXPECT_EQ(s.expected, status) << s.value;
    }

    // Thresholds the wrong way round: a dark reading does not leave day.
    ir->setThresholds(300, 400);
    adc->setValue(350);
    ASSERT_EQ(1, ir->getDNStatusFromLDR(status, 0));
    EXPECT_EQ(1, status);
    EXPECT_EQ(1, ir->getLightSensorState());
}

TEST_F(ZoomIrTest, SecondFamilyHasItsOwnFirstReadingAndBothTestsInOneReading) {
    int status = -1;
    ir->setThresholds(600, 400);
    adc->setValue(500);
    ASSERT_EQ(1, ir->getDNStatusFromLDR(status, 0));
    EXPECT_EQ(0, status);

    ZoomIrIllumination::Config config;
    config.family = Family::CMD7400;
    config.driverName = "CMD7400SenseController";
    ZoomIrIllumination other(owner, config);
    other.setThresholds(300, 400); // the wrong way round
    GlobalEnv::getInstance()->setPrintFlag(1);
    adc->setValue(350);
    kvtest::StdoutCapture out;
    ASSERT_EQ(1, other.getDNStatusFromLDR(status, 1)); // its own first reading: day
    EXPECT_EQ(1, status) << "to night and straight back to day";
    const std::string text = out.text();
    EXPECT_TRUE(contains(text, "DN states switch to Night \n")) << text;
    EXPECT_TRUE(contains(text, "DN states switch to Day\n")) << text;

    other.setThresholds(600, 400);
    adc->setValue(399);
    ASSERT_EQ(1, other.getDNStatusFromLDR(status, 1));
    EXPECT_EQ(0, status);
}

TEST_F(ZoomIrTest, LightSensorFailuresKeepTheState) {
    ir->setThresholds(600, 400);
    ir->setLightSensorState(0);
    ZoomIrIllumination::resetFirstReading(Family::FBS8300);
    int status = -1;
    adc->setFailing(true);
    {
        kvtest::StdoutCapture out;
        EXPECT_EQ(0, ir->getDNStatusFromLDR(status, 1));
        const std::string text = out.text();
        EXPECT_TRUE(contains(text, "enable the adc ADC_GET_DATA error  \n")) << text;
        EXPECT_TRUE(contains(text, "getADCVal error\n")) << text;
    }
    EXPECT_EQ(0, DeviceIoctl::openSimulatedCount()) << "the ADC is closed after a failure";
    DeviceIoctl::unregisterDevice("/dev/adc");
    {
        kvtest::StdoutCapture out;
        int value = 0;
        EXPECT_EQ(0, ir->getADCVal(value));
        EXPECT_TRUE(contains(out.text(), "open adc fail \n"));
    }
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
