/*
 * Copyright (C) 2026 Zenth
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace bench {

// One line of the figures table.
struct Figure {
    std::string what;
    std::string value;
    std::string target;  // empty for a figure that is only reported
    bool met;
};
using Figures = std::vector<Figure>;

// The start-up to the registration against its floor.
void measureStartup(Figures& figures);
// The daemon's resident set over that of an empty program.
void measureResidentSet(Figures& figures);
// Interface calls against their floors (Google Benchmark; takes its command-line flags).
void measureCalls(Figures& figures, int argc, char** argv);
void measureFaultStorm(Figures& figures);
// Calls from client processes while faults arrive, against the same calls on an idle daemon.
void measureLoad(Figures& figures);

// One number in printf form, for a figure's text.
inline std::string format(const char* fmt, double value) {
    char text[128];
    std::snprintf(text, sizeof(text), fmt, value);
    return text;
}

}  // namespace bench
