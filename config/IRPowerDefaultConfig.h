// The IR LED power table by zoom position and its version stamp, from
// "/hd1/program/config/IRPowerConfigure.xml".
#pragma once

#include "foundation/XmlConfigureTool.h"
#include "platform/IRPowerParamV2.h"

#include <string>

// File layout (through the XML configuration tool):
//   <IRConfig>
//     <version><item version="3"/></version>
//     <IRPower>
//       <item zoomup="4000" far="10" mid="30" near="60"/>   one row per zoom range
// The table is provisioned with the file; this class only writes the version.
// Results of getVersion, setVersion and load: 0 success, -1 node missing,
// -2 item list missing (or empty, for the version), -3 a property could not be
// read or set, -4 the file could not be opened.
class IRPowerDefaultConfig {
public:
    static const char* const FilePath;

    IRPowerDefaultConfig() = default;

    // Mode 1 reads (a missing file fails), mode 2 modifies (a missing file is
    // created with the current version). Non-zero on success.
    int open(int context, const std::string& path, int mode);
    // Closes the tool, writing back what was changed.
    int close();

    int getVersion(int context, const std::string& path, int& version);
    int setVersion(int context, const std::string& path, int version);
    int load(int context, const std::string& path, IRPowerParamV2& param);

private:
    int m_nVersion = 1;
    XmlConfigureTool m_objTool;
    bool m_bVersionKnown = false;
};
