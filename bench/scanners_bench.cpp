// The scanners over texts of 1 kB to 64 MB; BigO is fitted, and has to come out as N.
#include <benchmark/benchmark.h>

#include <string>

#include "bridge/json_scan.h"
#include "catalog/catalog_scan.h"

namespace quillmere {
namespace {

std::string repeated(const std::string& head, const std::string& piece, std::size_t bytes) {
  std::string text = head;
  while (text.size() < bytes) text += piece;
  return text;
}

void over(benchmark::State& state, const std::string& head, const std::string& piece,
          void (*scan)(const std::string&)) {
  const std::string text = repeated(head, piece, static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) scan(text);
  state.SetComplexityN(state.range(0));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void scanMessage(const std::string& text) {
  benchmark::DoNotOptimize(FindJsonString(text, "message"));
}
void scanCatalog(const std::string& text) {
  benchmark::DoNotOptimize(ScanCatalog(text));
}

void ValueCutOffAmongEscapes(benchmark::State& state) {
  over(state, "{\"message\":\"", "\\\"", scanMessage);
}
void KeyWithoutAValue(benchmark::State& state) {
  over(state, "{", "\"message\": \n,", scanMessage);
}
void WholeCatalog(benchmark::State& state) {
  over(state, "[", R"({"id":"a-b-c","name":"A workflow"},)", scanCatalog);
}
void CatalogOfOneOpenObject(benchmark::State& state) {
  over(state, "{", R"("id":"a","name":"b",)", scanCatalog);
}
void CatalogOfBraces(benchmark::State& state) {
  over(state, "", "{\"id\":\"{", scanCatalog);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(16)->Range(1 << 10, 64 << 20)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
}
BENCHMARK(ValueCutOffAmongEscapes)->Apply(sizes);
BENCHMARK(KeyWithoutAValue)->Apply(sizes);
BENCHMARK(WholeCatalog)->Apply(sizes);
BENCHMARK(CatalogOfOneOpenObject)->Apply(sizes);
BENCHMARK(CatalogOfBraces)->Apply(sizes);

}  // namespace
}  // namespace quillmere
