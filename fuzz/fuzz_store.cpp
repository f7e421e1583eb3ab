// Any bytes as an object file: checked, rebuilt, opened, read, written to and closed.
#include "support/store_use.h"
#include "support/temporary_folder.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const velm_test::TemporaryFolder folder;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    velm_test::use_store(folder.file("store", bytes), folder.path("rebuilt"));
    return 0;
}
