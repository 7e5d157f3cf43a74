// Manager, factory and null controller: which controller a module id gets and how it is set up.
#include "controller/NullSenseController.h"
#include "controller/SenseControllerFactory.h"
#include "controller/SensorControllerManager.h"
#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "drivers/platform/AmbaS2SenseController.h"
#include "drivers/platform/CMD7400SenseController.h"
#include "drivers/platform/CMD8300SenseController.h"
#include "platform/GlobalEnv.h"
#include "platform/SysfsGPIO.h"
#include "platform/TermiosUARTController.h"
#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

const std::string kErrorLog = "/mnt/mtd/log/SensorError.log";

// Turns the global print flag on or off for one test.
class PrintFlag {
public:
    explicit PrintFlag(int flag) : m_nOld(GlobalEnv::getInstance()->getPrintFlag()) {
        GlobalEnv::getInstance()->setPrintFlag(flag);
    }
    ~PrintFlag() { GlobalEnv::getInstance()->setPrintFlag(m_nOld); }

private:
    int m_nOld;
};

class ManagerTest : public ::testing::Test {
protected:
    kvtest::TestRoot root;
    SysfsGPIO* gpio = new SysfsGPIO();
    SafePointer<IUARTController> uartPointer{new TermiosUARTController()};
    SafePointer<IGPIO> gpioPointer{gpio};
    SensorControllerManager manager;

    void wire() {
        manager.setUARTController(uartPointer);
        manager.setGPIO(gpioPointer);
    }
    std::string initCaptured(int moduleId) {
        kvtest::StdoutCapture capture;
        manager.init(1, VideoResolution(), ModuleConfigure(moduleId, "", ""));
        return capture.text();
    }
};

TEST_F(ManagerTest, WithoutAControllerOnlyTheGettersAreTolerant) {
    PrintFlag on(1);
    kvtest::StdoutCapture capture;
    int value = 7;
    EXPECT_EQ(manager.getMirrorValue(value), 0);
    EXPECT_EQ(manager.getStillImageValue(value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_THROW(manager.updateSensorVideoSystem(1, VideoResolution()), KVRuntimeError);
    EXPECT_THROW(manager.getSensorController(), KVRuntimeError);
    const std::string printed = capture.text();
    EXPECT_NE(printed.find("SensorControllerManager::getMirrorValue:m_pSensorController is NULL"),
              std::string::npos);
    EXPECT_NE(
        printed.find("SensorControllerManager::getStillImageValue:m_pSensorController is NULL"),
        std::string::npos);
    EXPECT_NE(printed.find("Use NULL pointer ->"), std::string::npos);
    EXPECT_NE(printed.find("Construct from NULL <T>pointer"), std::string::npos);

    PrintFlag off(0);
    kvtest::StdoutCapture quiet;
    EXPECT_EQ(manager.getMirrorValue(value), 0);
    EXPECT_EQ(quiet.text(), "");
}

TEST_F(ManagerTest, ModuleIdZeroBuildsAnUnwiredNullController) {
    // Neither serial link nor GPIO is needed: the controller is not set up.
    EXPECT_NO_THROW(initCaptured(0));
    SafePointer<ISensorController> controller = manager.getSensorController();
    EXPECT_EQ(controller->getSensorType(), 0);
    EXPECT_EQ(controller->getSensorStatus(), ISensorController::NotInited);
    EXPECT_FALSE(root.exists(kErrorLog)) << "init of the controller was not called";
    int value = 0;
    EXPECT_EQ(manager.getMirrorValue(value), 0);
    EXPECT_EQ(manager.updateSensorVideoSystem(1, VideoResolution()), 1) << "base default";
}

TEST_F(ManagerTest, UnknownModuleIsInitialisedAndReportsTheFailure) {
    wire();
    PrintFlag on(1);
    const std::string printed = initCaptured(7);
    EXPECT_NE(printed.find("SensorControllerManager::initController error"), std::string::npos);
    EXPECT_EQ(printed.find("successs"), std::string::npos);
    EXPECT_FALSE(gpio->isInitComplete()) << "GPIO is told only after a successful init";
    SafePointer<ISensorController> controller = manager.getSensorController();
    EXPECT_EQ(controller->getSensorStatus(), ISensorController::NotInited);
    EXPECT_NE(root.readFile(kErrorLog).find("initController failed"), std::string::npos);

    PrintFlag off(0);
    EXPECT_EQ(initCaptured(7).find("SensorControllerManager::"), std::string::npos);
}

TEST_F(ManagerTest, InitNeedsBothLinks) {
    {
        kvtest::StdoutCapture capture;
        EXPECT_THROW(manager.init(1, VideoResolution(), ModuleConfigure(7, "", "")),
                     KVRuntimeError);
        EXPECT_NE(capture.text().find(std::string("SafePointer Report:") +
                                      SafePointer<IUARTController>::typeName() +
                                      " Assigned NULL <T>pointer"),
                  std::string::npos);
    }
    manager.setUARTController(uartPointer);
    kvtest::StdoutCapture capture;
    EXPECT_THROW(manager.init(1, VideoResolution(), ModuleConfigure(7, "", "")), KVRuntimeError);
    EXPECT_NE(capture.text().find(std::string("SafePointer Report:") +
                                  SafePointer<IGPIO>::typeName() + " Assigned NULL <T>pointer"),
              std::string::npos);
}

TEST_F(ManagerTest, InitAgainReplacesTheControllerWhileCopiesStayValid) {
    wire();
    initCaptured(7);
    SafePointer<ISensorController> first = manager.getSensorController();
    initCaptured(8);
    SafePointer<ISensorController> second = manager.getSensorController();
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(first->getSensorType(), 0) << "the host's copy keeps the old controller alive";
}

TEST(SenseControllerFactory, EveryIdGivesAController) {
    // Ids the factory does not know get the null controller.
    kvtest::TestRoot root;
    PrintFlag on(1);
    for (int id : {0, 7, 81, -1, INT_MIN, INT_MAX}) {
        SafePointer<ISensorController> controller = SenseControllerFactory::create(id);
        EXPECT_EQ(controller->getSensorType(), 0) << id;
        EXPECT_NE(dynamic_cast<NullSenseController*>(controller.get()), nullptr) << id;
    }
}

TEST(SenseControllerFactory, BuildsTheVendorModulesAndAnnouncesTheDomes) {
    kvtest::TestRoot root;
    struct Dome {
        int id;
        const char* announcement;
        bool (*isIt)(ISensorController*);
    };
    const Dome domes[] = {
        {82, "new AmbaS2_Dome AmbaS2FBS8300!",
         [](ISensorController* c) {
             return dynamic_cast<AmbaS2FBS8300SenseController*>(c) != nullptr;
         }},
        {83, "new AmbaS2_Dome CMD7400!",
         [](ISensorController* c) { return dynamic_cast<CMD7400SenseController*>(c) != nullptr; }},
        // The fixed-lens module and the ISP are built without a word.
        {25, nullptr,
         [](ISensorController* c) { return dynamic_cast<CMD8300SenseController*>(c) != nullptr; }},
        {80, nullptr,
         [](ISensorController* c) { return dynamic_cast<AmbaS2SenseController*>(c) != nullptr; }},
    };
    for (const Dome& dome : domes) {
        for (int flag : {1, 0}) {
            PrintFlag print(flag);
            kvtest::StdoutCapture out;
            SafePointer<ISensorController> controller = SenseControllerFactory::create(dome.id);
            const std::string text = out.text();
            EXPECT_EQ(controller->getSensorType(), dome.id);
            EXPECT_TRUE(dome.isIt(controller.get())) << dome.id;
            if (dome.announcement == nullptr)
                EXPECT_EQ(text, "");
            else
                EXPECT_EQ(text.find(dome.announcement) != std::string::npos, flag == 1) << text;
        }
    }
}

TEST(NullSenseController, RefusesEverythingWithoutTouchingHardware) {
    kvtest::TestRoot root;
    NullSenseController c;
    int value = 9;
    EXPECT_EQ(c.getMirrorValue(value), 0);
    EXPECT_EQ(c.getParameterFromSensor(1, value), 0);
    EXPECT_EQ(c.getParameterFromSensor(500, value), 0);
    EXPECT_EQ(value, 9);
    EXPECT_EQ(c.setParameterToSensor(1, 1), 0);
    EXPECT_EQ(c.setParameterToSensor(500, 1), 0) << "even the scheme ids";
    EXPECT_EQ(c.setSensorVideoSystem(1, VideoResolution()), 0);
    EXPECT_EQ(c.initController(7, ModuleConfigure()), 0);
}

} // namespace
