// The day/night, IR LED and light commands of sensorctl's interpreter.
#include "drivers/platform/AmbaS2SenseController.h"
#include "drivers/platform/ViscaZoomDomeController.h"
#include "platform/kvia.h"
#include "tools/Commands.h"
#include "tools/HostGpio.h"

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

// Id of the stored day/night mode: the ISP's own, the VISCA modules' 22.
constexpr int kIspDayNightModeId = 11;

std::string valueText(bool known, int value) {
    return known ? std::to_string(value) : std::string("none");
}

// Why a mode other than auto or module is in the state it is ("" for those two).
std::string modeWhy(ISensorController& ctl, int mode) {
    if (mode == 1 || mode == 2)
        return "forced by the " + modeName(mode) + " mode";
    if (mode != 3)
        return "";
    int h1 = 0, m1 = 0, h2 = 0, m2 = 0;
    ctl.getDTNTime_H(h1);
    ctl.getDTNTime_M(m1);
    ctl.getNTDTime_H(h2);
    ctl.getNTDTime_M(m2);
    char text[64];
    std::snprintf(text, sizeof text, "by time: night from %02d:%02d, day from %02d:%02d", h1, m1,
                  h2, m2);
    return text;
}

// Which of the ISP's thresholds decides. Without the IR lamp `light` is the
// ISP's light measure, which grows as the scene darkens; with the lamp it is
// the light sensor's percent of full scale, held against the infrared
// thresholds counted from the bright end.
std::string ispThresholdWhy(bool lamp, int light, int dtn, int ntd) {
    const std::string d = std::to_string(dtn);
    const std::string n = std::to_string(ntd);
    if (lamp) {
        const std::string text = "light " + std::to_string(light) + "%";
        if (light >= 100 - ntd)
            return text + " >= 100 - infrared night-to-day " + n;
        if (light <= 100 - dtn)
            return text + " <= 100 - infrared day-to-night " + d;
        return text + " between 100 - " + d + " and 100 - " + n + ": state kept";
    }
    const std::string text = "measure " + std::to_string(light);
    if (light >= dtn)
        return text + " >= day-to-night " + d;
    if (light <= ntd)
        return text + " <= night-to-day " + n;
    return text + " between night-to-day " + n + " and day-to-night " + d + ": state kept";
}

// The on-chip ISP's light inputs and the thresholds in force (ids 12/13 as
// ISP words without the IR lamp, 32/33 with it), as " source=..." fields;
// `why`, when still empty, says which threshold decides.
std::string ispLight(Session& session, AmbaS2SenseController& isp, std::string& why) {
    const bool lamp = isp.hasInfraredLight();
    int measure = 0;
    int reading = 0;
    int dtn = 0;
    int ntd = 0;
    const bool haveMeasure = session.ispWord(KVIA_CODE_LIGHT_MEASURE, measure);
    const bool haveReading = lamp && isp.getADCValue(reading) != 0;
    const bool haveThresholds =
        isp.getInfraredDTNThreshold(dtn) != 0 && isp.getInfraredNTDThreshold(ntd) != 0;
    const int percent = static_cast<int>(100.0 * reading / AmbaS2SenseController::kAdcFullScale);
    if (why.empty() && haveThresholds && (lamp ? haveReading : haveMeasure))
        why = ispThresholdWhy(lamp, lamp ? percent : measure, dtn, ntd);
    if (why.empty())
        why = lamp ? "the light sensor decides" : "the ISP's light measure decides";
    return std::string(" source=") + (lamp ? "light-sensor" : "isp") +
           " reading=" + valueText(haveReading, reading) +
           " measure=" + valueText(haveMeasure, measure) +
           " dtn=" + valueText(haveThresholds, dtn) + " ntd=" + valueText(haveThresholds, ntd);
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
    auto* dome = dynamic_cast<ViscaZoomDomeController*>(ctl.get());
    auto* isp = dynamic_cast<AmbaS2SenseController*>(ctl.get());
    int mode = m_nDayNightMode;
    int stored = 0;
    if (mode < 0 && ctl->getParameter(isp != nullptr ? kIspDayNightModeId : 22, stored) != 0)
        mode = dome != nullptr ? baseModeOfFbs8300(stored) : stored;
    int state = -1;
    int picture = 0;
    // The ISP's controller does not report its state: the day/night picture
    // word it last wrote (1 day, 2 night) does.
    if (ctl->getDayNightState(state) == 0 && isp != nullptr &&
        m_session.ispWord(KVIA_CODE_DAYNIGHT, picture))
        state = picture == 1 ? 1 : picture == 2 ? 0 : -1;
    std::string why = modeWhy(*ctl, mode);
    out = "mode=" + modeName(mode) + " state=" + stateName(state);
    if (isp != nullptr) {
        out += ispLight(m_session, *isp, why) + " why=\"" + why + "\"";
        return true;
    }
    const bool sensor = m_session.hasLightSensor();
    out += std::string(" source=") + (sensor ? "light-sensor" : "module");
    int reading = -1;
    const bool haveReading = dome != nullptr && sensor && dome->getADCVal(reading) != 0;
    out += " reading=" + valueText(haveReading, reading);
    const int toDay = m_session.moduleParameter("toDayADCVal", 600);
    const int toNight = m_session.moduleParameter("toNightADCVal", 400);
    if (!why.empty()) {
        // the mode decides
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

bool Commands::cmdLight(const std::vector<std::string>& words, std::string& out) {
    int measure = 0;
    if (words.size() != 2 || !parseInt(words[1], measure)) {
        out = "usage: light MEASURE (an integer; the ISP's and IT1's grow as the scene darkens, "
              "the Seawolf's light level as it brightens)";
        return false;
    }
    // A simulated register module's light value (IT1: grows as the scene
    // darkens; Seawolf: a light level 0..255 that grows as it brightens).
    if (BinarySimulator* binary = m_session.binarySimulator()) {
        if (!binary->setLightValue(measure)) {
            out = "the simulated module measures no light value of that range";
            return false;
        }
        return true;
    }
    if (!m_session.setLightMeasure(measure)) {
        out = "the ISP is a real device (--real-devices, or a camera build)";
        return false;
    }
    return true;
}

// The GPIO lines the controller was handed: an input the module's day/night
// output drives (ITN, Effio) is set here by hand.
bool Commands::cmdGpio(const std::vector<std::string>& words, std::string& out) {
    int group = 0;
    int pin = 0;
    int level = 0;
    const bool set = words.size() == 4;
    if ((words.size() != 3 && !set) || !parseInt(words[1], group) || !parseInt(words[2], pin) ||
        group < 0 || pin < 0 || pin > 31 ||
        (set && (!parseInt(words[3], level) || level < 0 || level > 1))) {
        out = "usage: gpio GROUP PIN [LEVEL] (pin 0..31, level 0 or 1)";
        return false;
    }
    HostGpio* gpio = m_session.gpio();
    const int result = set ? gpio->setLevel(group, pin, level) : gpio->getLevel(group, pin, level);
    if (result == 0) {
        out = "cannot reach GPIO " + words[1] + "," + words[2];
        return false;
    }
    if (!set)
        out = "level=" + std::to_string(level);
    return true;
}
