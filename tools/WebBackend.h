// The settings page's source in sensorctl: the unit's UI files and the session's controller.
#pragma once

#include "config/SensorFile.h"
#include "tools/Commands.h"
#include "tools/WebApi.h"

#include <vector>

class Console;
class Session;

// Reads the UI texts as the camera's web interface gets them (SensorFile on
// the unit's files), and reads and changes settings through the controller
// as sensorctl's commands do. A failed change carries the library's own
// line about it (without --verbose, which sends those lines to the terminal).
class WebBackend : public WebSource {
public:
    WebBackend(Session& session, Console& console, Commands& commands);

    // Loads the unit's UI files; false with `error`.
    bool load(std::string& error);

    std::vector<Language> languages() override;
    Texts texts(int id) override;
    WebPage::OfferedIds offeredIds() override;
    void begin() override;
    bool read(const std::vector<int>& ids, std::map<int, int>& values, std::string& error) override;
    bool change(const std::vector<std::pair<int, int>>& values, std::string& error) override;
    bool flush(std::string& error) override;
    bool reset(std::string& error) override;
    bool status(Status& status, std::string& error) override;
    std::vector<std::string> frames() override;
    bool hasSimulator() const override;
    bool simulatorRegister(const std::vector<unsigned char>& key, std::string& data) override;
    bool simulatorRefuse(int frames) override;

private:
    // Runs the sensorctl command `name`; false with its reason.
    bool command(const std::string& name, std::string& error);
    // The library's line about the failure since begin(), else `fallback`.
    std::string failure(const std::string& fallback);
    // Keeps the frames since the last look when there are any: those of the
    // last request that talked to the module.
    void collectFrames();

    Session& m_session;
    Console& m_console;
    Commands& m_commands;
    SensorFile m_file;
    std::vector<Language> m_vecLanguages;
    size_t m_nFramesSeen = 0;
    std::vector<std::string> m_vecLastFrames;
};
