// Reader of the UI language list "/hd1/moduleConfig/sensorConfig/SensorLanguageConfig.xml".
#pragma once

#include "platform/SensorLanguageConfig.h"

#include <string>
#include <vector>

// The language list names the UI languages whose texts are loaded:
//
//   <languages>
//       <language id="1" folder="english"/>
//       <language id="2" folder="chinese"/>
//   </languages>
//
// Each "language" element needs a decimal id, unique in the list, and a
// folder: a single non-empty path component (no "/", not "." or ".."), since
// it is joined into file paths. Other attributes are ignored; any other
// element, a bad or repeated id, a bad folder or malformed XML fails the
// whole list with a one-line message naming the file and the reason.
class SensorLanguageConfigParser {
public:
    static constexpr const char* DefaultPath =
        "/hd1/moduleConfig/sensorConfig/SensorLanguageConfig.xml";

    // Parses the file at the device path `path`. On success replaces
    // `languages` with the records in file order and returns 1; on failure
    // returns 0 and leaves `languages` unchanged.
    static int parse(const std::string& path, std::vector<SensorLanguageConfig>& languages);

    // Parses DefaultPath.
    static int parse(std::vector<SensorLanguageConfig>& languages);

    // Parses XML text already in memory; `origin` names it in failure messages.
    static int parseText(const std::string& text, std::vector<SensorLanguageConfig>& languages,
                         const std::string& origin = "SensorLanguageConfig.xml");
};
