// Conversion between parameter texts "(id,value)(id,value)" and id/value maps.
#pragma once

#include <map>
#include <set>
#include <string>

// Parameter files and the host interface carry parameter values as a run of
// "(id,value)" items, both signed decimal 32-bit integers, written back to
// back: "(0,50)(1,128)(2,-3)(10000,3)(10001,1)". The reader is lenient where
// it costs nothing (blanks and line breaks between and inside items, a "+"
// sign) and strict about everything else: one bad item rejects the whole text
// and the caller's map is left exactly as it was, so a corrupt file never
// half-applies.
class SensorParameterParser {
public:
    // Merges the items of `text` into `values`: an item overwrites the entry
    // of its id, other entries stay. Empty or blank text succeeds and adds
    // nothing. A missing parenthesis or comma, a non-number, a value outside
    // the 32-bit range or trailing garbage gives 0 with `values` unchanged.
    static int parseSensorParameter(const std::string& text, std::map<int, int>& values);

    // "(%d,%d)" per entry in ascending id order, nothing between items.
    static std::string createSensorParameterString(const std::map<int, int>& values);

    // Adds the ids of a comma-separated list such as "1, 2,500" to `ids`.
    // Blanks around ids are allowed; empty or blank text succeeds and adds
    // nothing. An empty element ("1,,2", a trailing ","), a non-number or an
    // out-of-range id gives 0 with `ids` unchanged.
    static int parseParameterIdList(const std::string& text, std::set<int>& ids);
};
