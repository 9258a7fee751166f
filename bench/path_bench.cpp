// Paths and keys on their way into the manifest: what is done for each file, key and value.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "driver/reg_exclusions.h"
#include "foundation/file_path.h"
#include "foundation/file_path_converter.h"
#include "foundation/reg_path_converter.h"
#include "orvpackage/sanitizer.h"

namespace {

constexpr std::u16string_view kFile =
    uR"(C:\Program Files\Example Company\Viewer\Components\Module 12.dll)";
constexpr std::u16string_view kTokenFile =
    uR"(%CSIDL_PROGRAM_FILES%\Example Company\Viewer\Components\Module 12.dll)";
constexpr std::u16string_view kWords = u"Opens a document of Example Company in the viewer";
constexpr std::u16string_view kKey =
    uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\CLSID\{6B29FC40-CA47-1067-B31D-00DD010662DA})";
constexpr std::u16string_view kAliasKey =
    uR"(HKEY_CLASSES_ROOT\CLSID\{6B29FC40-CA47-1067-B31D-00DD010662DA})";
constexpr std::u16string_view kControlSetKey =
    uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\Example)";
constexpr std::u16string_view kNoiseKey =
    uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Windows\CurrentVersion\SideBySide\Winners)";

// A value such as a search path, of some 64 KiB.
std::u16string LongText() {
    std::u16string text;
    while (text.size() < 32768) {
        text.append(kFile).append(u";").append(kWords).append(u";");
    }
    return text;
}

// What is measured works in place, so each round pays for a copy of the text as well.
void CollapsePaths(benchmark::State& state, std::u16string_view source) {
    const CFilePathConverter converter;
    for (auto _ : state) {
        CStrW text(source);
        benchmark::DoNotOptimize(converter.CollapsePaths(text, false));
    }
}
BENCHMARK_CAPTURE(CollapsePaths, Hit, kFile);
BENCHMARK_CAPTURE(CollapsePaths, Miss, kWords);
BENCHMARK_CAPTURE(CollapsePaths, Long, LongText());

void ExpandTokens(benchmark::State& state, std::u16string_view source) {
    const CFilePathConverter converter;
    for (auto _ : state) {
        CStrW text(source);
        benchmark::DoNotOptimize(converter.ExpandTokens(text));
    }
}
BENCHMARK_CAPTURE(ExpandTokens, Hit, kTokenFile);
BENCHMARK_CAPTURE(ExpandTokens, Miss, kWords);

void ExpandKeyText(benchmark::State& state, std::u16string_view source) {
    const CRegPathConverter converter;
    for (auto _ : state) {
        CStrW text(source);
        benchmark::DoNotOptimize(converter.ExpandKeyText(text));
    }
}
BENCHMARK_CAPTURE(ExpandKeyText, Hit, kAliasKey);
BENCHMARK_CAPTURE(ExpandKeyText, Miss, kKey);

void CollapseKeyText(benchmark::State& state, std::u16string_view source) {
    const CRegPathConverter converter;
    for (auto _ : state) {
        CStrW text(source);
        benchmark::DoNotOptimize(converter.CollapseKeyText(text));
    }
}
BENCHMARK_CAPTURE(CollapseKeyText, Hit, kControlSetKey);
BENCHMARK_CAPTURE(CollapseKeyText, Miss, kKey);
BENCHMARK_CAPTURE(CollapseKeyText, NoKey, kWords);

void ParseFilePath(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(CFilePathW(kFile));
    }
}
BENCHMARK(ParseFilePath);

void PrintFilePath(benchmark::State& state) {
    const CFilePathW path(kFile);
    for (auto _ : state) {
        benchmark::DoNotOptimize(path.ToString());
    }
}
BENCHMARK(PrintFilePath);

void JoinFilePaths(benchmark::State& state) {
    const CFilePathW folder(uR"(Z:\work\output\{6B29FC40-CA47-1067-B31D-00DD010662DA})");
    const CFilePathW payload(uR"(CSIDL_PROGRAM_FILES\Example Company\Viewer\Module 12.dll)");
    for (auto _ : state) {
        benchmark::DoNotOptimize(CFilePathW(folder, payload));
    }
}
BENCHMARK(JoinFilePaths);

void Sanitize(benchmark::State& state, std::u16string_view text, std::uint32_t flags) {
    const COrvSanitizer sanitizer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(sanitizer.Sanitize(text, flags));
    }
}
BENCHMARK_CAPTURE(Sanitize, File, kFile, SanitizeNoRegPaths);
BENCHMARK_CAPTURE(Sanitize, Key, kKey, SanitizeAll);
BENCHMARK_CAPTURE(Sanitize, Words, kWords, SanitizeAll);
BENCHMARK_CAPTURE(Sanitize, Long, LongText(), SanitizeAll);

void IsExcluded(benchmark::State& state, std::u16string_view path) {
    const CRegExclusions exclusions;
    const CStrW key(path);
    for (auto _ : state) {
        benchmark::DoNotOptimize(exclusions.IsExcluded(key));
    }
}
BENCHMARK_CAPTURE(IsExcluded, Kept, kKey);
BENCHMARK_CAPTURE(IsExcluded, Noise, kNoiseKey);

}  // namespace
