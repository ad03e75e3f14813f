// The time of creating records, compared with that of parsing the bare tree: `parsing DOCUMENT…` (documents written by
// generate-feeds).

#include "Podcasts.Core.Parsers.h"
#include "VEXA.Runtime.Encoding.h"
#include "VEXA.Runtime.HtmlEntities.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Documents;

std::size_t TotalSize() {
    std::size_t size = 0;
    for (const auto& document : Documents) size += document.size();
    return size;
}

void SetBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * TotalSize()));
}

/// The lower bound: only the tree, from text that needs no decoding. Copying the text, which is parsed in place, is not
/// counted.
void BareTree(benchmark::State& state) {
    for (auto _ : state) {
        for (const auto& document : Documents) {
            state.PauseTiming();
            std::string text = document;
            auto tree = std::make_unique<pugi::xml_document>();
            state.ResumeTiming();
            benchmark::DoNotOptimize(
                tree->load_buffer_inplace(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8));
            state.PauseTiming();
            tree.reset();
            state.ResumeTiming();
        }
    }
    SetBytes(state);
}
BENCHMARK(BareTree)->Unit(benchmark::kMillisecond);

void Decoding(benchmark::State& state) {
    for (auto _ : state) {
        for (const auto& document : Documents) {
            std::string text = vexa::DecodeXml(document);
            vexa::ReplaceHtmlEntities(text);
            benchmark::DoNotOptimize(text.data());
        }
    }
    SetBytes(state);
}
BENCHMARK(Decoding)->Unit(benchmark::kMillisecond);

/// Reads fields, dates, durations and GUIDs from finished trees.
void Records(benchmark::State& state) {
    std::vector<std::unique_ptr<vexa::XmlDocument>> trees;
    for (const auto& document : Documents)
        trees.push_back(std::make_unique<vexa::XmlDocument>(QByteArray::fromStdString(document)));
    for (auto _ : state) {
        for (const auto& tree : trees) {
            auto feed = podcasts::TPodcastParser::ParseDocument(*tree);
            benchmark::DoNotOptimize(feed.get());
            state.PauseTiming();
            feed.reset();
            state.ResumeTiming();
        }
    }
    SetBytes(state);
}
BENCHMARK(Records)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        Documents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    if (Documents.empty()) return 2;
    benchmark::RunSpecifiedBenchmarks();
}
