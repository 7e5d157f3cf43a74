// The benchmarks' figures beside their goals, printed as one table at the end of a run.
#include "Goals.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <vector>

namespace kvbench {

namespace {

std::mutex g_mutex;
std::vector<Figure> g_figures; // in the order first recorded

} // namespace

void record(const Figure& figure) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (Figure& f : g_figures) {
        if (f.row == figure.row && f.what == figure.what) {
            f = figure;
            return;
        }
    }
    g_figures.push_back(figure);
}

void recordGoal(const std::string& row, const std::string& what, double value,
                const std::string& unit, double atMost) {
    record({row, what, value, unit, atMost, true});
}

void recordInfo(const std::string& row, const std::string& what, double value,
                const std::string& unit) {
    record({row, what, value, unit, 0.0, false});
}

int printTable(std::ostream& out) {
    std::lock_guard<std::mutex> lock(g_mutex);
    // By goal, each goal's rows in the order measured.
    std::stable_sort(g_figures.begin(), g_figures.end(),
                     [](const Figure& a, const Figure& b) { return a.row < b.row; });
    int over = 0;
    char line[256];
    std::snprintf(line, sizeof line, "\n%-4s %-66s %12s %14s\n", "row", "what", "figure", "goal");
    out << line;
    for (const Figure& f : g_figures) {
        char figure[32];
        char goal[32] = "";
        std::snprintf(figure, sizeof figure, "%.4g %s", f.value, f.unit.c_str());
        const char* verdict = "";
        if (f.hasGoal) {
            std::snprintf(goal, sizeof goal, "<= %.4g %s", f.goal, f.unit.c_str());
            verdict = f.value <= f.goal ? "met" : "MISSED";
            over += f.value <= f.goal ? 0 : 1;
        }
        std::snprintf(line, sizeof line, "%-4s %-66s %12s %14s  %s\n", f.row.c_str(),
                      f.what.c_str(), figure, goal, verdict);
        out << line;
    }
    return over;
}

} // namespace kvbench
