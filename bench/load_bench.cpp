// SPDX-License-Identifier: MIT
// What loading and unloading the library costs beside a library that holds nothing.
#include <benchmark/benchmark.h>

#include <dlfcn.h>

namespace {

void Load(benchmark::State& state, const char* library) {
    for ([[maybe_unused]] auto _ : state) {
        void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            state.SkipWithError(dlerror());
            return;
        }
        dlclose(handle);
    }
}

BENCHMARK_CAPTURE(Load, QxUUI10, QX_LIBRARY)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Load, empty_library, QX_EMPTY_LIBRARY)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
