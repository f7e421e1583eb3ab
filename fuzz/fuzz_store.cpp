// Any bytes as an object file: checked, rebuilt, opened, read, written to and closed.
#include "memory_files.h"
#include "support/store_use.h"

#include <cstdint>

// Most of a run's time was spent in the quarantine and in stacks of allocations. ASAN_OPTIONS
// overrides this, where a finding needs the whole stack.
extern "C" const char* __asan_default_options() {
    return "quarantine_size_mb=4:malloc_context_size=4";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static velm_fuzz::MemoryFiles files;
    files.reset("/store", std::string(reinterpret_cast<const char*>(data), size));
    velm_test::use_store("/store", "/rebuilt");
    return 0;
}
