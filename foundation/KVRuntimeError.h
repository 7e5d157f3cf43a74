// The one exception type the library throws (safe-pointer misuse only).
#pragma once

#include <exception>
#include <string>

class KVRuntimeError : public std::exception {
public:
    explicit KVRuntimeError(std::string const& message);
    // A null text gives an empty message.
    explicit KVRuntimeError(char const* const& message);
    ~KVRuntimeError() override;

    const char* what() const noexcept override;

private:
    std::string m_strMessage;
};
