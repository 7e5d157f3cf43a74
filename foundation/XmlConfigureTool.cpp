// Reads, edits and writes configuration XML documents.
#include "foundation/XmlConfigureTool.h"

#include "platform/ConfigFileText.h"
#include "platform/KVFile.h"
#include "platform/XmlText.h"

#include <tinyxml.h>

#include <cstdio>

namespace {

int fail(const std::string& path, const std::string& reason) {
    std::fprintf(stderr, "XmlConfigureTool: %s: %s\n", path.c_str(), reason.c_str());
    return 0;
}

std::string atLine(const TiXmlElement& element) {
    return " at line " + std::to_string(element.Row());
}

// Copies the attributes of `element` into the properties of a node or item.
template <class Target>
int readAttributes(const TiXmlElement& element, Target& target, std::string& error) {
    for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next()) {
        if (target.setProperty(attribute->NameTStr(), attribute->ValueStr()) == 0) {
            error = "bad attribute name \"" + attribute->NameTStr() + "\"" + atLine(element);
            return 0;
        }
    }
    return 1;
}

// Builds `node` from `element`: attributes, "item" children, other children
// as child nodes. Element nesting is bounded by the parser's depth limit.
int readNode(const TiXmlElement& element, XmlConfigureNode& node, int context, std::string& error) {
    if (readAttributes(element, node, error) == 0)
        return 0;
    for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (child->ValueStr() == "item") {
            if (child->FirstChildElement() != nullptr) {
                error = "item element with child elements" + atLine(*child);
                return 0;
            }
            XmlConfigureItem item(context);
            if (readAttributes(*child, item, error) == 0)
                return 0;
            node.addConfigItem(item);
            continue;
        }
        XmlConfigureNode childNode(child->ValueStr(), context);
        if (node.addChildNode(childNode) == 0) {
            error = "bad element name \"" + child->ValueStr() + "\"" + atLine(*child);
            return 0;
        }
        if (readNode(*child, childNode, context, error) == 0)
            return 0;
    }
    return 1;
}

// Appends `value` as the text of a double-quoted attribute value: markup
// characters as entities, control characters as character references, every
// other byte as it stands (the document keeps its encoding).
void appendEscaped(std::string& out, const std::string& value) {
    for (const char c : value) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char ref[8];
                std::snprintf(ref, sizeof ref, "&#x%02X;", static_cast<unsigned char>(c));
                out += ref;
            } else {
                out += c;
            }
        }
    }
}

template <class Source>
void appendAttributes(std::string& out, const Source& source) {
    std::vector<std::string> names;
    source.getPropertyNames(names);
    for (const auto& name : names) {
        std::string value;
        source.getProperty(name, value);
        out += ' ' + name + "=\"";
        appendEscaped(out, value);
        out += '"';
    }
}

// Renders `node` at `depth` (four blanks a level): items first, then child
// nodes; an element with neither is closed in its start tag.
int renderNode(std::string& out, const XmlConfigureNode& node, int depth) {
    if (depth >= kvconfig::MaxXmlDepth)
        return 0;
    const std::string indent(4 * static_cast<std::size_t>(depth), ' ');
    out += indent + '<' + node.getName();
    appendAttributes(out, node);
    std::vector<SafePointer<XmlConfigureItem>> items;
    node.getItemList(items);
    std::vector<SafePointer<XmlConfigureNode>> children;
    node.getChildNodeList(children);
    if (items.empty() && children.empty()) {
        out += " />\n";
        return 1;
    }
    out += ">\n";
    for (const auto& item : items) {
        out += indent + "    <item";
        appendAttributes(out, *item);
        out += " />\n";
    }
    for (const auto& child : children) {
        if (renderNode(out, *child, depth + 1) == 0)
            return 0;
    }
    out += indent + "</" + node.getName() + ">\n";
    return 1;
}

int renderDocument(const XmlConfigureNode& root, const std::string& encoding, std::string& text) {
    std::string out = "<?xml version=\"1.0\" encoding=\"" + encoding + "\" ?>\n";
    if (renderNode(out, root, 0) == 0)
        return 0;
    text.swap(out);
    return 1;
}

// True when `text` reads back into a tree that renders to the same text, that
// is, into the tree it was rendered from.
bool readsBack(const std::string& text, std::string& error) {
    TiXmlDocument doc;
    std::string encoding;
    if (kvconfig::parseXmlDocument(text, doc, error, &encoding) == 0)
        return false;
    XmlConfigureNode again(doc.RootElement()->ValueStr(), 0);
    std::string text2;
    if (readNode(*doc.RootElement(), again, 0, error) == 0 ||
        renderDocument(again, encoding, text2) == 0 || text2 != text) {
        if (error.empty())
            error = "values change when read back";
        return false;
    }
    return true;
}

bool isRootName(const std::string& name) {
    return XmlConfigureItem::isValidName(name) && name != "item";
}

} // namespace

XmlConfigureTool::XmlConfigureTool() = default;

XmlConfigureTool::~XmlConfigureTool() {
    close();
}

int XmlConfigureTool::open(const std::string& path, int context, int mode) {
    close();
    if (mode != ModeRead && mode != ModeModify && mode != ModeCreate)
        return fail(path, "unknown open mode " + std::to_string(mode));
    if (mode == ModeCreate) {
        if (!isRootName(m_strRootName))
            return fail(path, "no valid root node name set for a new document");
        m_objRoot = XmlConfigureNode(m_strRootName, context);
        m_strEncoding = "UTF-8";
    } else if (load(path, context) == 0) {
        return 0;
    }
    m_strPath = path;
    m_nMode = mode;
    return 1;
}

int XmlConfigureTool::load(const std::string& path, int context) {
    std::string text;
    std::string error;
    if (kvconfig::readWholeFile(path, text, error) == 0)
        return fail(path, error);
    TiXmlDocument doc;
    std::string encoding;
    if (kvconfig::parseXmlDocument(text, doc, error, &encoding) == 0)
        return fail(path, error);
    const TiXmlElement* rootElement = doc.RootElement();
    XmlConfigureNode root(rootElement->ValueStr(), context);
    if (readNode(*rootElement, root, context, error) == 0)
        return fail(path, error);
    m_objRoot = root;
    m_strEncoding = encoding;
    return 1;
}

int XmlConfigureTool::close() {
    if (m_nMode == 0)
        return 1;
    int result = 1;
    if (m_nMode == ModeModify || m_nMode == ModeCreate) {
        std::string text;
        KVFile file;
        std::string error;
        if (renderDocument(m_objRoot, m_strEncoding, text) == 0) {
            result = fail(m_strPath, "cannot render the document");
        } else if (!readsBack(text, error)) {
            result = fail(m_strPath, "not written, it would not read back: " + error);
        } else if (file.open(m_strPath, KVFile::ModeReplace) == 0 ||
                   file.write(text.data(), static_cast<int>(text.size())) !=
                       static_cast<int>(text.size()) ||
                   file.close() == 0) {
            result = fail(m_strPath, "write failed");
        }
    }
    // Dropping the root detaches the nodes callers still hold.
    m_objRoot = XmlConfigureNode();
    m_strPath.clear();
    m_nMode = 0;
    return result;
}

void XmlConfigureTool::setRootNodeName(const std::string& name) {
    if (!isRootName(name)) {
        fail(m_strPath, "invalid root node name \"" + name + "\"");
        return;
    }
    m_strRootName = name;
    if (isOpen())
        m_objRoot.setName(name);
}

std::string XmlConfigureTool::getRootNodeName() const {
    return isOpen() ? m_objRoot.getName() : m_strRootName;
}

int XmlConfigureTool::getConfigNode(const std::string& name, XmlConfigureNode& node) {
    return isOpen() ? m_objRoot.getChildNode(name, node) : 0;
}

int XmlConfigureTool::getConfigNode(const std::string& name, SafePointer<XmlConfigureNode>& node) {
    return isOpen() ? m_objRoot.getChildNode(name, node) : 0;
}

int XmlConfigureTool::addConfigNode(const XmlConfigureNode& node) {
    return isOpen() ? m_objRoot.addChildNode(node) : 0;
}

int XmlConfigureTool::addConfigNode(const SafePointer<XmlConfigureNode>& node) {
    return isOpen() ? m_objRoot.addChildNode(node) : 0;
}

int XmlConfigureTool::removeConfigNode(const std::string& name) {
    return isOpen() ? m_objRoot.removeChildNode(name) : 0;
}

int XmlConfigureTool::getConfigNodeList(std::vector<SafePointer<XmlConfigureNode>>& list) {
    if (!isOpen())
        return 0;
    return m_objRoot.getChildNodeList(list);
}

int XmlConfigureTool::getDocumentText(std::string& text) const {
    if (!isOpen())
        return 0;
    return renderDocument(m_objRoot, m_strEncoding, text);
}
