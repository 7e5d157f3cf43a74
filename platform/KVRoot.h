// Filesystem root under which every absolute device path is resolved.
#pragma once

#include <string>

// The system names its files by their absolute paths on the camera
// ("/mnt/mtd/code/config_file/sensor1.cfg"). On the device the root is "/" and
// nothing changes; on a host, tests and the demo point the root at a temporary
// tree so that the same code reads and writes there. The root comes from the
// KV_ROOT environment variable unless a program sets it.
namespace kvroot {

// The root in force, without a trailing slash ("" for the real root).
std::string root();

// Replaces the root; "" or "/" selects the real root.
void setRoot(const std::string& dir);

// Maps an absolute path under the root; relative paths are returned unchanged.
std::string resolve(const std::string& path);

} // namespace kvroot
