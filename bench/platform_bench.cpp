// What the core asks of the machine for each entry, key and value.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/text.h"
#include "support/temp_folder.h"

namespace {

constexpr std::u16string_view kLower = u"threadingmodel";
constexpr std::u16string_view kMixed = u"ThreadingModel";
constexpr std::u16string_view kOther = u"ThreadingModes";
constexpr std::u16string_view kUmlauts = u"\u00DCbersicht der Ger\u00E4te";
constexpr std::u16string_view kLowerUmlauts = u"\u00FCbersicht der ger\u00E4te";

void EqualText(benchmark::State& state, std::u16string_view left, std::u16string_view right) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::EqualText(left, right));
    }
}
BENCHMARK_CAPTURE(EqualText, CaseDiffers, kMixed, kLower);
BENCHMARK_CAPTURE(EqualText, LastUnitDiffers, kMixed, kOther);
BENCHMARK_CAPTURE(EqualText, BeyondAscii, kUmlauts, kLowerUmlauts);

void CompareText(benchmark::State& state, std::u16string_view left, std::u16string_view right) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::CompareText(left, right, true));
    }
}
BENCHMARK_CAPTURE(CompareText, CaseDiffers, kMixed, kLower);
BENCHMARK_CAPTURE(CompareText, LastUnitDiffers, kMixed, kOther);
BENCHMARK_CAPTURE(CompareText, BeyondAscii, kUmlauts, kLowerUmlauts);

// Looks something up beside the files of a captured folder.
void FindEntry(benchmark::State& state, std::string_view end) {
    const CTempFolder folder;
    for (int i = 0; i < 20; ++i) {
        folder.WriteFile("Captured/Module " + std::to_string(i) + ".dll");
    }
    const std::u16string name = folder.Name("Captured/Module 7" + std::string(end));
    platform::SFindData found;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::FindEntry(name.c_str(), found));
    }
}
BENCHMARK_CAPTURE(FindEntry, File, ".dll");
BENCHMARK_CAPTURE(FindEntry, OtherCase, ".DLL");
BENCHMARK_CAPTURE(FindEntry, MissingFile, ".exe");

// What a walk asks of each file.
void FindStream(benchmark::State& state) {
    const CTempFolder folder;
    folder.WriteFile("Captured/Module.dll");
    platform::CFindHandle search;
    platform::SFindData found;
    int status = search.First(folder.Name("Captured/M*").c_str(), found);
    bool exists = false;
    for (auto _ : state) {
        status |= search.FindStream(found, u"CTX_FILE_DELETE_MARKER", exists);
        benchmark::DoNotOptimize(status);
    }
}
BENCHMARK(FindStream);

}  // namespace
