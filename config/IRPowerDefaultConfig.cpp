// IR power table file.
#include "config/IRPowerDefaultConfig.h"

#include "platform/DiskManager.h"

#include <vector>

const char* const IRPowerDefaultConfig::FilePath = "/hd1/program/config/IRPowerConfigure.xml";

namespace {

// Gives `node` one item carrying `version`; 0 when the property could not be
// set.
int makeVersionNode(int context, int version, XmlConfigureNode& node) {
    XmlConfigureItem item(context);
    const int result = item.setProperty("version", version);
    node.addConfigItem(item);
    return result;
}

} // namespace

int IRPowerDefaultConfig::open(int context, const std::string& path, int mode) {
    if (DiskManager::isFileExist(path, context) != 0)
        return m_objTool.open(path, context, mode);
    if (mode == XmlConfigureTool::ModeRead)
        return 0;
    m_objTool.setRootNodeName("IRConfig");
    if (m_objTool.open(path, context, XmlConfigureTool::ModeCreate) == 0)
        return 0;
    XmlConfigureNode node("version", context);
    if (makeVersionNode(context, m_nVersion, node) == 0)
        return 0;
    m_objTool.addConfigNode(node);
    m_bVersionKnown = true;
    return 1;
}

int IRPowerDefaultConfig::close() {
    return m_objTool.close();
}

int IRPowerDefaultConfig::getVersion(int context, const std::string& path, int& version) {
    if (m_bVersionKnown) {
        version = m_nVersion;
        return 0;
    }
    if (open(context, path, XmlConfigureTool::ModeRead) == 0)
        return -4;
    int result = 0;
    XmlConfigureNode node;
    std::vector<SafePointer<XmlConfigureItem>> items;
    if (m_objTool.getConfigNode("version", node) == 0)
        result = -1;
    else if (node.getItemList(items) == 0 || items.empty())
        result = -2;
    else if (items.front()->getProperty("version", m_nVersion) == 0)
        result = -3;
    if (result == 0) {
        m_bVersionKnown = true;
        version = m_nVersion;
    }
    close();
    return result;
}

int IRPowerDefaultConfig::setVersion(int context, const std::string& path, int version) {
    if (m_bVersionKnown && m_nVersion == version)
        return 0;
    if (open(context, path, XmlConfigureTool::ModeModify) == 0)
        return -4;
    m_objTool.removeConfigNode("version");
    XmlConfigureNode node("version", context);
    const int set = makeVersionNode(context, version, node);
    m_objTool.addConfigNode(node);
    m_nVersion = version;
    m_bVersionKnown = true;
    close();
    return set != 0 ? 0 : -3;
}

int IRPowerDefaultConfig::load(int context, const std::string& path, IRPowerParamV2& param) {
    if (open(context, path, XmlConfigureTool::ModeRead) == 0)
        return -4;
    XmlConfigureNode node;
    if (m_objTool.getConfigNode("IRPower", node) == 0) {
        close();
        return -1;
    }
    std::vector<SafePointer<XmlConfigureItem>> items;
    if (node.getItemList(items) == 0) {
        close();
        return -2;
    }
    std::vector<IRPowerItem> rows;
    for (const auto& item : items) {
        int zoomUp = 0, far = 0, mid = 0, near = 0;
        if (item->getProperty("zoomup", zoomUp) == 0 || item->getProperty("far", far) == 0 ||
            item->getProperty("mid", mid) == 0 || item->getProperty("near", near) == 0) {
            close();
            return -3;
        }
        rows.emplace_back(zoomUp, far, mid, near);
    }
    param.setIrPower(rows);
    close();
    return 0;
}
