// Merging the UI style document with its per-module variations.
#include "config/MergedXml.h"

#include "platform/ConfigFileText.h"
#include "platform/ModuleParameterParser.h"
#include "platform/XmlText.h"

#include <tinyxml.h>

#include <cstdio>
#include <set>
#include <utility>
#include <vector>

namespace {

// The key of an element: its first attribute's value as a decimal number. An
// element without attributes, or whose first value is no number, has none.
bool keyOf(const TiXmlElement& element, int& key) {
    const TiXmlAttribute* first = element.FirstAttribute();
    return first != nullptr && kvconfig::parseDecimalInt(first->ValueStr(), key) != 0;
}

// The key of a variation element the merge has to go by. A variation file is
// written for the module by hand: a key that is not a number is a mistake in
// it, and merging round it would give the module a UI it was not meant to have.
bool needKey(const TiXmlElement& element, int& key) {
    if (keyOf(element, key))
        return true;
    std::printf("mergeStyleXml key of <%s> at line %d is not a number\n", element.Value(),
                element.Row());
    return false;
}

// The comma-separated values a condition accepts, compared as they stand.
std::set<std::string> acceptedValues(const std::string& list) {
    std::set<std::string> values;
    std::string::size_type from = 0;
    for (;;) {
        const std::string::size_type comma = list.find(',', from);
        values.insert(list.substr(from, comma - from));
        if (comma == std::string::npos)
            break;
        from = comma + 1;
    }
    return values;
}

// Reads a whole style file; 0 after a message.
int readStyleFile(const std::string& path, std::string& text) {
    std::string error;
    kvconfig::FileReadInfo info;
    if (kvconfig::readWholeFile(path, text, error, kvconfig::MaxConfigFileBytes, &info) != 0)
        return 1;
    if (!info.opened)
        std::puts("mergeStyleXml file open failed ");
    else if (info.length > kvconfig::MaxConfigFileBytes)
        std::printf("mergeStyleXml file %s is too large (%lld bytes)\n", path.c_str(), info.length);
    else
        std::printf("mergeStyleXml read %s failed\n", path.c_str());
    return 0;
}

int parseStyleText(const std::string& path, const std::string& text, TiXmlDocument& doc,
                   kvconfig::XmlRoots roots) {
    std::string error;
    if (kvconfig::parseXmlDocument(text, doc, error, nullptr, roots) == 0) {
        std::printf("mergeStyleXml parse %s failed: %s\n", path.c_str(), error.c_str());
        return 0;
    }
    return 1;
}

int printDocument(const TiXmlDocument& doc, std::string& out) {
    TiXmlPrinter printer;
    printer.SetIndent("    ");
    doc.Accept(&printer);
    out = printer.CStr();
    return 1;
}

} // namespace

MergedXml::MergedXml()
    : m_pStyleOriginal(new TiXmlDocument), m_pStyleModify(new TiXmlDocument),
      m_pLangOriginal(new TiXmlDocument), m_pLangModify(new TiXmlDocument) {}

MergedXml::~MergedXml() = default;

int MergedXml::setStyleOriginalPath(std::string path) {
    m_strStyleOriginalPath = std::move(path);
    return 1;
}

int MergedXml::setStyleModifyPath(std::string path) {
    m_strStyleModifyPath = std::move(path);
    return 1;
}

int MergedXml::setLangOriginalPath(std::string path) {
    m_strLangOriginalPath = std::move(path);
    return 1;
}

int MergedXml::setLangModifyPath(std::string path) {
    m_strLangModifyPath = std::move(path);
    return 1;
}

int MergedXml::mergeStyleXml(std::string detail) {
    // A merge always starts from the files: the last merge's result is not
    // merged again.
    m_pStyleOriginal->Clear();
    m_pStyleModify->Clear();
    m_pTabPosition = nullptr;
    if (m_strStyleModifyPath.empty() || m_strStyleOriginalPath.empty()) {
        std::puts("m_strStyleModifyPath or m_strStyleOriginalPath is NULL,Please set path first");
        return 0;
    }
    if (loadStyleDocuments() == 0)
        return 0;
    for (TiXmlElement* block = m_pStyleModify->FirstChildElement(); block != nullptr;
         block = block->NextSiblingElement()) {
        if (runBlock(*block, detail) == 0)
            return 0;
    }
    return 1;
}

int MergedXml::getStyleMergedString(std::string detail, std::string& out) {
    const int result = mergeStyleXml(std::move(detail));
    if (result == 0) {
        std::puts("mergeStyleXml failed");
        return result;
    }
    return printDocument(*m_pStyleOriginal, out);
}

int MergedXml::mergeLangXml(std::string /*detail*/) {
    return 1;
}

int MergedXml::getLangMergedString(std::string detail, std::string& out) {
    const int result = mergeLangXml(std::move(detail));
    if (result == 0) {
        std::puts("mergeLangXml failed");
        return result;
    }
    return printDocument(*m_pLangOriginal, out);
}

int MergedXml::findNodeByKey(int key, TiXmlNode* parent, TiXmlNode** found) {
    if (parent == nullptr || found == nullptr)
        return 1;
    for (TiXmlElement* child = parent->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        int childKey = 0;
        if (keyOf(*child, childKey) && childKey == key) {
            *found = child;
            break;
        }
    }
    return 1;
}

int MergedXml::deleteTabNode(int key) {
    TiXmlElement* root = m_pStyleOriginal->RootElement();
    if (root == nullptr)
        return 1;
    TiXmlElement* tab = root->FirstChildElement();
    while (tab != nullptr) {
        TiXmlElement* next = tab->NextSiblingElement();
        int tabKey = 0;
        if (keyOf(*tab, tabKey) && tabKey == key) {
            // A later insertion whose anchor is missing must not land on a
            // tab that is gone: it then inserts nothing.
            if (m_pTabPosition == tab)
                m_pTabPosition = nullptr;
            tab->Clear();
            root->RemoveChild(tab);
        }
        tab = next;
    }
    return 1;
}

int MergedXml::loadStyleDocuments() {
    std::string baseText;
    std::string modifyText;
    if (readStyleFile(m_strStyleOriginalPath, baseText) == 0 ||
        readStyleFile(m_strStyleModifyPath, modifyText) == 0)
        return 0;
    // The variation file is a list of condition blocks, so it may hold
    // several top-level elements, or none.
    return parseStyleText(m_strStyleOriginalPath, baseText, *m_pStyleOriginal,
                          kvconfig::XmlRoots::One) != 0 &&
           parseStyleText(m_strStyleModifyPath, modifyText, *m_pStyleModify,
                          kvconfig::XmlRoots::Any) != 0;
}

int MergedXml::matchesBlock(const TiXmlElement& block, const std::string& detail, bool& matched) {
    matched = true;
    for (const TiXmlAttribute* condition = block.FirstAttribute(); condition != nullptr;
         condition = condition->Next()) {
        const std::set<std::string> accepted = acceptedValues(condition->ValueStr());
        ModuleParameterParser parser;
        if (parser.parse(detail) == 0) {
            std::puts("parse detail failed");
            return 0;
        }
        std::string value;
        if (parser.getValue(condition->NameTStr(), value) == 0 || accepted.count(value) == 0)
            matched = false;
    }
    return 1;
}

int MergedXml::runBlock(TiXmlElement& block, const std::string& detail) {
    bool matched = false;
    if (matchesBlock(block, detail, matched) == 0)
        return 0;
    if (!matched)
        return 1;
    for (const TiXmlElement* operation = block.FirstChildElement(); operation != nullptr;
         operation = operation->NextSiblingElement()) {
        const std::string& name = operation->ValueStr();
        int result = 1;
        if (name == "Delete")
            result = deleteTabs(*operation);
        else if (name == "AddAfter")
            result = addAfter(*operation);
        else if (name == "AddBefore")
            result = addBefore(*operation);
        if (result == 0)
            return 0;
    }
    return 1;
}

int MergedXml::deleteTabs(const TiXmlElement& operation) {
    for (const TiXmlElement* tab = operation.FirstChildElement(); tab != nullptr;
         tab = tab->NextSiblingElement()) {
        int key = 0;
        if (!needKey(*tab, key))
            return 0;
        if (deleteTabNode(key) == 0)
            std::printf("delete key(%d) failed\n", key);
    }
    return 1;
}

int MergedXml::addAfter(const TiXmlElement& operation) {
    TiXmlElement* root = m_pStyleOriginal->RootElement();
    for (const TiXmlElement* anchor = operation.FirstChildElement(); anchor != nullptr;
         anchor = anchor->NextSiblingElement()) {
        int current = 0;
        if (!needKey(*anchor, current))
            return 0;
        // Each new tab goes after the one inserted before it, so the run
        // keeps its written order behind the anchor.
        for (const TiXmlElement* tab = anchor->FirstChildElement(); tab != nullptr;
             tab = tab->NextSiblingElement()) {
            int next = 0;
            if (!needKey(*tab, next))
                return 0;
            if (findNodeByKey(current, root, &m_pTabPosition) == 0)
                std::printf("can't find tab by key(%d)\n", current);
            else if (m_pTabPosition != nullptr)
                root->InsertAfterChild(m_pTabPosition, *tab);
            current = next;
        }
    }
    return 1;
}

int MergedXml::addBefore(const TiXmlElement& operation) {
    TiXmlElement* root = m_pStyleOriginal->RootElement();
    for (const TiXmlElement* anchor = operation.FirstChildElement(); anchor != nullptr;
         anchor = anchor->NextSiblingElement()) {
        int key = 0;
        if (!needKey(*anchor, key))
            return 0;
        if (findNodeByKey(key, root, &m_pTabPosition) == 0) {
            std::printf("can't find tab by key(%d)\n", key);
            continue;
        }
        if (m_pTabPosition == nullptr)
            continue;
        for (const TiXmlElement* tab = anchor->FirstChildElement(); tab != nullptr;
             tab = tab->NextSiblingElement())
            root->InsertBeforeChild(m_pTabPosition, *tab);
    }
    return 1;
}
