// The day/night and IR LED commands of sensorctl's interpreter.
#include "drivers/platform/ViscaZoomDomeController.h"
#include "tools/Commands.h"

#include <cstdio>

namespace {

std::string stateName(int state) {
    return state == 1 ? "day" : state == 0 ? "night" : "unknown";
}

// Base day/night modes 0..4 by name.
const char* const kModeNames[] = {"auto", "day", "night", "time", "module"};

std::string modeName(int mode) {
    return mode >= 0 && mode <= 4 ? kModeNames[mode] : "unknown";
}

// The zoom domes' own numbering of the base modes (0 for "not offered").
int fbs8300Mode(int baseMode) {
    static const int kModes[] = {1, 3, 4, 5, 0};
    return baseMode >= 0 && baseMode <= 4 ? kModes[baseMode] : 0;
}

int baseModeOfFbs8300(int mode) {
    switch (mode) {
    case 1:
        return 0;
    case 3:
        return 1;
    case 4:
        return 2;
    case 5:
        return 3;
    default:
        return -1;
    }
}

} // namespace

bool Commands::cmdDayNight(const std::vector<std::string>& words, std::string& out) {
    if (words.size() != 2) {
        out = "usage: daynight auto|day|night|time|module|0..4";
        return false;
    }
    int mode = -1;
    for (int i = 0; i <= 4; ++i)
        if (words[1] == kModeNames[i])
            mode = i;
    if (mode < 0 && (!parseInt(words[1], mode) || mode < 0 || mode > 4)) {
        out = "bad day/night mode \"" + words[1] + "\" (auto|day|night|time|module or 0..4)";
        return false;
    }
    int driverMode = mode;
    const bool dome =
        dynamic_cast<ViscaZoomDomeController*>(m_session.controller().get()) != nullptr;
    if (dome) {
        driverMode = fbs8300Mode(mode);
        if (driverMode == 0) {
            out = "module " + std::to_string(m_session.module().getModuleId()) +
                  " has no day/night mode \"" + modeName(mode) + "\"";
            return false;
        }
    }
    if (m_session.controller()->setDayNightMode(driverMode) == 0) {
        out = "daynight " + modeName(mode) + " failed";
        return false;
    }
    m_nDayNightMode = mode;
    return true;
}

bool Commands::cmdDnState(std::string& out) {
    SafePointer<ISensorController> ctl = m_session.controller();
    int mode = m_nDayNightMode;
    int stored = 0;
    if (mode < 0 && ctl->getParameter(22, stored) != 0) {
        mode = dynamic_cast<ViscaZoomDomeController*>(ctl.get()) != nullptr
                   ? baseModeOfFbs8300(stored)
                   : stored;
    }
    int state = -1;
    ctl->getDayNightState(state);
    const bool sensor = m_session.hasLightSensor();
    out = "mode=" + modeName(mode) + " state=" + stateName(state) +
          " source=" + (sensor ? "light-sensor" : "module");
    int reading = -1;
    auto* dome = dynamic_cast<ViscaZoomDomeController*>(ctl.get());
    const bool haveReading = dome != nullptr && sensor && dome->getADCVal(reading) != 0;
    out += " reading=" + (haveReading ? std::to_string(reading) : std::string("none"));
    const int toDay = m_session.moduleParameter("toDayADCVal", 600);
    const int toNight = m_session.moduleParameter("toNightADCVal", 400);
    std::string why;
    if (mode == 1 || mode == 2) {
        why = "forced by the " + modeName(mode) + " mode";
    } else if (mode == 3) {
        int h1 = 0, m1 = 0, h2 = 0, m2 = 0;
        ctl->getDTNTime_H(h1);
        ctl->getDTNTime_M(m1);
        ctl->getNTDTime_H(h2);
        ctl->getNTDTime_M(m2);
        char text[64];
        std::snprintf(text, sizeof text, "by time: night from %02d:%02d, day from %02d:%02d", h1,
                      m1, h2, m2);
        why = text;
    } else if (haveReading && reading >= toDay) {
        why = "reading " + std::to_string(reading) + " >= to-day " + std::to_string(toDay);
    } else if (haveReading && reading <= toNight) {
        why = "reading " + std::to_string(reading) + " <= to-night " + std::to_string(toNight);
    } else if (haveReading) {
        why = "reading between to-night " + std::to_string(toNight) + " and to-day " +
              std::to_string(toDay) + ": state kept";
    } else {
        why = "the module decides";
    }
    out += " why=\"" + why + "\"";
    return true;
}

bool Commands::cmdLeds(std::string& out) {
    static const char* const kBanks[] = {"near", "middle", "far"};
    SafePointer<ISensorController> ctl = m_session.controller();
    for (int bank = 0; bank < 3; ++bank) {
        int duty = 0;
        if (const SimulatedPwm* pwm = m_session.pwm(bank)) {
            // Duty as a percentage of the period; 0 while the output is off.
            const int period = pwm->period();
            duty = pwm->enabled() && period > 0
                       ? static_cast<int>(static_cast<long long>(pwm->duty()) * 100 / period)
                       : 0;
        } else {
            int result = bank == 0   ? ctl->getNearLight(duty)
                         : bank == 1 ? ctl->getMiddleLight(duty)
                                     : ctl->getFarLight(duty);
            if (result == 0) {
                out = std::string("cannot read the ") + kBanks[bank] + " LEDs";
                return false;
            }
        }
        out += std::string(bank == 0 ? "" : " ") + kBanks[bank] + "=" + std::to_string(duty) + "%";
    }
    return true;
}

bool Commands::cmdAdc(const std::vector<std::string>& words, std::string& out) {
    int value = 0;
    if (words.size() != 2 || !parseInt(words[1], value) || value < 0 || value > 4095) {
        out = "usage: adc VALUE (0..4095)";
        return false;
    }
    if (m_session.adc() == nullptr) {
        out = "the light sensor is a real device (--real-devices)";
        return false;
    }
    m_session.adc()->setValue(value);
    return true;
}
