// The benchmarks' figures beside their goals, printed as one table at the end of a run.
#pragma once

#include <ostream>
#include <string>

namespace kvbench {

// One row of the table: which goal, the measured figure and the goal
// (`atMost`: the figure must not exceed the goal; otherwise it is reported
// only, as for a breakdown). Recording a row again replaces it.
struct Figure {
    std::string row;  // "1", "2", ... as the goals are numbered
    std::string what; // "unchanged 50-id set, time per call"
    double value = 0.0;
    std::string unit; // "us", "ms", "%", "bytes", "x"
    double goal = 0.0;
    bool hasGoal = false;
};

void record(const Figure& figure);
// A row with a goal the figure must stay within.
void recordGoal(const std::string& row, const std::string& what, double value,
                const std::string& unit, double atMost);
// A row that is reported only.
void recordInfo(const std::string& row, const std::string& what, double value,
                const std::string& unit);
// Prints the table; returns the number of rows over their goal.
int printTable(std::ostream& out);

} // namespace kvbench
