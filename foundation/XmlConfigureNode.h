// A configuration node: a named element with properties, items and child nodes.
#pragma once

#include "foundation/SafePointer.h"
#include "foundation/XmlConfigureItem.h"

#include <memory>
#include <string>
#include <vector>

// Configuration documents are trees of named nodes ("paramScheme",
// "IRPower", an ISP group and its bands). A node has properties (written as
// the element's attributes), an ordered list of items (child elements
// "item") and an ordered list of child nodes (child elements named by the
// node). Items are written before child nodes.
//
// XmlConfigureNode is a handle: copies refer to the same node, so a node
// obtained from a document (by reference or inside a SafePointer) and
// changed is changed in the document, whichever way it was obtained. A node
// belongs to at most one parent, and adding a node under itself or under one
// of its descendants is refused, so the tree stays a tree. The name "item"
// is reserved for items. Not thread-safe.
class XmlConfigureNode {
public:
    // A detached node without a name (a target to be filled by getChildNode
    // or XmlConfigureTool::getConfigNode).
    XmlConfigureNode();
    // `context` is carried for the callers' bookkeeping and not interpreted.
    XmlConfigureNode(const std::string& name, int context);

    std::string getName() const;
    // Renames the node; 0 (name unchanged) for an invalid or reserved name.
    int setName(const std::string& name);
    int getContext() const;

    // Replaces `list` with handles to the child nodes in order; always 1.
    int getChildNodeList(std::vector<SafePointer<XmlConfigureNode>>& list) const;
    // Makes `node` refer to the first child named `name`; 0 if there is none.
    int getChildNode(const std::string& name, XmlConfigureNode& node) const;
    int getChildNode(const std::string& name, SafePointer<XmlConfigureNode>& node) const;
    // Appends `node` (the node itself, not a copy). 0 when its name is
    // invalid or "item", when it already has a parent, or when it is this
    // node or one of its ancestors.
    int addChildNode(const XmlConfigureNode& node);
    int addChildNode(const SafePointer<XmlConfigureNode>& node);
    // Detaches every child named `name`; 1 if at least one was removed.
    int removeChildNode(const std::string& name);

    // Replaces `list` with handles to the items in order; always 1.
    int getItemList(std::vector<SafePointer<XmlConfigureItem>>& list) const;
    // Appends `item` (the item itself, not a copy); 0 if it already belongs
    // to a node.
    int addConfigItem(const XmlConfigureItem& item);
    int addConfigItem(const SafePointer<XmlConfigureItem>& item);
    // Detaches every item; always 1.
    int clearConfigItems();

    // The node's own properties; same rules as XmlConfigureItem.
    int getProperty(const std::string& name, int& value) const;
    int getProperty(const std::string& name, bool& value) const;
    int getProperty(const std::string& name, std::string& value) const;
    int setProperty(const std::string& name, int value);
    int setProperty(const std::string& name, bool value);
    int setProperty(const std::string& name, const std::string& value);
    int setProperty(const std::string& name, const char* value);
    int removeProperty(const std::string& name);
    int getPropertyNames(std::vector<std::string>& names) const;

    // True when both handles refer to the same node.
    bool isSameNode(const XmlConfigureNode& other) const { return m_pData == other.m_pData; }

private:
    struct Data;

    std::shared_ptr<Data> m_pData;
};
