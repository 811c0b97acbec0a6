#pragma once

// Prints, after the usual table, the time of each measured benchmark as a ratio to its
// reference from the same run: the machine is shared and absolute times drift.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

struct BenchRatio
{
    std::string measured;
    std::string reference;
    double goal; // printed beside the ratio; 0 for none
};

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With repetitions the fastest is the least disturbed by others on the machine.
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const std::string &name = run.run_name.function_name;
            const double t = run.GetAdjustedRealTime();
            const auto it = m_times.find(name);
            if (it == m_times.end() || t < it->second) m_times[name] = t;
        }
    }

    void printRatios(const std::vector<BenchRatio> &ratios) const
    {
        for (const BenchRatio &r : ratios) {
            const auto m = m_times.find(r.measured);
            const auto ref = m_times.find(r.reference);
            if (m == m_times.end() || ref == m_times.end() || ref->second <= 0.0) continue;
            const double ratio = m->second / ref->second;
            if (r.goal > 0)
                std::printf("ratio %s / %s = %.3f (goal <= %.2f: %s)\n", r.measured.c_str(),
                            r.reference.c_str(), ratio, r.goal, ratio <= r.goal ? "met" : "missed");
            else
                std::printf("ratio %s / %s = %.3f\n", r.measured.c_str(), r.reference.c_str(),
                            ratio);
        }
    }

private:
    std::map<std::string, double> m_times;
};

// A main() body: runs the benchmarks, then prints the ratios.
inline int runBenchmarksWithRatios(int argc, char **argv, const std::vector<BenchRatio> &ratios)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios(ratios);
    benchmark::Shutdown();
    return 0;
}
