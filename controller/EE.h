// Edge-enhancement record: where an ISP edge-enhancement value is applied.
#pragma once

// The hook for applying edge enhancement from the ISP tuning tables; it takes
// the value and does nothing with it yet.
class EE {
public:
    EE();
    ~EE();
    int setEE(int value);
};
