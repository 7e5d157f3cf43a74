// Controller start-up: init, the ISP tables, and parameter-file reconciliation.
#include "controller/ISensorController.h"

#include "config/ISPParamParse.h"
#include "platform/KVFile.h"
#include "platform/ModuleParameterParser.h"
#include "platform/SystemCommand.h"

#include <algorithm>
#include <cstdio>

namespace {
const char* const kErrorLogPath = "/mnt/mtd/log/SensorError.log";
const char* const kInitLogPath = "/mnt/mtd/log/SensorInit.log";
const unsigned kLogMaxSize = 10240;
const unsigned kLogCount = 3;
const int kCommandTimeout = 30;
const int kCommandBufSize = 1024;
// The one sensor type whose driver sets the status itself once its module is up.
const int kSelfManagedStatusType = 17;
// Folders whose files the library replaces (parameter files and sensor.xml;
// the ISP and IR power tables).
const char* const kReplacedFileDirs[] = {"/mnt/mtd/code/config_file", "/hd1/program/config"};
const char* const kRemoveFactoryCommand = "rm /mnt/mtd/code/config_file/sensor_Factory.cfg";

// The scheme window of a scheme file as the scheme record keeps it. The minute
// counts ten times (hour 7, minute 3 gives 730): that is how the records have
// always been filled, and stored files and the switching rely on it.
int schemeRecordTime(int hour, int minute) {
    return hour * 100 + minute * 10;
}
} // namespace

int ISensorController::setOperator(SafePointer<IUARTController> const& uart,
                                   SafePointer<IGPIO> const& gpio) {
    // Called before init, while no thread of this controller uses the links.
    // An empty argument is refused by the assignment itself (it throws).
    m_pUART = uart;
    m_pGPIO = gpio;
    return 1;
}

int ISensorController::init(int videoSystem, ModuleConfigure const& config,
                            VideoResolution const& resolution) {
    m_pErrorLog->init(kErrorLogPath, kLogMaxSize, kLogCount);
    m_pInitLog->init(kInitLogPath, kLogMaxSize, kLogCount);
    // A cut in the middle of a file replacement leaves its temporary file
    // behind; nothing writes these folders before this point.
    for (const char* dir : kReplacedFileDirs)
        KVFile::removeTemporaries(dir);

    ISPParamThreadInit();

    // The driver receives the video system in its first argument, as it
    // always has; its modules take their identity from the configuration.
    const int result = initController(videoSystem, config);
    if (result == 0) {
        ErrorPrintf("initController failed");
        return 0;
    }
    if (m_nSensorType != kSelfManagedStatusType)
        m_SensorStatus = InitSuccess;

    if (stopPTZ() == 0)
        InitPrintf("stop PTZ @ISensorController::init failed");
    if (setSensorVideoSystem(videoSystem, resolution) == 0)
        InitPrintf("init setSensorVideoSystem failed");
    enterDayMode();

    // The number of schemes may come with the module configuration; it has to
    // be known before the version check removes the scheme files.
    {
        ModuleParameterParser parser;
        int count = 0;
        if (parser.parse(config.getParameters()) != 0 &&
            parser.getValue("ParamSchemeNum", count) != 0 && count >= 1 &&
            count <= kMaxParamSchemeNum) {
            KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
            m_nParamSchemeNum = count;
        }
    }

    checkSensorConfigVersion();
    m_nConfigStatus = 2;
    initParamSchemeList();
    if (initConfigFile() == 0)
        InitPrintf("initConfigFile failed");

    // The text of the scheme whose window holds the time of day, in either
    // mode. Which scheme is in force, and sensor.xml, stay as they are: in
    // automatic mode the worker's first pass makes the switch, with its file
    // update and log line.
    int scheme = -1;
    std::string text;
    readCurrentParam(scheme, text);
    if (setParameters(text) == 0)
        InitPrintf("setParameters failed");

    if (NotifySensorInitComplate() == 0)
        InitPrintf("NotifySensorInitComplate failed");
    if (m_DNChangeThread->start() == 0)
        InitPrintf("m_DNChangeThread->start() failed");

    m_bisInited = true;
    ErrorPrintf("ISensorController::initSensor  success\n");
    return result;
}

int ISensorController::ISPParamThreadInit() {
    // Parse outside the lock (file I/O), then swap the tables in under it, so
    // a re-read never shows a half-filled table to a parameter set in flight.
    ISPParamParse parser;
    const int parsed = parser.parse();
    {
        KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);
        m_objISPParam->clear();
        if (parsed != 0) {
            parser.getISPParam(*m_objISPParam);
            m_bRealTimeUpdate = parser.getRealTimeUpdate();
            m_nISPDelayTime = parser.getDelayTime();
        }
    }
    if (parsed == 0) {
        ErrorPrintf("objISPParamParse.parse failed");
        return 0;
    }
    return 1;
}

int ISensorController::ISPParamBody() {
    return ISPParamThreadInit();
}

int ISensorController::stopPTZ() {
    if (!m_bIntegratedModule)
        return 1;
    // An integrated module runs its own on-screen PTZ menu; "MENUON" takes it
    // out of PTZ control so that our commands reach the camera block.
    static const char kStopCommand[] = "MENUON";
    const int length = static_cast<int>(sizeof kStopCommand) - 1;
    int sent = 0;
    {
        KVMutexLocker lock(m_mutex, "ISensorController.cpp", __LINE__);
        sent = m_pUART->send(m_nUARTPort, kStopCommand, length);
    }
    if (sent != length) {
        // Whoever asked, the entry names getAllParameters: the log readers
        // know it under that text.
        ErrorPrintf("stop PTZ @getAllParameters failed");
        return 0;
    }
    return 1;
}

int ISensorController::checkSensorConfigVersion() {
    if (m_pFactoryConfigFile->isVersionEqual(m_nConfigVersion) != 0) {
        if (m_pFactoryConfigFile->isVersion2Equal(m_nConfigVersion2) != 0)
            return 1;
        // A second-version change only alters the factory defaults: the
        // user's scheme files stay.
        std::puts("sensor configure version 2 changed delete configure files ");
        sy_system(kRemoveFactoryCommand, kCommandTimeout);
        return 0;
    }

    // A first-version change means the id set itself changed: nothing stored
    // can be trusted, so every parameter file goes.
    std::puts("sensor configure version 1 changed delete configure files ");
    sy_system(kRemoveFactoryCommand, kCommandTimeout);
    int count = 0;
    const int result = getParamSchemeNum(count);
    if (result == 0 || count < 1)
        return result;
    for (int i = 1; i <= count; ++i) {
        char command[kCommandBufSize];
        std::snprintf(command, sizeof command, "rm %s%d.cfg", kSchemeFilePrefix, i);
        sy_system(command, kCommandTimeout);
    }
    return result;
}

int ISensorController::initConfigFile() {
    // Files are rewritten below by the host thread; the worker's scheme switch
    // reads the same members, so the whole reconciliation runs under the lock.
    KVMutexLocker lock(m_paramMutex, "ISensorController.cpp", __LINE__);

    // Every file written from here on carries the driver's version stamps, so
    // that the next start's version check recognises them.
    m_pFactoryConfigFile->setVersion(m_nConfigVersion);
    m_pFactoryConfigFile->setVersion2(m_nConfigVersion2);
    m_pEspecialConfigFile->setVersion(m_nConfigVersion);
    m_pEspecialConfigFile->setVersion2(m_nConfigVersion2);
    for (auto& file : m_vecSchemeConfigFile) {
        file->setVersion(m_nConfigVersion);
        file->setVersion2(m_nConfigVersion2);
    }

    if (KVFile::isExist(kSensorXmlPath) == 0) {
        createSensorXML();
    } else {
        int scheme = 0;
        if (getParamSchemeFromFile(scheme) != 0) {
            if (isValidScheme(scheme))
                m_nParamScheme = scheme;
            else if (schemeCount() > 0)
                ErrorPrintf("initConfigFile: SchemeIndex(%d) is out of range", scheme);
        }
        int mode = 1;
        if (getParamSchemeModeFromFile(mode) != 0)
            m_nParamMode = mode;
    }

    const std::string factoryPath = m_pFactoryConfigFile->getFilePath();
    std::string moduleText;
    if (m_pFactoryConfigFile->isExist() == 0) {
        if (initFactorySetting() == 0) {
            InitPrintf("initFactorySetting failed");
            return 0;
        }
        if (getAllParametersFromSensor(moduleText) == 0) {
            InitPrintf("1getParametersFromSensor() failed");
            return 0;
        }
        if (m_pFactoryConfigFile->saveParametersToFile(moduleText) != 0)
            std::printf("create(%s) success\n", factoryPath.c_str());
        else
            InitPrintf("create(%s) failed", factoryPath.c_str());
    } else {
        if (getAllParametersFromSensor(moduleText) == 0) {
            InitPrintf("2getParametersFromSensor() failed");
            return 0;
        }
        m_pFactoryConfigFile->modifyIdUnEqualParameters(moduleText);
    }

    if (m_vecSchemeConfigFile.empty())
        return 1;

    char command[kCommandBufSize];
    SensorConfigFile& first = *m_vecSchemeConfigFile[0];
    if (first.isExist() != 0) {
        std::puts("sensor1.cfg has exit");
        first.modifyIdUnEqualParameters(moduleText);
    } else if (KVFile::isExist(kLegacyConfigPath) != 0) {
        // A unit updated from the single-file firmware keeps its settings as
        // its first scheme.
        std::puts("sensor1.cfg has not exit");
        std::printf("%s exit\n", kLegacyConfigPath);
        std::snprintf(command, sizeof command, "mv %s %s", kLegacyConfigPath,
                      first.getFilePath().c_str());
        sy_system(command, kCommandTimeout);
        std::puts(command);
        std::printf("strAllParameters=%s\n", moduleText.c_str());
        first.modifyIdUnEqualParameters(moduleText);
    } else {
        std::puts("sensor1.cfg has not exit");
        std::printf("%s not exit\n", kLegacyConfigPath);
        std::snprintf(command, sizeof command, "cp %s %s", factoryPath.c_str(),
                      first.getFilePath().c_str());
        sy_system(command, kCommandTimeout);
    }

    for (std::size_t i = 1; i < m_vecSchemeConfigFile.size(); ++i) {
        SensorConfigFile& file = *m_vecSchemeConfigFile[i];
        if (file.isExist() == 0) {
            // A new scheme starts as a copy of the factory settings, disabled.
            std::snprintf(command, sizeof command, "cp %s %s", factoryPath.c_str(),
                          file.getFilePath().c_str());
            sy_system(command, kCommandTimeout);
            file.modifyParameter(500, 0);
        }
        file.modifyIdUnEqualParameters(moduleText);
    }

    // The timed schemes take their window and enable flag from their files.
    // The last scheme is the all-day one: its record keeps the all-day window
    // and stays enabled whatever its file says (a newly copied file says
    // "disabled"), just as applying its ids forces them to the all-day values.
    const std::size_t count = std::min(m_vecSchemeConfigFile.size(), m_vecParamScheme.size());
    for (std::size_t i = 0; i + 1 < count; ++i) {
        SensorConfigFile& file = *m_vecSchemeConfigFile[i];
        int values[5] = {0, 0, 0, 0, 0}; // ids 500..504; absent ones count as 0
        for (int id = 500; id <= 504; ++id)
            file.readParameterById(id, values[id - 500]);
        ParamScheme& record = *m_vecParamScheme[i];
        record.setStartTime(schemeRecordTime(values[1], values[2]));
        record.setEndTime(schemeRecordTime(values[3], values[4]));
        record.setEnableFlag(values[0]);
    }
    return 1;
}
