// Any bytes as an object file: checked, rebuilt, opened, read, written to and closed.
#include "memory_files.h"
#include "support/store_use.h"

#include <cstdint>
#include <vector>

// Most of a run's time was spent in the quarantine, in stacks of allocations and in filling them.
// ASAN_OPTIONS overrides this, where a finding needs the whole stack.
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=1:malloc_context_size=1:max_malloc_fill_size=0";
}

// Weighing the seeds by how rare their features are takes as long as the run itself. What the
// command line says comes later and overrides this.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    static char without_weights[] = "-entropic=0";
    static std::vector<char*> extended(*arguments, *arguments + *count);
    extended.insert(extended.begin() + 1, without_weights);
    extended.push_back(nullptr);
    *count = static_cast<int>(extended.size()) - 1;
    *arguments = extended.data();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static velm_fuzz::MemoryFiles files;
    files.reset("/store", std::string(reinterpret_cast<const char*>(data), size));
    velm_test::use_store("/store", "/rebuilt");
    return 0;
}
