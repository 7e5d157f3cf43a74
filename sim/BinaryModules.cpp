// The binary register module simulators by protocol name, for the hosts that pick one.
#include "sim/BinaryModules.h"

#include "foundation/NamedRows.h"
#include "sim/EffioSimulator.h"
#include "sim/It1Simulator.h"
#include "sim/ItnSimulator.h"
#include "sim/SeawolfSimulator.h"

namespace {

struct Family {
    const char* name; // the protocol
    std::unique_ptr<BinarySimulator> (*make)(const std::string& model);
    std::string (*models)(const char* separator); // nullptr: one model
};

const Family kFamilies[] = {
    {"it1",
     [](const std::string& model) -> std::unique_ptr<BinarySimulator> {
         const It1Model* found = model.empty() ? &defaultIt1Model() : findIt1Model(model);
         return found != nullptr ? std::make_unique<It1Simulator>(found) : nullptr;
     },
     &it1ModelNames},
    {"itn",
     [](const std::string& model) -> std::unique_ptr<BinarySimulator> {
         return model.empty() ? std::make_unique<ItnSimulator>() : nullptr;
     },
     nullptr},
    {"seawolf",
     [](const std::string& model) -> std::unique_ptr<BinarySimulator> {
         return model.empty() ? std::make_unique<SeawolfSimulator>() : nullptr;
     },
     nullptr},
    {"effio",
     [](const std::string& model) -> std::unique_ptr<BinarySimulator> {
         return model.empty() ? std::make_unique<EffioSimulator>() : nullptr;
     },
     nullptr},
};

} // namespace

std::unique_ptr<BinarySimulator> makeBinarySimulator(const std::string& protocol,
                                                     const std::string& model) {
    const Family* family = findNamedRow(kFamilies, protocol);
    return family != nullptr ? family->make(model) : nullptr;
}

bool isBinaryProtocol(const std::string& protocol) {
    return findNamedRow(kFamilies, protocol) != nullptr;
}

std::string binaryProtocolNames(const char* separator) {
    return joinRowNames(kFamilies, separator);
}

std::string binaryModelNames(const std::string& protocol, const char* separator) {
    const Family* family = findNamedRow(kFamilies, protocol);
    return family != nullptr && family->models != nullptr ? family->models(separator) : "";
}
