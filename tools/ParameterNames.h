// Names, ranges and categories of the parameter ids of a module, for the command line.
#pragma once

#include <string>
#include <vector>

// Lets a person write "saturation=60" instead of "1=60". The table lists the
// ids a module's driver registers (and the scheme-window ids every
// controller has) with a short name, the values the driver accepts and the
// category under which the value is kept. Ranges of the regular VISCA
// settings come from the shared setting table, so they cannot drift apart.
class ParameterNames {
public:
    struct Entry {
        int id;
        std::string name;
        int min;
        int max;
        std::string category; // "common", "set-only", ...
        std::string note;     // allowed values when not the whole range
    };

    // The table for module `moduleId` (empty for a module without one).
    explicit ParameterNames(int moduleId);

    const std::vector<Entry>& entries() const { return m_vecEntries; }
    // The id for a name or a decimal number; false when neither.
    bool lookup(const std::string& nameOrId, int& id) const;
    // The entry for id, or nullptr.
    const Entry* find(int id) const;
    // "saturation" for a named id, else the decimal id.
    std::string label(int id) const;

private:
    std::vector<Entry> m_vecEntries;
};

// Parses a whole decimal int (optional sign); false on anything else.
bool parseInt(const std::string& text, int& value);
