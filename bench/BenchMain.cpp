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

// Prints every performance figure of the daemon as one table. Google Benchmark flags are passed on
// to the interface-call benchmarks.

#include <cstdio>
#include <string>
#include <vector>

#include "Figures.h"

namespace {

void printTable(const bench::Figures& figures) {
    std::printf("| Figure | Measured | Target | Met |\n|---|---|---|---|\n");
    for (const auto& figure : figures) {
        const bool reported = figure.target.empty();
        std::printf("| %s | %s | %s | %s |\n", figure.what.c_str(), figure.value.c_str(),
                    reported ? "-" : figure.target.c_str(),
                    reported     ? "-"
                    : figure.met ? "yes"
                                 : "NO");
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Repetitions interleaved at random put each call and its floor side by side in time.
    std::vector<char*> args(argv, argv + argc);
    static char repetitions[] = "--benchmark_repetitions=9";
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    static char minTime[] = "--benchmark_min_time=0.2";
    args.insert(args.begin() + 1, {repetitions, interleave, minTime});
    int count = static_cast<int>(args.size());

    bench::Figures figures;
    // The daemon runs in child processes, forked while this process has no other thread.
    bench::measureStartup(figures);
    bench::measureResidentSet(figures);
    bench::measureCalls(figures, count, args.data());
    bench::measureFaultStorm(figures);
    bench::measureLoad(figures);
    printTable(figures);
    int missed = 0;
    for (const auto& figure : figures) missed += figure.target.empty() || figure.met ? 0 : 1;
    return missed == 0 ? 0 : 1;
}
