// Parser of the module detail and parameter texts ("name=value;name=value").
#pragma once

#include <map>
#include <string>

// The module configuration describes a module with two texts of named values,
// for example
//
//   RS485=9600,8,0,1;DCDay=1,3;toDayADCVal=300;Prefix=FBS8300
//
// Items are separated by ";". In each item the first "=" separates the name
// from the value, so a value may hold "," and further "=" (but not ";").
// Blanks (space, tab, CR, LF) around names and values are dropped; empty
// items (";;", a trailing ";") are allowed. A repeated name keeps its last
// value. An item without "=" or with an empty name makes the text invalid.
class ModuleParameterParser {
public:
    // Parses `text`, replacing what an earlier parse held. 1 on success; 0 on
    // an invalid text, after which the parser holds no values.
    int parse(const std::string& text);

    // 1 and the value of `name` if present; 0 and `value` untouched otherwise.
    int getValue(const std::string& name, std::string& value) const;

    // 1 if `name` is present and its whole value is a signed decimal 32-bit
    // integer; 0 and `value` untouched otherwise.
    int getValue(const std::string& name, int& value) const;

private:
    std::map<std::string, std::string> m_mapValues;
};
