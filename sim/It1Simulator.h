// Simulated IT1 register module answering on a pseudo-terminal.
#pragma once

#include "sim/BinarySimulator.h"
#include "sim/It1Family.h"
#include "sim/It1Models.h"

#include <vector>

// The virtual IT1 module (It1Family: frames and answers; It1Models: models)
// on the shared binary register line (BinarySimulator: pty, timing, faults,
// register store, frame record).
class It1Simulator : public BinarySimulator {
public:
    // model nullptr: defaultIt1Model().
    explicit It1Simulator(const It1Model* model = nullptr);

    const It1Model& model() const { return m_family.model(); }
    // Zoom model: the preset numbers of the lens frames taken, oldest first.
    std::vector<int> lensPresets() const;

private:
    It1Family& m_family; // owned by the base
};
