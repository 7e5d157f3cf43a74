// Reads the ISP tuning tables from "/hd1/program/config/ISPParam.xml".
#pragma once

#include "config/ISPParam.h"

// File layout (through the XML configuration tool):
//   <ISPParam>
//     <config time="1" realTimeUpdate="false">       global settings
//       <EE enable="true">                            one node per group
//         <low min="0" max="16">                      one node per band
//           <item name="strength" value="3"/>         one item per value
// See docs/config-files.md.
class ISPParamParse {
public:
    static const char* const FilePath;

    ISPParamParse() = default;

    // Reads the file; 1 on success. On failure what was read so far stays and
    // the settings keep their defaults unless the file set them.
    int parse();
    // Copies the parsed groups and enable flags into `out`.
    void getISPParam(ISPParam& out) const;
    int getDelayTime() const { return m_nDelayTime; }
    bool getRealTimeUpdate() const { return m_bRealTimeUpdate; }

private:
    ISPParam m_objISPParam;
    int m_nDelayTime = 1;
    bool m_bRealTimeUpdate = false;
};
