// File existence checks of the platform's storage manager.
#pragma once

#include <string>

// The configuration tools ask the storage manager whether a file is present
// before they open it. The context argument selects a storage area on the
// device; this platform has one filesystem, so it is accepted and ignored.
class DiskManager {
public:
    // True (1) when `path` (a device path, resolved under the root) names an
    // existing entry that is not a directory; 0 otherwise.
    static int isFileExist(const std::string& path, int context);
};
