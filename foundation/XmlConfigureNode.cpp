// A configuration node: a named element with properties, items and child nodes.
#include "foundation/XmlConfigureNode.h"

struct XmlConfigureNode::Data {
    std::string name;
    int context = 1;
    XmlConfigureItem properties;
    std::vector<XmlConfigureNode> children;
    std::vector<XmlConfigureItem> items;
    std::weak_ptr<Data> parent;
    bool attached = false; // held by a parent node

    ~Data() {
        // Children and items that outlive this node (held by a caller) become
        // free to be added elsewhere.
        for (auto& child : children)
            child.m_pData->attached = false;
        for (auto& item : items)
            item.m_pData->attached = false;
    }
};

namespace {

bool isNodeName(const std::string& name) {
    return XmlConfigureItem::isValidName(name) && name != "item";
}

} // namespace

XmlConfigureNode::XmlConfigureNode() : m_pData(std::make_shared<Data>()) {}

XmlConfigureNode::XmlConfigureNode(const std::string& name, int context)
    : m_pData(std::make_shared<Data>()) {
    m_pData->name = name;
    m_pData->context = context;
    m_pData->properties = XmlConfigureItem(context);
}

std::string XmlConfigureNode::getName() const {
    return m_pData->name;
}

int XmlConfigureNode::setName(const std::string& name) {
    if (!isNodeName(name))
        return 0;
    m_pData->name = name;
    return 1;
}

int XmlConfigureNode::getContext() const {
    return m_pData->context;
}

int XmlConfigureNode::getChildNodeList(std::vector<SafePointer<XmlConfigureNode>>& list) const {
    list.clear();
    for (const auto& child : m_pData->children)
        list.emplace_back(new XmlConfigureNode(child));
    return 1;
}

int XmlConfigureNode::getChildNode(const std::string& name, XmlConfigureNode& node) const {
    for (const auto& child : m_pData->children) {
        if (child.m_pData->name == name) {
            node = child;
            return 1;
        }
    }
    return 0;
}

int XmlConfigureNode::getChildNode(const std::string& name,
                                   SafePointer<XmlConfigureNode>& node) const {
    XmlConfigureNode found;
    if (getChildNode(name, found) == 0)
        return 0;
    node = SafePointer<XmlConfigureNode>(new XmlConfigureNode(found));
    return 1;
}

int XmlConfigureNode::addChildNode(const XmlConfigureNode& node) {
    if (node.m_pData->attached || !isNodeName(node.m_pData->name))
        return 0;
    for (std::shared_ptr<Data> up = m_pData; up; up = up->parent.lock()) {
        if (up == node.m_pData)
            return 0;
    }
    node.m_pData->attached = true;
    node.m_pData->parent = m_pData;
    m_pData->children.push_back(node);
    return 1;
}

int XmlConfigureNode::addChildNode(const SafePointer<XmlConfigureNode>& node) {
    return addChildNode(*node);
}

int XmlConfigureNode::removeChildNode(const std::string& name) {
    auto& children = m_pData->children;
    int removed = 0;
    for (auto it = children.begin(); it != children.end();) {
        if (it->m_pData->name == name) {
            it->m_pData->attached = false;
            it->m_pData->parent.reset();
            it = children.erase(it);
            removed = 1;
        } else {
            ++it;
        }
    }
    return removed;
}

int XmlConfigureNode::getItemList(std::vector<SafePointer<XmlConfigureItem>>& list) const {
    list.clear();
    for (const auto& item : m_pData->items)
        list.emplace_back(new XmlConfigureItem(item));
    return 1;
}

int XmlConfigureNode::addConfigItem(const XmlConfigureItem& item) {
    if (item.m_pData->attached)
        return 0;
    item.m_pData->attached = true;
    m_pData->items.push_back(item);
    return 1;
}

int XmlConfigureNode::addConfigItem(const SafePointer<XmlConfigureItem>& item) {
    return addConfigItem(*item);
}

int XmlConfigureNode::clearConfigItems() {
    for (auto& item : m_pData->items)
        item.m_pData->attached = false;
    m_pData->items.clear();
    return 1;
}

int XmlConfigureNode::getProperty(const std::string& name, int& value) const {
    return m_pData->properties.getProperty(name, value);
}

int XmlConfigureNode::getProperty(const std::string& name, bool& value) const {
    return m_pData->properties.getProperty(name, value);
}

int XmlConfigureNode::getProperty(const std::string& name, std::string& value) const {
    return m_pData->properties.getProperty(name, value);
}

int XmlConfigureNode::setProperty(const std::string& name, int value) {
    return m_pData->properties.setProperty(name, value);
}

int XmlConfigureNode::setProperty(const std::string& name, bool value) {
    return m_pData->properties.setProperty(name, value);
}

int XmlConfigureNode::setProperty(const std::string& name, const std::string& value) {
    return m_pData->properties.setProperty(name, value);
}

int XmlConfigureNode::setProperty(const std::string& name, const char* value) {
    return m_pData->properties.setProperty(name, value);
}

int XmlConfigureNode::removeProperty(const std::string& name) {
    return m_pData->properties.removeProperty(name);
}

int XmlConfigureNode::getPropertyNames(std::vector<std::string>& names) const {
    return m_pData->properties.getPropertyNames(names);
}
