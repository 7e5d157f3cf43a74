// ISP tuning file reader.
#include "config/ISPParamParse.h"

#include "foundation/XmlConfigureTool.h"

#include <cstdio>
#include <vector>

const char* const ISPParamParse::FilePath = "/hd1/program/config/ISPParam.xml";

int ISPParamParse::parse() {
    XmlConfigureTool tool;
    if (tool.open(FilePath, 1, XmlConfigureTool::ModeRead) == 0) {
        // The message names the sensor file; it has always read so.
        std::printf("open %s failed\n", "sensor.xml");
        return 0;
    }
    // Whatever the file lacks is simply not there: a file without "config"
    // holds no tables, a group without a readable "enable" is disabled, a
    // band without limits covers no level (0..0), an item without a name or a
    // numeric value is stored as "" or 0. Only a refused set fails the parse.
    XmlConfigureNode config;
    if (tool.getConfigNode("config", config) == 0) {
        tool.close();
        return 1;
    }
    config.getProperty("time", m_nDelayTime);
    config.getProperty("realTimeUpdate", m_bRealTimeUpdate);

    std::vector<SafePointer<XmlConfigureNode>> groups;
    config.getChildNodeList(groups);
    for (const auto& groupNode : groups) {
        const std::string group = groupNode->getName();
        bool enabled = false;
        groupNode->getProperty("enable", enabled);
        m_objISPParam.setEnableFlag(group, enabled);

        std::vector<SafePointer<XmlConfigureNode>> bands;
        groupNode->getChildNodeList(bands);
        for (const auto& bandNode : bands) {
            const std::string band = bandNode->getName();
            int min = 0, max = 0;
            bandNode->getProperty("min", min);
            bandNode->getProperty("max", max);

            std::vector<SafePointer<XmlConfigureItem>> items;
            bandNode->getItemList(items);
            for (const auto& item : items) {
                std::string name;
                int value = 0;
                item->getProperty("name", name);
                item->getProperty("value", value);
                if (m_objISPParam.setParam(group, band, min, max, name, value) == 0) {
                    std::printf("m_objISPParam.setParam:%s,%s,%d,%d,%s,%d \n", group.c_str(),
                                band.c_str(), min, max, name.c_str(), value);
                    return 0;
                }
            }
        }
    }
    tool.close();
    return 1;
}

void ISPParamParse::getISPParam(ISPParam& out) const {
    if (&out != &m_objISPParam)
        out = m_objISPParam;
}
