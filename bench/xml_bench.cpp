// What every text and attribute of a manifest goes through.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "foundation/file_path.h"
#include "foundation/xml_escape.h"
#include "foundation/xml_writer.h"
#include "support/temp_folder.h"

namespace {

constexpr std::u16string_view kPlain =
    uR"(%CSIDL_PROGRAM_FILES%\Example Company\Viewer\Module.dll)";
constexpr std::u16string_view kLines =
    u"A text ~ of two lines\r\nand a tab\t in the second of them";
constexpr std::u16string_view kEscaped = u"A text ~~ of two lines~000d~000aand a tab~0009 in them";

void EscapeText(benchmark::State& state, std::u16string_view text) {
    std::u16string escaped;
    for (auto _ : state) {
        benchmark::DoNotOptimize(EscapeXmlText(text, escaped));
    }
}
BENCHMARK_CAPTURE(EscapeText, Plain, kPlain);
BENCHMARK_CAPTURE(EscapeText, Lines, kLines);

// With a copy of the text in each round.
void UnescapeText(benchmark::State& state, std::u16string_view source) {
    for (auto _ : state) {
        CStrW text(source);
        UnescapeXmlText(text);
        benchmark::DoNotOptimize(text.Get());
    }
}
BENCHMARK_CAPTURE(UnescapeText, Plain, kPlain);
BENCHMARK_CAPTURE(UnescapeText, Lines, kEscaped);

// A file of elements with two attributes each, as those of captured files.
void WriteElements(benchmark::State& state) {
    constexpr int kElements = 1000;
    const CTempFolder folder;
    const CFilePathW file(folder.Name("manifest.orv"));
    CXmlWriter writer;
    writer.SetTextFilter(&EscapeXmlText);
    for (auto _ : state) {
        if (writer.Open(file) != 0) {
            state.SkipWithError("cannot write to the temporary folder");
            break;
        }
        writer.StartDocument();
        writer.StartElement(u"CreateFiles", true);
        for (int i = 0; i < kElements; ++i) {
            writer.StartElement(u"File", false);
            writer.WriteAttribute(u"Target", kPlain);
            writer.WriteAttribute(u"RelativeSource", kPlain.substr(1));
            writer.EndElement(true);
        }
        writer.EndDocument();
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(WriteElements)->Unit(benchmark::kMicrosecond);

}  // namespace
