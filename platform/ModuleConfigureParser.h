// Reader of the module configuration file "/hd1/moduleConfig/moduleConfig.xml".
#pragma once

#include "platform/ModuleConfigure.h"

#include <string>
#include <vector>

// The module configuration file lists the camera modules a unit may carry,
// one record each:
//
//   <moduleConfig>
//       <module id="82" detail="RS485=/dev/ttyS1;isInfrared=1" parameters="RS485=9600,8,0,1"/>
//   </moduleConfig>
//
// Every "module" element needs all three attributes; the id is a signed
// decimal integer. Other attributes are ignored; any other element, a missing
// attribute, a bad id or malformed XML makes the whole file fail (a partial
// module list would pick the wrong controller). Failures print one line
// naming the file and the reason.
class ModuleConfigureParser {
public:
    static constexpr const char* DefaultPath = "/hd1/moduleConfig/moduleConfig.xml";

    // Parses the file at the device path `path` (resolved under the platform
    // root). On success replaces `modules` with the records in file order and
    // returns 1; on failure returns 0 and leaves `modules` unchanged.
    static int parse(const std::string& path, std::vector<ModuleConfigure>& modules);

    // Parses DefaultPath.
    static int parse(std::vector<ModuleConfigure>& modules);

    // Parses XML text already in memory; `origin` names it in failure messages.
    static int parseText(const std::string& text, std::vector<ModuleConfigure>& modules,
                         const std::string& origin = "moduleConfig.xml");
};
