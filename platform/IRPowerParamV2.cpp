// The infrared LED power table.
#include "platform/IRPowerParamV2.h"

int IRPowerParamV2::setIrPower(const std::vector<IRPowerItem>& rows) {
    m_vecRows = rows;
    return 1;
}

int IRPowerParamV2::getIrPower(std::vector<IRPowerItem>& rows) const {
    rows = m_vecRows;
    return 1;
}

int IRPowerParamV2::size() const {
    return static_cast<int>(m_vecRows.size());
}
