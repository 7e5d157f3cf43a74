// Edge-enhancement record.
#include "controller/EE.h"

EE::EE() = default;

EE::~EE() = default;

int EE::setEE(int /*value*/) {
    return 1;
}
