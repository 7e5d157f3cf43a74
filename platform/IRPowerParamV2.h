// The infrared LED power table as the IR power configuration reader hands it on.
#pragma once

#include "platform/IRPowerItem.h"

#include <vector>

// A value record: the reader fills it with all rows at once and the LED code
// takes a copy, so the table a caller holds never changes under it. Rows keep
// their file order (row 1 for zoom step 1, and so on).
class IRPowerParamV2 {
public:
    // Replaces the whole table; 1.
    int setIrPower(const std::vector<IRPowerItem>& rows);
    // Copies the table out (possibly empty); 1.
    int getIrPower(std::vector<IRPowerItem>& rows) const;
    int size() const;

private:
    std::vector<IRPowerItem> m_vecRows;
};
