// Prints, after a run, each figure beside its reference from the same run: a console reporter
// that keeps every run's time per iteration (CPU time, or the manual time of benchmarks that time
// themselves, since the machines these run on are shared) and its counters.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace TesselBench {

class RatioTable : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if ((run.run_type != Run::RT_Iteration && !median) || run.error_occurred || run.iterations == 0)
                continue;
            const bool manual = run.benchmark_name().find("/manual_time") != std::string::npos;
            const double seconds = manual ? run.real_accumulated_time : run.cpu_accumulated_time;
            m_nanoseconds[run.benchmark_name()] = seconds * 1e9 / static_cast<double>(run.iterations);
            for (const auto& counter : run.counters)
                m_counters[run.benchmark_name() + ":" + counter.first] = counter.second.value;
        }
    }

    // Nanoseconds per iteration (per item when perItems is given), the median of the
    // repetitions when there were several, or a negative number.
    double Time(const std::string& name, double perItems = 1) const
    {
        auto found = m_nanoseconds.find(name + "_median");
        if (found == m_nanoseconds.end())
            found = m_nanoseconds.find(name);
        return found == m_nanoseconds.end() ? -1 : found->second / perItems;
    }

    double Counter(const std::string& name, const std::string& counter) const
    {
        auto found = m_counters.find(name + "_median:" + counter);
        if (found == m_counters.end())
            found = m_counters.find(name + ":" + counter);
        return found == m_counters.end() ? -1 : found->second;
    }

    // The arguments with the flags this project's benchmarks run with unless told otherwise:
    // repetitions in random order, reported by their median, so that the shared machine's moods
    // fall on every benchmark alike.
    static std::vector<char*> WithDefaults(int argc, char** argv)
    {
        static char repetitions[] = "--benchmark_repetitions=5";
        static char interleaving[] = "--benchmark_enable_random_interleaving=true";
        static char aggregates[] = "--benchmark_report_aggregates_only=true";
        std::vector<char*> arguments(argv, argv + argc);
        bool told = false;
        for (int i = 1; i < argc; ++i)
            told = told || std::string(argv[i]).rfind("--benchmark_repetitions", 0) == 0;
        if (!told)
            arguments.insert(arguments.begin() + 1, {repetitions, interleaving, aggregates});
        arguments.push_back(nullptr);
        return arguments;
    }

    static void Heading(const char* title) { std::printf("\n%s\n", title); }

    // A ratio of two figures of this run, with its aim.
    static void Row(const char* what, double measured, double reference, const char* aim)
    {
        if (measured < 0 || reference <= 0)
            std::printf("  %-58s %10s     [%s]\n", what, "n/a", aim);
        else
            std::printf("  %-58s %10.2f x   [%s]\n", what, measured / reference, aim);
    }

    static void Value(const char* what, double value, const char* unit, const char* aim)
    {
        if (value < 0)
            std::printf("  %-58s %10s     [%s]\n", what, "n/a", aim);
        else
            std::printf("  %-58s %10.2f %-3s [%s]\n", what, value, unit, aim);
    }

private:
    std::map<std::string, double> m_nanoseconds;
    std::map<std::string, double> m_counters;
};

} // namespace TesselBench
