// Out-of-line anchor of the safe pointers' common base.
#include "foundation/SafePointer.h"

BaseSafePointer::~BaseSafePointer() = default;
