// Lookup by name in a constant table of rows that each carry a `name`.
#pragma once

#include <cstddef>
#include <string>

// The tables of models and classes that the command-line tools pick from by
// name (simulator models, controller classes) are plain arrays of rows with a
// `const char* name`; these two serve all of them.
template <class Row, std::size_t N>
const Row* findNamedRow(const Row (&rows)[N], const std::string& name) {
    for (const Row& row : rows)
        if (name == row.name)
            return &row;
    return nullptr;
}

// Every row's name in table order, joined by `separator`.
template <class Row, std::size_t N>
std::string joinRowNames(const Row (&rows)[N], const char* separator) {
    std::string names;
    for (const Row& row : rows)
        names += (names.empty() ? "" : separator) + std::string(row.name);
    return names;
}
