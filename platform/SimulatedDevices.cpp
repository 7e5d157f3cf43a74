// In-process PWM output and ADC.
#include "platform/SimulatedDevices.h"

#include <cerrno>

int SimulatedPwm::ioctl(unsigned long request, void* arg) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bFailing) {
        errno = EIO;
        return -1;
    }
    switch (request) {
    case PWM_IOCTL_CONFIG: {
        if (arg == nullptr) {
            errno = EFAULT;
            return -1;
        }
        const auto* config = static_cast<const PwmConfig*>(arg);
        if (config->period <= 0 || config->duty < 0 || config->duty > config->period) {
            errno = EINVAL;
            return -1;
        }
        m_nDuty = config->duty;
        m_nPeriod = config->period;
        m_vecLog.push_back({request, config->duty, config->period});
        return 0;
    }
    case PWM_IOCTL_ENABLE:
    case PWM_IOCTL_DISABLE:
        m_bEnabled = request == PWM_IOCTL_ENABLE;
        m_vecLog.push_back({request, 0, 0});
        return 0;
    default:
        errno = ENOTTY;
        return -1;
    }
}

int SimulatedPwm::duty() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nDuty;
}

int SimulatedPwm::period() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nPeriod;
}

bool SimulatedPwm::enabled() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bEnabled;
}

std::vector<SimulatedPwm::Write> SimulatedPwm::writeLog() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecLog;
}

void SimulatedPwm::clearLog() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_vecLog.clear();
}

void SimulatedPwm::setFailing(bool failing) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bFailing = failing;
}

int SimulatedAdc::ioctl(unsigned long request, void* arg) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (request != ADC_GET_DATA) {
        errno = ENOTTY;
        return -1;
    }
    if (arg == nullptr) {
        errno = EFAULT;
        return -1;
    }
    auto* data = static_cast<AdcData*>(arg);
    ++m_nRequests;
    m_nLastChannel = data->channel;
    if (m_bFailing) {
        errno = EIO;
        return -1;
    }
    const auto it = m_mapChannels.find(data->channel);
    data->value = it == m_mapChannels.end() ? m_nValue : it->second;
    return 0;
}

void SimulatedAdc::setValue(int value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_nValue = value;
}

void SimulatedAdc::setChannelValue(int channel, int value) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mapChannels[channel] = value;
}

void SimulatedAdc::setFailing(bool failing) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bFailing = failing;
}

int SimulatedAdc::requestCount() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nRequests;
}

int SimulatedAdc::lastChannel() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nLastChannel;
}
