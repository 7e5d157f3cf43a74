// One parameter file: "(id,value)" items back to back plus two version stamps.
#pragma once

#include "platform/KVMutex.h"

#include <map>
#include <string>

// The file is one parameter text, e.g. "(0,50)(1,128)(10000,3)(10001,1)".
// Ids 10000 and 10001 carry the version and the second version the file was
// written with; 999 under either is a wildcard matching any version. Saves
// replace the file atomically (the platform's replace mode), so a crash
// leaves the old or the new content. The mutex covers one read or one write;
// a modify is a read and a write with the lock released between them, so
// callers that modify one file from several threads serialise themselves.
class SensorConfigFile {
public:
    static constexpr int VersionId = 10000;
    static constexpr int Version2Id = 10001;
    static constexpr int VersionWildcard = 999;

    explicit SensorConfigFile(const std::string& path);
    ~SensorConfigFile();

    void setVersion(int version) { m_nVersion = version; }
    void setVersion2(int version) { m_nVersion2 = version; }

    int isExist();
    const std::string& getFilePath() const { return m_strPath; }

    int readParametersFromFile(std::string& text);
    int readParametersFromFile(std::map<int, int>& values);
    int readParameterById(int id, int& value);

    int saveParametersToFile(const std::string& text);
    int saveParametersToFile(const std::map<int, int>& values);

    // Read, overwrite ids already in the file (others ignored), save.
    int modifyParameter(int id, int value);
    int modifyParameters(const std::map<int, int>& values);
    int modifyParameters(const std::string& text);
    // Rebuild the file on the caller's ids, keeping the file's values where
    // it has them; ids only in the file disappear.
    int modifyIdUnEqualParameters(const std::map<int, int>& values);
    int modifyIdUnEqualParameters(const std::string& text);

    int isVersionEqual(int version);
    int isVersion2Equal(int version);

private:
    int isStampEqual(int stampId, int version);

    int m_nVersion = -10000;
    int m_nVersion2 = -10000;
    std::string m_strPath;
    KVMutex m_mutex;
};
