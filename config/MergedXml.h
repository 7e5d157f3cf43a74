// The web UI's style document with the per-module variations merged in.
#pragma once

#include <memory>
#include <string>

class TiXmlDocument;
class TiXmlElement;
class TiXmlNode;

// One style document serves a whole family of camera modules: its root
// element holds the UI's tabs, each keyed by the decimal value of its first
// attribute (whatever that attribute is called):
//
//   <Style>
//       <Tab id="5" .../>
//       <Tab id="9" .../>
//   </Style>
//
// The variation ("modify") document lists changes that apply only to some
// modules. Each of its top-level elements is a condition block whose
// attributes name module parameters, each with the comma-separated values
// accepted; the block applies when the module's detail text
// ("name=value;...") gives every one of them an accepted value (a block
// without attributes always applies, a parameter the detail lacks never
// matches). Its children are the operations, in order:
//
//   <If Zoom="1,3">
//       <Delete><Tab id="9"/></Delete>
//       <AddAfter><Tab id="5"><Tab id="6" .../><Tab id="7" .../></Tab></AddAfter>
//       <AddBefore><Tab id="5"><Tab id="4" .../></Tab></AddBefore>
//   </If>
//
// "Delete" removes every tab with each child's key. Under "AddAfter" and
// "AddBefore" each child is an anchor naming a tab by its key; the anchor's
// children are copied in, in order, after or before that tab. An anchor no
// tab has puts its run where the previous lookup of the same merge found a
// tab (nothing when there was none): the UI files are written for that.
//
// Every merge reads both files afresh; the files are never written. The
// language variations are not merged: the language document stays empty.
class MergedXml {
public:
    MergedXml();
    ~MergedXml();
    MergedXml(const MergedXml&) = delete;
    MergedXml& operator=(const MergedXml&) = delete;

    // Store the device paths of the documents; return 1.
    int setStyleOriginalPath(std::string path);
    int setStyleModifyPath(std::string path);
    int setLangOriginalPath(std::string path);
    int setLangModifyPath(std::string path);

    // Loads both style documents and applies the blocks that match `detail`
    // to the base document; 1 on success, 0 on a missing path, an unreadable
    // or malformed file, an undecodable detail text or a key that is not a
    // number (the message says which).
    int mergeStyleXml(std::string detail);
    // Merges, then prints the merged style document into `out` (four-blank
    // indent); on failure `out` is left as it was.
    int getStyleMergedString(std::string detail, std::string& out);

    // The language merge does nothing; returns 1.
    int mergeLangXml(std::string detail);
    // Prints the language document, which nothing loads: an empty text.
    int getLangMergedString(std::string detail, std::string& out);

    // Stores through `found` the first child element of `parent` whose key is
    // `key`; when none has it, `*found` keeps what it held. Always returns 1.
    int findNodeByKey(int key, TiXmlNode* parent, TiXmlNode** found);
    // Removes every tab of the style document whose key is `key`; returns 1,
    // whether or not one matched.
    int deleteTabNode(int key);

private:
    int loadStyleDocuments();
    int runBlock(TiXmlElement& block, const std::string& detail);
    int matchesBlock(const TiXmlElement& block, const std::string& detail, bool& matched);
    int deleteTabs(const TiXmlElement& operation);
    int addAfter(const TiXmlElement& operation);
    int addBefore(const TiXmlElement& operation);

    std::string m_strStyleOriginalPath;
    std::string m_strStyleModifyPath;
    std::string m_strLangOriginalPath;
    std::string m_strLangModifyPath;
    std::unique_ptr<TiXmlDocument> m_pStyleOriginal;
    std::unique_ptr<TiXmlDocument> m_pStyleModify;
    std::unique_ptr<TiXmlDocument> m_pLangOriginal;
    std::unique_ptr<TiXmlDocument> m_pLangModify;
    // Where the last successful tab lookup of the merge in progress landed;
    // a deleted tab is forgotten here too.
    TiXmlNode* m_pTabPosition = nullptr;
};
