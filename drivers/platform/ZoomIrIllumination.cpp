// Infrared LED banks, zoom-linked IR power and light sensor of the zoom domes.
#include "drivers/platform/ZoomIrIllumination.h"

#include "config/IRPowerDefaultConfig.h"
#include "controller/ISensorController.h"
#include "platform/DeviceIoctl.h"
#include "platform/GlobalEnv.h"
#include "platform/IRPowerParamV2.h"
#include "platform/KovantTime.h"
#include "platform/ZMAParam.h"
#include "platform/ZMAParamFileToArray.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <utility>

std::atomic<bool> ZoomIrIllumination::s_bFirstReadingFBS8300{true};
std::atomic<bool> ZoomIrIllumination::s_bFirstReadingCMD7400{true};

namespace {

// Issues a request without argument; 0 on success, else the error number.
int pwmRequest(int fd, unsigned long request) {
    if (kv_dev_ioctl(fd, request, nullptr) == 0)
        return 0;
    return errno != 0 ? errno : EIO;
}

bool inPercentRange(int percent) {
    return percent >= 0 && percent <= 100;
}

} // namespace

ZoomIrIllumination::ZoomIrIllumination(ISensorController& owner, Config config)
    : m_owner(owner), m_config(std::move(config)), m_pZMAAlgorithm(new CameraLensZMAAlgorithm()) {}

ZoomIrIllumination::~ZoomIrIllumination() {
    closeDevices();
}

// ---- PWM outputs ---------------------------------------------------------------

int ZoomIrIllumination::openDevice(const std::string& path, const char* failure) {
    const int fd = kv_dev_open(path.c_str(), O_RDWR);
    if (fd < 0)
        m_owner.ErrorPrintf("%s", failure);
    return fd;
}

void ZoomIrIllumination::closeDevices() {
    for (std::atomic<int>* fd : {&m_nNearFd, &m_nMidFd, &m_nFarFd}) {
        const int old = fd->exchange(-1);
        if (old >= 0)
            kv_dev_close(old);
    }
}

int ZoomIrIllumination::initPWM() {
    closeDevices();
    // The texts do not name the failing device; they are the ones the field
    // logs have always shown, so they stay.
    m_nNearFd = openDevice(m_config.nearLightDev, "open /dev/pwm error\n");
    if (m_nNearFd < 0)
        return 0;
    m_nMidFd = openDevice(m_config.midLightDev, "open /dev/pwm1 error\n");
    if (m_nMidFd < 0)
        return 0;
    m_nFarFd = openDevice(m_config.farLightDev, "open /dev/pwm2 error\n");
    return m_nFarFd >= 0 ? 1 : 0;
}

// Every bank is tried even when an earlier one failed, so that one broken
// output does not keep the others dark (or lit).
int ZoomIrIllumination::openPWM() {
    int ok = 1;
    const int nearFd = m_nNearFd, midFd = m_nMidFd, farFd = m_nFarFd;
    if (int err = pwmRequest(nearFd, PWM_IOCTL_ENABLE)) {
        m_owner.ErrorPrintf("Near enable failed (%d,%d)!!\n", nearFd, err);
        ok = 0;
    }
    if (int err = pwmRequest(midFd, PWM_IOCTL_ENABLE)) {
        m_owner.ErrorPrintf("Mid enable failed (%d,%d)!!\n", midFd, err);
        ok = 0;
    }
    if (pwmRequest(farFd, PWM_IOCTL_ENABLE) != 0) {
        m_owner.ErrorPrintf("Far enable failed (%d)!!\n", farFd);
        ok = 0;
    }
    return ok;
}

int ZoomIrIllumination::closePWM() {
    int ok = 1;
    const int nearFd = m_nNearFd;
    if (int err = pwmRequest(nearFd, PWM_IOCTL_DISABLE)) {
        m_owner.ErrorPrintf("Near disenable failed(%d,%d) !!\n", nearFd, err);
        ok = 0;
    }
    if (pwmRequest(m_nMidFd, PWM_IOCTL_DISABLE) != 0) {
        m_owner.ErrorPrintf("Mid disenable failed !!\n");
        ok = 0;
    }
    if (pwmRequest(m_nFarFd, PWM_IOCTL_DISABLE) != 0) {
        m_owner.ErrorPrintf("Far disenable failed !!\n");
        ok = 0;
    }
    return ok;
}

namespace {

// PWM units of a power: 0 for 0, 6600 for 100, else 2300 + 25 (p - 1), for
// any p (a power table row may hold anything); 64-bit, so nothing overflows.
long long realPWM(int percent) {
    if (percent == 0)
        return 0;
    if (percent == 100)
        return 6600;
    // The LEDs stay dark below about 23 % duty, so 1 % starts there; full
    // power (100) is a deliberate step above the linear range.
    return 2300 + 25 * (static_cast<long long>(percent) - 1);
}

} // namespace

int ZoomIrIllumination::getRealPWM(int percent) {
    const long long units = realPWM(percent);
    // Only powers beyond +-85 million leave int; they are reported at its ends.
    if (units > INT_MAX)
        return INT_MAX;
    if (units < INT_MIN)
        return INT_MIN;
    return static_cast<int>(units);
}

int ZoomIrIllumination::setPWM(int fd, int percent) {
    // The duty is one int word of the request: a power whose duty is negative
    // or does not fit cannot be configured.
    const long long duty = 100 * realPWM(percent);
    if (duty < 0 || duty > INT_MAX) {
        m_owner.ErrorPrintf("setPWM(%d) out of range\n", percent);
        return 0;
    }
    PwmConfig config{static_cast<int>(duty), kPwmPeriod};
    if (kv_dev_ioctl(fd, PWM_IOCTL_CONFIG, &config) != 0) {
        m_owner.ErrorPrintf("setPWM failed (%d) !!\n", fd);
        return 0;
    }
    return 1;
}

int ZoomIrIllumination::onNight() {
    if (m_bPwmEnabled.exchange(true))
        return 1;
    return openPWM();
}

int ZoomIrIllumination::onDay() {
    if (!m_bPwmEnabled.exchange(false))
        return 1;
    return closePWM();
}

// ---- manual powers and power mode ------------------------------------------------

int ZoomIrIllumination::setNearLight(int percent) {
    if (!inPercentRange(percent)) {
        m_owner.ErrorPrintf("setNearLight(%d) out of range", percent);
        return 0;
    }
    if (!setPWM(m_nNearFd, percent))
        return 0;
    m_nNearLight = percent;
    return 1;
}

int ZoomIrIllumination::setMiddleLight(int percent) {
    if (!inPercentRange(percent)) {
        m_owner.ErrorPrintf("setMiddleLight(%d) out of range", percent);
        return 0;
    }
    if (!setPWM(m_nMidFd, percent))
        return 0;
    m_nMiddleLight = percent;
    return 1;
}

int ZoomIrIllumination::setFarLight(int percent) {
    if (!inPercentRange(percent)) {
        m_owner.ErrorPrintf("setFarLight(%d) out of range", percent);
        return 0;
    }
    // The far power is kept even when the output refuses it, so a later
    // re-apply (power mode 1) tries the user's value again.
    m_nFarLight = percent;
    return setPWM(m_nFarFd, percent);
}

int ZoomIrIllumination::getNearLight(int& percent) const {
    percent = m_nNearLight;
    return 1;
}

int ZoomIrIllumination::getMiddleLight(int& percent) const {
    percent = m_nMiddleLight;
    return 1;
}

int ZoomIrIllumination::getFarLight(int& percent) const {
    percent = m_nFarLight;
    return 1;
}

int ZoomIrIllumination::setPowerMode(int mode) {
    if (mode < 0 || mode > 1) {
        m_owner.ErrorPrintf("setPowerMode(%d) out of range", mode);
        return 0;
    }
    m_nPowerMode = mode;
    if (mode == 1 && m_bPwmEnabled) {
        // The result stays success: the mode is in force, and a bank that
        // refused its power has logged why.
        setNearLight(m_nNearLight);
        setMiddleLight(m_nMiddleLight);
        setFarLight(m_nFarLight);
    }
    return 1;
}

int ZoomIrIllumination::getPowerMode(int& mode) const {
    mode = m_nPowerMode;
    return 1;
}

// ---- zoom-linked power ---------------------------------------------------------------

int ZoomIrIllumination::loadIRPowerTable() {
    IRPowerDefaultConfig reader;
    IRPowerParamV2 param;
    const int code = reader.load(1, m_config.irPowerFile, param);
    if (code != 0)
        return code;
    std::vector<IRPowerItem> rows;
    param.getIrPower(rows);
    std::lock_guard<std::mutex> lock(m_mutexTable);
    m_vecIRPower.swap(rows);
    return 0;
}

ZoomIrIllumination::ZmaResult ZoomIrIllumination::loadZMA(const std::string& path) {
    ZMAParamFileToArray reader;
    if (!reader.setFilePath(path))
        return ZmaResult::PathFailed;
    ZMAParam param;
    if (!reader.get(param))
        return ZmaResult::ReadFailed;
    if (!m_pZMAAlgorithm->setZMAParam(param))
        return ZmaResult::EmptyTable;
    return ZmaResult::Loaded;
}

int ZoomIrIllumination::getIRPowerItem(int ratio, IRPowerItem& item) const {
    std::lock_guard<std::mutex> lock(m_mutexTable);
    const int rows = static_cast<int>(m_vecIRPower.size());
    if (rows == 0 || ratio <= 0)
        return 0;
    item = m_vecIRPower[ratio > rows ? rows - 1 : ratio - 1];
    return 1;
}

int ZoomIrIllumination::irPowerTableSize() const {
    std::lock_guard<std::mutex> lock(m_mutexTable);
    return static_cast<int>(m_vecIRPower.size());
}

int ZoomIrIllumination::irLedPass() {
    KovantTime::wait(KovantTime(1, 0));
    int state = -1;
    if (m_nPowerMode != 0 || !m_owner.getDayNightState(state) || state != 0)
        return 0;

    const char* name = m_config.driverName.c_str();
    int position = 0, ratio = 0, magnification = 0;
    if (!m_owner.getZoomValue(position, ratio)) {
        m_owner.ErrorPrintf("%s IR: getZoomValue failed\n", name);
        return 0;
    }
    if (!m_pZMAAlgorithm->calcMagnify(position, magnification)) {
        m_owner.ErrorPrintf("%s IR: calcMagnify(%d) failed\n", name, position);
        return 0;
    }
    const int index = magnification / 1000;
    IRPowerItem row;
    if (!getIRPowerItem(index, row)) {
        m_owner.ErrorPrintf("%s IR: getIRPowerItem(%d) failed\n", name, index);
        return 0;
    }
    if (!setPWM(m_nNearFd, row.getNearPower())) {
        m_owner.ErrorPrintf("%s IR: set near PWM(%d) failed\n", name, row.getNearPower());
        return 0;
    }
    if (!setPWM(m_nMidFd, row.getMidPower())) {
        m_owner.ErrorPrintf("%s IR: set mid PWM(%d) failed\n", name, row.getMidPower());
        return 0;
    }
    if (!setPWM(m_nFarFd, row.getFarPower()))
        m_owner.ErrorPrintf("%s IR: set far PWM(%d) failed\n", name, row.getFarPower());
    return 0;
}

// ---- light sensor ------------------------------------------------------------------------

// A failed reading leaves the device open: that is how the light sensor has
// always been read (each failure keeps one descriptor).
int ZoomIrIllumination::getADCVal(int& value) {
    const int fd = kv_dev_open(m_config.adcDev.c_str(), O_RDONLY);
    if (fd < 0) {
        m_owner.ErrorPrintf("open adc fail \n");
        return 0;
    }
    AdcData data{1, 0};
    if (kv_dev_ioctl(fd, ADC_GET_DATA, &data) != 0) {
        m_owner.ErrorPrintf("enable the adc ADC_GET_DATA error  \n");
        return 0;
    }
    value = data.value;
    kv_dev_close(fd);
    return 1;
}

std::atomic<bool>& ZoomIrIllumination::firstReadingFlag() const {
    return m_config.family == Family::CMD7400 ? s_bFirstReadingCMD7400 : s_bFirstReadingFBS8300;
}

void ZoomIrIllumination::resetFirstReading(Family family) {
    (family == Family::CMD7400 ? s_bFirstReadingCMD7400 : s_bFirstReadingFBS8300) = true;
}

int ZoomIrIllumination::getDNStatusFromLDR(int& status, int currentDNState) {
    std::lock_guard<std::mutex> lock(m_mutexLightSensor);
    if (firstReadingFlag().exchange(false))
        m_nLightSensorState = currentDNState;

    int value = 0;
    if (!getADCVal(value)) {
        m_owner.ErrorPrintf("getADCVal error\n");
        return 0;
    }
    const int toDay = m_nToDayADCVal, toNight = m_nToNightADCVal;
    int state = m_nLightSensorState;
    const bool trace = GlobalEnv::getInstance()->getPrintFlag() != 0;
    const char* name = m_config.driverName.c_str();

    if (m_config.family == Family::CMD7400) {
        // Both tests in one reading: with the thresholds the wrong way round a
        // value can pass to night and straight back to day.
        if (state == 1 && value < toNight) {
            state = 0;
            if (trace)
                std::printf("%s ADC %d < %d, DN states switch to Night \n", name, value, toNight);
        }
        if (state == 0 && value > toDay) {
            state = 1;
            if (trace)
                std::printf("%s ADC %d > %d, DN states switch to Day\n", name, value, toDay);
        }
    } else if (state == 1 && value < toNight) {
        // Night only when the value is also not above the day threshold; with
        // the thresholds the wrong way round the state stays day.
        state = value <= toDay ? 0 : 1;
    } else if (state == 0 && value > toDay) {
        state = 1;
    }
    m_nLightSensorState = state;
    status = state;
    return 1;
}

void ZoomIrIllumination::setThresholds(int toDay, int toNight) {
    m_nToDayADCVal = toDay;
    m_nToNightADCVal = toNight;
}

void ZoomIrIllumination::getThresholds(int& toDay, int& toNight) const {
    toDay = m_nToDayADCVal;
    toNight = m_nToNightADCVal;
}

void ZoomIrIllumination::setLightSensorState(int state) {
    std::lock_guard<std::mutex> lock(m_mutexLightSensor);
    m_nLightSensorState = state;
}

int ZoomIrIllumination::getLightSensorState() const {
    return m_nLightSensorState;
}
