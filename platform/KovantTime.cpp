// Platform wait.
#include "platform/KovantTime.h"

#include "platform/PlatformClock.h"

int KovantTime::wait(const KovantTime& span) {
    return PlatformClock::sleepFor(PlatformClock::Duration(span.toSeconds())) ? 1 : 0;
}
