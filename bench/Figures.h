#pragma once

#include <string>
#include <vector>

namespace bench {

// One line of the figures table.
struct Figure {
    std::string what;
    std::string value;
    std::string target;
    bool met;
};
using Figures = std::vector<Figure>;

// Interface calls against their floors (Google Benchmark; takes its command-line flags).
void measureCalls(Figures& figures, int argc, char** argv);
void measureFaultStorm(Figures& figures);
void measureStartup(Figures& figures);
void measureMemory(Figures& figures);

std::string format(const char* fmt, double value);

}  // namespace bench
