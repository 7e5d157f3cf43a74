// The library's runtime error.
#include "foundation/KVRuntimeError.h"

KVRuntimeError::KVRuntimeError(std::string const& message) : m_strMessage(message) {}

KVRuntimeError::KVRuntimeError(char const* const& message)
    : m_strMessage(message != nullptr ? message : "") {}

KVRuntimeError::~KVRuntimeError() = default;

const char* KVRuntimeError::what() const noexcept {
    return m_strMessage.c_str();
}
