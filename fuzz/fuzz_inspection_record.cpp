// Any bytes as an object file: each inspection that it seems to hold is reported or refused, of
// whichever kind it is.
#include "inspect/inspection/report.h"
#include "support/temporary_folder.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace velm::inspect;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const velm_test::TemporaryFolder folder;
    ReportOptions options;
    options.store = folder.file("store", std::string(reinterpret_cast<const char*>(data), size));
    options.paths.json = options.paths.csv = options.paths.html = "/dev/null";
    options.paths.quiet = true;
    bool more = true;
    for (long run = 2; more && run < 18; ++run) {
        const long number = run / 2;
        options.number = number;
        options.paths.svg.reset();
        if (run % 2 != 0) options.paths.svg = "/dev/null";
        try {
            Progress progress(false);
            report_stored(options, progress);
        } catch (const Failure& failure) {
            if (failure.kind() == FailureKind::usage) std::abort();
            more = std::string(failure.what()).find("inspection " + std::to_string(number)) !=
                   std::string::npos;
        }
    }
    return 0;
}
