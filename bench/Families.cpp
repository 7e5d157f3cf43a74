// The protocol families the benchmarks run, one driver class each, and what they set and ask.
#include "Families.h"

#include "drivers/platform/AmbaS2FBS8300SenseController.h"
#include "tools/ParameterNames.h"

namespace kvbench {

namespace {

int zoomPosition(ISensorController& controller) {
    int position = 0;
    int ratio = 0;
    return controller.getZoomValue(position, ratio);
}

// A register read through the driver's own getter.
template <int Id>
int readRegister(ISensorController& controller) {
    int value = 0;
    return controller.getParameterFromSensor(Id, value);
}

// Ranges as the module documentation gives them; a value of a set that the
// module refuses only shortens the set, it never breaks it.
const std::vector<Family> kFamilies = {
    {"VISCA (zoom dome)", "", {1, 40, 60}, &zoomPosition, {}},
    // The ASCII modules are asked only by their drivers' day/night threads:
    // no inquiry a host makes.
    {"ASCII register (CMD7200)",
     "CMD7200SenseController",
     {1, 40, 60},
     nullptr,
     {{1, 0, 100},
      {2, 0, 100},
      {3, 0, 100},
      {4, 0, 3},
      {5, 1, 10},
      {8, 0, 3},
      {9, 0, 2},
      {10, 0, 4}}},
    {"IT1 binary register",
     "IT1SenseController",
     {1, 40, 60},
     &readRegister<1>,
     {{1, 0, 100},
      {2, 0, 100},
      {3, 0, 7},
      {4, 0, 4},
      {5, 0, 1},
      {6, 0, 3},
      {12, 0, 1023},
      {13, 0, 3},
      {15, 0, 15},
      {16, 0, 255},
      {19, 0, 100}}},
    {"ITN binary register",
     "ITNSenseController",
     {1, 40, 60},
     &readRegister<1>,
     {{1, 0, 100},
      {2, 0, 100},
      {3, 0, 100},
      {4, 0, 3},
      {5, 0, 1},
      {6, 0, 3},
      {11, 0, 1023},
      {13, 0, 15},
      {14, 0, 15},
      {15, 0, 15},
      {16, 0, 255},
      {17, 0, 15},
      {18, 0, 4},
      {19, 0, 255},
      {20, 0, 7},
      {23, 0, 100},
      {24, 0, 100}}},
    {"Seawolf binary register",
     "SeawolfSenseController",
     {1, 40, 60},
     &readRegister<1>,
     {{1, 0, 100},
      {2, 0, 100},
      {3, 0, 100},
      {4, 0, 7},
      {5, 0, 127},
      {6, 0, 3},
      {7, 0, 60},
      {8, 0, 1},
      {9, 0, 2},
      {10, 0, 4},
      {11, 0, 7},
      {12, 0, 5},
      {13, 0, 1}}},
    {"Effio binary register",
     "EffioSenseController",
     {1, 40, 60},
     &readRegister<1>,
     {{1, 0, 100},
      {2, 0, 100},
      {3, 0, 1023},
      {4, 0, 4},
      {5, 0, 1023},
      {6, 0, 3},
      {7, 0, 1},
      {8, 0, 63},
      {9, 0, 9},
      {10, 0, 3},
      {12, 0, 255},
      {13, 0, 2},
      {14, 0, 15},
      {15, 0, 3},
      {16, 0, 3}}},
};

} // namespace

const std::vector<Family>& families() {
    return kFamilies;
}

void changedTexts(const Family& family, std::string& a, std::string& b, int& ids) {
    std::vector<Setting> settings = family.changedSet;
    if (settings.empty()) {
        // The zoom dome: every common id below the scheme window's.
        const ParameterNames names(AmbaS2FBS8300SenseController::kSensorType);
        for (const ParameterNames::Entry& e : names.entries()) {
            if (e.category == "common" && e.id < 500)
                settings.push_back({e.id, e.min, e.max});
        }
    }
    a.clear();
    b.clear();
    for (const Setting& s : settings) {
        a += "(" + std::to_string(s.id) + "," + std::to_string(s.a) + ")";
        b += "(" + std::to_string(s.id) + "," + std::to_string(s.b) + ")";
    }
    ids = static_cast<int>(settings.size());
}

} // namespace kvbench
