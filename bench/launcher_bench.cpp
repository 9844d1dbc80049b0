// Measures the operations of a start whose work grows with what is configured or installed. Each is measured for
// several sizes, so that the run itself shows the growth. Accepts Google Benchmark's options; ends with status 1 if an
// aim was missed.

#include "mac_installer/launcher/Launcher.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using kestrav::Launcher;
using kestrav::tests::TemporaryDirectory;
namespace testing = kestrav::platform::testing;

constexpr const char *plistStart = "<plist version=\"1.0\"><dict>";
constexpr const char *plistEnd = "</dict></plist>";

void useEnvironment() {
    constexpr int variables = 50;
    std::map<std::string, std::string, std::less<>> environment;
    for (int i = 0; i < variables; ++i) {
        environment["BENCH_VARIABLE_" + std::to_string(i)] = "value " + std::to_string(i);
    }
    testing::setEnvironment(std::move(environment));
}

/// Makes the main bundle, with a minimum version that no runtime has.
void useBundle(const TemporaryDirectory &folder) {
    folder.write("Bench.app/Contents/Info.plist",
                 std::string(plistStart) + "<key>ksv.minVersion</key><string>99</string>" + plistEnd);
    testing::replacements().mainBundle = kestrav::platform::Bundle::create(folder / "Bench.app");
}

std::string optionLines(std::int64_t count, bool variables) {
    std::string content;
    for (std::int64_t i = 0; i < count; ++i) {
        content += "-Dorg.example.option" + std::to_string(i) + "=";
        content += variables ? "${BENCH_VARIABLE_" + std::to_string(i % 60) + "} in $APP_PACKAGE\n" : "plain text\n";
    }
    return content;
}

/// What an options file is compared with: the same file, read line by line.
void lines(benchmark::State &state, bool variables) {
    const TemporaryDirectory folder;
    const std::string path = folder.write("options", optionLines(state.range(0), variables));
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::vector<std::string> found;
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            found.push_back(line);
        }
        benchmark::DoNotOptimize(found);
    }
}

void optionsFile(benchmark::State &state, bool variables) {
    const TemporaryDirectory folder;
    useBundle(folder);
    useEnvironment();
    const std::string file = folder.write("options", optionLines(state.range(0), variables));
    const auto launcher = Launcher::launcher();
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::vector<std::string> options;
        benchmark::DoNotOptimize(launcher->readOptionsFile(file, options, {}, folder / "Bench.app"));
        if (options.size() != static_cast<std::size_t>(state.range(0))) {
            state.SkipWithError("not every line became an option");
        }
    }
    state.SetComplexityN(state.range(0));
}

void classPath(benchmark::State &state) {
    const TemporaryDirectory folder;
    for (int i = 0; i < state.range(0); ++i) {
        folder.write("archive" + std::to_string(i) + ".jar", "");
    }
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(Launcher::resolveArtifactPath(folder / "*"));
    }
    state.SetComplexityN(state.range(0));
}

/// Looks at every runtime in a folder and refuses them all.
void runtimes(benchmark::State &state) {
    const TemporaryDirectory folder;
    useBundle(folder);
    useEnvironment();
    testing::replacements().systemRoot = folder / "root";
    for (int i = 0; i < state.range(0); ++i) {
        const std::string version = "17.0." + std::to_string(i);
        const std::string runtime = "root/usr/lib/jvm/jdk-" + version;
        if (i % 2 == 0) {
            folder.write(runtime + "/release", "IMPLEMENTOR=\"Example\"\nJAVA_VERSION=\"" + version + "\"\n");
        } else {
            folder.write(runtime + "/Contents/Info.plist", std::string(plistStart) +
                                                               "<key>JavaVM</key><dict><key>JVMVersion</key><string>" +
                                                               version + "</string></dict>" + plistEnd);
        }
    }
    const auto launcher = Launcher::launcher();
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        if (launcher->findJavaBundle(false)) {
            state.SkipWithError("a runtime was accepted");
        }
    }
    testing::replacements().systemRoot = "";
    state.SetComplexityN(state.range(0));
}

BENCHMARK_CAPTURE(lines, plain, false)->Arg(100'000);
BENCHMARK_CAPTURE(lines, variables, true)->Arg(100'000);
BENCHMARK_CAPTURE(optionsFile, plain, false)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(optionsFile, variables, true)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity(benchmark::oN);
BENCHMARK(classPath)->Arg(200)->Arg(2'000)->Arg(20'000)->Complexity(benchmark::oN);
BENCHMARK(runtimes)->Arg(10)->Arg(100)->Arg(1'000)->Complexity(benchmark::oN);

/// Prints the table and keeps the time of each size; processor time, so that other work on the machine does not count.
class Table : public benchmark::ConsoleReporter {
public:
    Table() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run> &reports) override {
        for (const Run &report : reports) {
            failed = failed || report.error_occurred;
            if (report.run_type == Run::RT_Iteration) {
                seconds[report.benchmark_name()] = report.cpu_accumulated_time / static_cast<double>(report.iterations);
            }
        }
        ConsoleReporter::ReportRuns(reports);
    }
    std::map<std::string, double> seconds;
    bool failed = false;
};

/// Compares two benchmarks of the same run.
bool takesOf(const Table &table, const std::string &name, const std::string &other, double limit) {
    const auto found = table.seconds.find(name);
    const auto base = table.seconds.find(other);
    if (found == table.seconds.end() || base == table.seconds.end()) {
        return true; // left out by a filter
    }
    const double ratio = found->second / base->second;
    std::printf("%s: %s, of %s %.3g, at most %g\n", ratio <= limit ? "met" : "MISSED", name.c_str(), other.c_str(),
                ratio, limit);
    return ratio <= limit;
}

/// Ten times the work takes ten times as long; the rest allows for a busy machine.
bool growsEvenly(const Table &table, const std::string &name, int smaller, int larger) {
    constexpr double tolerance = 2.0;
    const auto small = table.seconds.find(name + "/" + std::to_string(smaller));
    const auto large = table.seconds.find(name + "/" + std::to_string(larger));
    if (small == table.seconds.end() || large == table.seconds.end()) {
        return true;
    }
    const double growth = large->second / small->second;
    const double even = static_cast<double>(larger) / smaller;
    const bool met = growth < tolerance * even;
    std::printf("%s: %s grows evenly (%.0f times the work takes %.1f times as long)\n", met ? "met" : "MISSED",
                name.c_str(), even, growth);
    return met;
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    bool met = !table.failed;
    for (const auto &[kind, limit] : {std::pair("plain", 6.0), std::pair("variables", 16.0)}) {
        const std::string name = std::string("optionsFile/") + kind;
        met = takesOf(table, name + "/100000", std::string("lines/") + kind + "/100000", limit) && met;
        met = growsEvenly(table, name, 1'000, 100'000) && met;
    }
    met = growsEvenly(table, "classPath", 200, 20'000) && met;
    met = growsEvenly(table, "runtimes", 10, 1'000) && met;
    return met ? 0 : 1;
}
