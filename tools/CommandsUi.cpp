// The web interface's XML texts in sensorctl's interpreter.
#include "config/SensorFile.h"
#include "tools/Commands.h"

namespace {

const char* const kUiUsage = "usage: ui style|init|common LANGUAGE|language LANGUAGE";

} // namespace

// What the host hands the web interface, read from the unit's files under
// the root (module record, sensorConfig tree) as the camera reads them:
// independent of the controller, so it works before init and for any module.
bool Commands::cmdUi(const std::vector<std::string>& words, std::string& out) {
    const std::string what = words.size() >= 2 ? words[1] : "";
    const bool perLanguage = what == "common" || what == "language";
    int language = 0;
    if ((perLanguage && (words.size() != 3 || !parseInt(words[2], language))) ||
        (!perLanguage && (words.size() != 2 || (what != "style" && what != "init")))) {
        out = kUiUsage;
        return false;
    }
    SensorFile file;
    if (file.init("", "") == 0) {
        out = "the unit's UI files did not load (see the lines above)";
        return false;
    }
    if (what == "style")
        out = file.getUIStyleConfig();
    else if (what == "init")
        out = file.getUISensorConfig_V1();
    else if (what == "common")
        out = file.getUICommonConfig(language);
    else
        out = file.getUILanguageConfig(language);
    // A text ends with its own line end; the result line adds one.
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
        out.pop_back();
    if (out.empty()) {
        out = "no " + what + " text for language " + std::to_string(language);
        return false;
    }
    return true;
}
