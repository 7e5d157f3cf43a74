// AmbaS2 ISP controller: start-up, video system, thresholds and day/night.
#include "drivers/platform/AmbaS2SenseController.h"

#include "drivers/protocols/SerialSettings.h"
#include "platform/DeviceIoctl.h"
#include "platform/KovantTime.h"
#include "platform/ModuleParameterParser.h"
#include "platform/PlatformClock.h"
#include "platform/kvia_driver.h"

#include <cstdio>

namespace {

constexpr int kVideoSystemCode = 20;
constexpr int kDayNightCode = 49;
constexpr int kDTNCode = 50;
constexpr int kNTDCode = 51;
constexpr int kIrCutStatusCode = 177;
constexpr int kLightMeasureCode = 241;

// Parameter ids of the threshold pairs.
constexpr int kDTNThresholdId = 12;
constexpr int kNTDThresholdId = 13;
constexpr int kInfraredDTNThresholdId = 32;
constexpr int kInfraredNTDThresholdId = 33;

// The IR-cut filter's move towards night: polled this often, for at most
// this long (device time), then given a little more to come to rest.
const KovantTime kIrCutPoll(0, 20000);
constexpr double kIrCutLimitSeconds = 1.0;
const KovantTime kIrCutRest(0, 40000);

} // namespace

// ---- start-up ---------------------------------------------------------------------

// Nothing in the detail or parameter text is required: each missing or
// malformed key is logged and start-up goes on with what there is. Only a
// driver that refuses the pre-initialisation stops it.
int AmbaS2SenseController::initController(int, ModuleConfigure const& config) {
    if (!CheckKVEWFIResult(kvia_preinit(), "kvia_preinit", __LINE__))
        return 0;

    ModuleParameterParser detail;
    if (detail.parse(config.getDetail()) == 0)
        ErrorPrintf("parse detail failed");
    const struct {
        const char* key;
        int* flag;
    } flags[] = {{"autoFocus", &m_nAutoFocus},
                 {"manualFocus", &m_nManualFocus},
                 {"fisheye", &m_nFisheye},
                 {"isInfrared", &m_nIsInfrared},
                 {"autoIris", &m_nAutoIris}};
    for (const auto& flag : flags)
        if (detail.getValue(flag.key, *flag.flag) == 0)
            ErrorPrintf("get %s from detail failed", flag.key);

    std::string text;
    bool lamp = false;
    if (detail.getValue("GPIOInfraredLight", text) == 0) {
        std::printf("get GPIOInfraredLight from detail failed\n");
    } else if (parseGpioTriple(*this, text, m_nInfraredLightGPIO,
                               "parse GPIOInfraredLight param failed,nRet=%d")) {
        lamp = true;
        writeGpio(m_nInfraredLightGPIO);
        std::printf(
            "=====*****==============initController========gpio group %d pin  %d  val %d \n",
            m_nInfraredLightGPIO[0], m_nInfraredLightGPIO[1], m_nInfraredLightGPIO[2]);
    }

    ModuleParameterParser params;
    if (params.parse(config.getParameters()) == 0)
        ErrorPrintf("parse senseParameter failed");
    else if (params.getValue("GPIO", text) == 0)
        ErrorPrintf("get GPIO from detail failed");
    else if (parseGpioTriple(*this, text, m_nGPIO, "parse GPIO param failed,nRet=%d"))
        writeGpio(m_nGPIO);

    {
        std::lock_guard<std::mutex> lock(m_mutexState);
        m_bInfraredLight = lamp;
    }
    // With the lamp the base reads the light sensor (source 2); otherwise
    // the ISP's own light measure.
    KVMutexLocker lock(m_DNMutex, "AmbaS2SenseController.cpp", __LINE__);
    m_bIRBoard = lamp;
    m_nDNSource = lamp ? 2 : 0;
    return 1;
}

bool AmbaS2SenseController::hasInfraredLight() const {
    std::lock_guard<std::mutex> lock(m_mutexState);
    return m_bInfraredLight;
}

// ---- video system ---------------------------------------------------------------------

int AmbaS2SenseController::updateSensorVideoSystem(int videoSystem, VideoResolution const&) {
    if (videoSystem != 0 && videoSystem != 1) {
        ErrorPrintf("not PAL or NTSC param!");
        return 0;
    }
    return writeCode(kVideoSystemCode, videoSystem == 0 ? 1 : 0, "updateSensorVideoSystem",
                     __LINE__)
               ? 1
               : 0;
}

// The ISP needs a moment to run in the new system.
int AmbaS2SenseController::setSensorVideoSystem(int videoSystem,
                                                VideoResolution const& resolution) {
    const int result = updateSensorVideoSystem(videoSystem, resolution);
    KovantTime::wait(KovantTime(3, 0));
    return result;
}

// ---- thresholds ------------------------------------------------------------------------

// Without the lamp, ids 12 and 13 are the ISP's thresholds (codes 50 and 51)
// and must keep day-to-night above night-to-day; only day-to-night has a
// range of its own (0..100), night-to-day only its order. With it they do nothing:
// the light sensor's thresholds are ids 32 and 33, kept here. The other value
// of a pair comes from the parameter store; with nothing stored there is
// nothing to keep apart from.
int AmbaS2SenseController::setDTNThreshold(int value) {
    if (hasInfraredLight())
        return 1;
    if (!IsAppointRange(value, "setDTNThreshold", __LINE__))
        return 0;
    int ntd = 0;
    if (getParameter(kNTDThresholdId, ntd) != 0 && value <= ntd) {
        ErrorPrintf("Error:DTN<NTD @setDTNThreshold");
        return 0;
    }
    return writeCode(kDTNCode, value, "setDTNThreshold", __LINE__) ? 1 : 0;
}

int AmbaS2SenseController::setNTDThreshold(int value) {
    if (hasInfraredLight())
        return 1;
    int dtn = 0;
    if (getParameter(kDTNThresholdId, dtn) != 0 && value >= dtn) {
        ErrorPrintf("Error:DTN<NTD @setNTDThreshold");
        return 0;
    }
    return writeCode(kNTDCode, value, "setNTDThreshold", __LINE__) ? 1 : 0;
}

// Without the lamp these write the ISP's thresholds unchecked and always
// succeed (a failed write is logged only), as the ISP boards always have.
int AmbaS2SenseController::setInfraredDTNThreshold(int value) {
    if (!hasInfraredLight()) {
        writeCode(kDTNCode, value, "setInfraredDTNThreshold", __LINE__);
        return 1;
    }
    if (!IsAppointRange(value, "setInfraredDTNThreshold", __LINE__))
        return 0;
    int ntd = 0;
    if (getParameter(kInfraredNTDThresholdId, ntd) != 0 && value <= ntd) {
        ErrorPrintf("Error:DTN(%d)<NTD(%d) @setInfraredDTNThreshold", value, ntd);
        return 0;
    }
    std::lock_guard<std::mutex> lock(m_mutexState);
    m_nInfraredDTNThreshold = value;
    return 1;
}

int AmbaS2SenseController::setInfraredNTDThreshold(int value) {
    if (!hasInfraredLight()) {
        writeCode(kNTDCode, value, "setInfraredNTDThreshold", __LINE__);
        return 1;
    }
    int dtn = 0;
    if (getParameter(kInfraredDTNThresholdId, dtn) != 0 && value >= dtn) {
        ErrorPrintf("Error:DTN(%d)<NTD(%d) @setInfraredNTDThreshold \n", dtn, value);
        return 0;
    }
    std::lock_guard<std::mutex> lock(m_mutexState);
    m_nInfraredNTDThreshold = value;
    return 1;
}

int AmbaS2SenseController::getInfraredDTNThreshold(int& value) {
    if (!hasInfraredLight())
        return readCode(kDTNCode, value, "getInfraredDTNThreshold", __LINE__) ? 1 : 0;
    std::lock_guard<std::mutex> lock(m_mutexState);
    value = m_nInfraredDTNThreshold;
    return 1;
}

int AmbaS2SenseController::getInfraredNTDThreshold(int& value) {
    if (!hasInfraredLight())
        return readCode(kNTDCode, value, "getInfraredNTDThreshold", __LINE__) ? 1 : 0;
    std::lock_guard<std::mutex> lock(m_mutexState);
    value = m_nInfraredNTDThreshold;
    return 1;
}

// ---- day/night ----------------------------------------------------------------------------

// The ISP's measure grows as the scene darkens. Between the two thresholds
// the status is left as the caller had it.
int AmbaS2SenseController::getDNStatusFromSensor(int& status) {
    int measure = 0;
    int dtn = 0;
    int ntd = 0;
    if (!readCode(kLightMeasureCode, measure, "getDNStatusFromSensor", __LINE__) ||
        !readCode(kDTNCode, dtn, "getDNStatusFromSensor", __LINE__) ||
        !readCode(kNTDCode, ntd, "getDNStatusFromSensor", __LINE__))
        return 0;
    if (measure >= dtn)
        status = 0;
    else if (measure <= ntd)
        status = 1;
    return 1;
}

// The light sensor's percent of full scale against the infrared thresholds,
// counted from the bright end; between them the last state holds.
int AmbaS2SenseController::getDNStatusFromLDR(int& status) {
    int value = 0;
    const int read = getADCValue(value);
    if (read == 0) {
        ErrorPrintf("getADCValue failed %d", read);
        return 0;
    }
    const int percent = static_cast<int>(100.0 * value / kAdcFullScale);
    std::lock_guard<std::mutex> lock(m_mutexState);
    if (percent >= 100 - m_nInfraredNTDThreshold)
        m_nLightSensorState = 1;
    else if (percent <= 100 - m_nInfraredDTNThreshold)
        m_nLightSensorState = 0;
    status = m_nLightSensorState;
    return 1;
}

int AmbaS2SenseController::getADCValue(int& value) {
    if (m_nAdcFd < 0) {
        ErrorPrintf("open adc fail ");
        return 0;
    }
    AdcData data{1, 0};
    if (kv_dev_ioctl(m_nAdcFd, ADC_GET_DATA, &data) != 0) {
        ErrorPrintf("enable the adc ADC_GET_DATA error  ");
        return 0;
    }
    value = data.value;
    return 1;
}

int AmbaS2SenseController::turnPictureToDay() {
    return writeCode(kDayNightCode, 1, "turnPictureToDay", __LINE__) ? 1 : 0;
}

// The filter's status reads 0 once it has moved. A filter that has not
// settled within the limit is logged; the picture is switched either way.
int AmbaS2SenseController::turnPictureToNight() {
    if (!writeCode(kDayNightCode, 2, "turnPictureToNight", __LINE__))
        return 0;
    const double start = PlatformClock::monotonicSeconds();
    for (;;) {
        int moving = 1;
        if (!readCode(kIrCutStatusCode, moving, "turnPictureToNight", __LINE__) || moving == 0)
            break;
        if (PlatformClock::monotonicSeconds() - start >= kIrCutLimitSeconds) {
            ErrorPrintf("turnPictureToNight: IR-cut filter still moving after %.0f s",
                        kIrCutLimitSeconds);
            break;
        }
        if (KovantTime::wait(kIrCutPoll) == 0)
            return 1; // the worker is being stopped
    }
    KovantTime::wait(kIrCutRest);
    return 1;
}
