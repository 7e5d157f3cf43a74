// The binary register module simulators by protocol name, for the hosts that pick one.
#pragma once

#include "sim/BinarySimulator.h"

#include <memory>
#include <string>

// camsim's --protocol and sensorctl's --driver rows name a binary register
// family by its protocol ("it1", "itn", ...); `model` is the family's model
// name ("" for its default; only families with several models take one).
// nullptr for an unknown protocol or model.
std::unique_ptr<BinarySimulator> makeBinarySimulator(const std::string& protocol,
                                                     const std::string& model = "");
bool isBinaryProtocol(const std::string& protocol);
// Every binary protocol name, joined by `separator`.
std::string binaryProtocolNames(const char* separator);
// The models a protocol's simulator plays, joined by `separator` ("" for one-model families).
std::string binaryModelNames(const std::string& protocol, const char* separator);
