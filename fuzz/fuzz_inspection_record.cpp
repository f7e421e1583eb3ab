// Any bytes as an object file: each inspection that it seems to hold is reported or refused.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "inspect/report.h"
#include "support/temporary_folder.h"

using namespace velm::inspect;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const velm_test::TemporaryFolder folder;
    ReportOptions options;
    options.store = folder.file("store", std::string(reinterpret_cast<const char*>(data), size));
    options.paths.json = options.paths.csv = options.paths.svg = "/dev/null";
    options.paths.quiet = true;
    bool more = true;
    for (long number = 1; more && number < 9; ++number) {
        options.number = number;
        try {
            report_stored(options);
        } catch (const Failure& failure) {
            if (failure.code() == ExitCode::usage) std::abort();
            more = std::string(failure.what()).find("inspection " + std::to_string(number)) !=
                   std::string::npos;
        }
    }
    return 0;
}
