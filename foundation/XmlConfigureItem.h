// One item of a configuration node: a set of named properties (an XML "item" element).
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

class XmlConfigureNode;

// An item is a row of named values inside a configuration node, such as one
// "name"/"value" pair of the sensor XML file or one zoom row of the IR power
// table. It is written as an element "item" whose attributes are the
// properties, in the order they were first set.
//
// XmlConfigureItem is a handle: copies refer to the same item, so an item
// taken from a node's item list and changed is changed in the document. An
// item belongs to at most one node. Not thread-safe; a document and its
// nodes and items belong to one thread at a time.
class XmlConfigureItem {
public:
    // `context` is carried for the callers' bookkeeping and not interpreted.
    explicit XmlConfigureItem(int context = 1);

    int getContext() const;

    // Reads a property; 1 on success, 0 (and `value` untouched) when the
    // property is missing or, for int, not a signed decimal 32-bit integer,
    // or, for bool, not "true", "false", "1" or "0". Blanks around numbers
    // and flags are ignored.
    int getProperty(const std::string& name, int& value) const;
    int getProperty(const std::string& name, bool& value) const;
    int getProperty(const std::string& name, std::string& value) const;

    // Sets or replaces a property; ints are written in decimal, bools as
    // "true"/"false". 0 when the name is not a valid XML name or the text
    // holds a NUL character.
    int setProperty(const std::string& name, int value);
    int setProperty(const std::string& name, bool value);
    int setProperty(const std::string& name, const std::string& value);
    // Keeps a string literal from being taken as a bool.
    int setProperty(const std::string& name, const char* value);

    // 1 if the property was present and is now removed.
    int removeProperty(const std::string& name);

    // Replaces `names` with the property names in order; always 1.
    int getPropertyNames(std::vector<std::string>& names) const;

    // True when both handles refer to the same item.
    bool isSameItem(const XmlConfigureItem& other) const { return m_pData == other.m_pData; }

    // XML names: a letter, "_" or ":" (or any non-ASCII byte), then also
    // digits, "-" and ".".
    static bool isValidName(const std::string& name);

private:
    friend class XmlConfigureNode;

    struct Data {
        int context = 1;
        bool attached = false; // held by a node
        std::vector<std::pair<std::string, std::string>> properties;
    };

    std::shared_ptr<Data> m_pData;
};
