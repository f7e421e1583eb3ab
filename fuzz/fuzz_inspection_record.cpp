// Any bytes as an object file: each inspection that it seems to hold is reported or refused, of
// whichever kind it is.
#include "inspect/inspection/report.h"
#include "inspect/inspection/reported_kinds.h"
#include "inspect/keep/store_file.h"
#include "support/temporary_folder.h"

#include <cstdint>

using namespace velm::inspect;

namespace {

// Whether a refusal is of that inspection, so that another may follow.
bool names(const std::string& refusal, long inspection) {
    return refusal.find("inspection " + std::to_string(inspection)) != std::string::npos;
}

} // namespace

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
            more = names(failure.what(), number);
        } catch (const StoreRefusal& refusal) {
            more = names(refusal.why, number);
        } catch (OutputFault) {
            // surfaces have no picture of their own
        }
    }
    return 0;
}
