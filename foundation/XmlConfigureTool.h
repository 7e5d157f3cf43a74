// Reads, edits and writes configuration XML documents as trees of nodes, items and properties.
#pragma once

#include "foundation/SafePointer.h"
#include "foundation/XmlConfigureItem.h"
#include "foundation/XmlConfigureNode.h"

#include <string>
#include <vector>

// The sensor XML file, the ISP tuning tables and the IR power table are small
// XML documents with one shape: a root element whose child elements are
// configuration nodes; a node's attributes are its properties, its child
// elements named "item" are its items (attributes only) and its other child
// elements are child nodes, to any depth:
//
//   <sensor>
//       <paramScheme>
//           <item name="SchemeIndex" value="0" />
//       </paramScheme>
//   </sensor>
//
// open() loads the whole document into XmlConfigureNode/XmlConfigureItem
// objects; every change goes to those objects; close() renders them (items
// before child nodes, four-blank indent) and replaces the file atomically.
// Comments and element text are not kept when a document is rewritten.
//
// Reading goes through kvconfig::parseXmlDocument (strict, bounded, nesting at
// most kvconfig::MaxXmlDepth). A rewrite keeps the encoding the document
// declared (the bytes of a value are written back as they were read), escapes
// every markup and control character, and is checked by reading it back
// before the file is replaced: a document that could not be read again, or
// would read back other values, is not written and close() fails.
//
// Lifetime: nodes and items obtained from the tool stay valid (they are
// reference counted) but are detached from the file once it is closed;
// changes made through them after close() are not written anywhere.
// Not thread-safe: one tool and its nodes belong to one thread at a time.
class XmlConfigureTool {
public:
    static constexpr int ModeRead = 1;   // file must exist and parse; never written
    static constexpr int ModeModify = 2; // as ModeRead; changes written at close()
    static constexpr int ModeCreate = 3; // empty document named by setRootNodeName

    XmlConfigureTool();
    // Closes the document, writing it in ModeModify and ModeCreate.
    ~XmlConfigureTool();
    XmlConfigureTool(const XmlConfigureTool&) = delete;
    XmlConfigureTool& operator=(const XmlConfigureTool&) = delete;

    // Opens the document at the device path `path`; a document still open is
    // closed first. 1 on success; 0 for an unknown mode, a missing, oversized
    // or malformed file (ModeRead, ModeModify) or a missing or invalid root
    // name (ModeCreate). Nothing is created or written by open() itself.
    // `context` is carried into the nodes and items read and not interpreted.
    int open(const std::string& path, int context, int mode);

    // Ends the use of the document: in ModeModify and ModeCreate writes it
    // (the file is replaced whole, or left as it was if writing fails).
    // 1 on success or when nothing was open; 0 when writing failed.
    int close();

    bool isOpen() const { return m_nMode != 0; }
    int getMode() const { return m_nMode; }

    // The root element name: used by ModeCreate; while a document is open,
    // renames its root. Invalid names are refused with a message.
    void setRootNodeName(const std::string& name);
    // The open document's root name, else the name last set.
    std::string getRootNodeName() const;

    // Makes `node` refer to the first top-level node named `name` (the node
    // itself, so changes reach the document). 0 when none or nothing is open.
    int getConfigNode(const std::string& name, XmlConfigureNode& node);
    int getConfigNode(const std::string& name, SafePointer<XmlConfigureNode>& node);
    // Appends a top-level node; 0 when nothing is open or the node cannot be
    // added (see XmlConfigureNode::addChildNode).
    int addConfigNode(const XmlConfigureNode& node);
    int addConfigNode(const SafePointer<XmlConfigureNode>& node);
    // Removes every top-level node named `name`; 1 if at least one was removed.
    int removeConfigNode(const std::string& name);
    // Replaces `list` with the top-level nodes in order; 0 when nothing is open.
    int getConfigNodeList(std::vector<SafePointer<XmlConfigureNode>>& list);

    // Renders the open document as it would be written; 0 when nothing is open.
    int getDocumentText(std::string& text) const;

private:
    int load(const std::string& path, int context);

    std::string m_strPath;
    std::string m_strRootName;
    std::string m_strEncoding = "UTF-8"; // as declared by the document read
    int m_nMode = 0; // 0 when nothing is open
    XmlConfigureNode m_objRoot;
};
