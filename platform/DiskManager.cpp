// File existence checks of the platform's storage manager.
#include "platform/DiskManager.h"

#include "platform/KVFile.h"

int DiskManager::isFileExist(const std::string& path, int context) {
    (void)context;
    return KVFile::isExist(path);
}
