// The one way in for XML text: every configuration document the library reads passes here.
#pragma once

#include <string>

class TiXmlDocument;

namespace kvconfig {

// Deepest element nesting accepted in an XML text. The XML library and the
// configuration tool's reader both recurse once per level, so the limit also
// bounds their stack use.
constexpr int MaxXmlDepth = 64;

// How many top-level elements a text may hold.
enum class XmlRoots {
    One, // exactly one root element: an XML document
    Any, // none, one or several: a list of blocks (the UI style variations)
};

// Parses `text` into `doc`. Before the XML library sees a byte, the whole text
// is checked by a strict, non-recursive reader that follows the library's own
// tokenising (so what it counts is what the library will do):
// - at most MaxConfigFileBytes, no NUL byte;
// - valid in its declared encoding: UTF-8 (declared, marked or by default)
//   must be well-formed UTF-8 with nothing cut off at the end; US-ASCII holds
//   no byte above 0x7F; UTF-16/32 are refused; any other declared encoding is
//   read byte by byte;
// - well-formed: matching tags, quoted attribute values, known
//   entities only, character references that name a character the encoding can
//   hold (never &#0;), processing instructions and declarations without a '>'
//   before their end, one root element (any number with XmlRoots::Any),
//   nothing but comments and processing instructions around it;
// - elements nested at most MaxXmlDepth deep.
// The library then parses a NUL-padded copy in that encoding. On success
// `encoding` (when given) receives the declared encoding name ("UTF-8" when
// none is declared), for a writer that must keep it. On failure `error` says
// what and where, and `doc` holds nothing usable.
int parseXmlDocument(const std::string& text, TiXmlDocument& doc, std::string& error,
                     std::string* encoding = nullptr, XmlRoots roots = XmlRoots::One);

// True when `name` is an encoding name a document may declare and a writer may
// repeat (letters first, then letters, digits, '.', '_' and '-').
bool isEncodingName(const std::string& name);

} // namespace kvconfig
