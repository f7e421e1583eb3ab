// report_rows.h: rows read back handed on to the outputs: `report_rows`.
#pragma once

#include <cstdint>

#include "inspect/base/failure.h"
#include "inspect/base/progress.h"

namespace velm::inspect {

/// Hands on all rows of a reader and ends as the run did. `update` shows the progress after so many
/// rows.
template <class Row, class Reader, class Outputs, class Update>
ExitCode report_rows(Reader& reader, Outputs& outputs, bool quiet, Update update) {
    Progress progress(!quiet);
    Row row;
    for (std::uint64_t count = 1; reader.next(row); ++count) {
        outputs.add(row);
        update(progress, count);
    }
    progress.clear();
    outputs.finish();
    return outputs.summary().out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

} // namespace velm::inspect
