// report_page.h: `ReportPage`, the whole report of an inspection as one HTML page.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "inspect/deviation_scale.h"
#include "inspect/summary.h"

namespace velm::inspect {

/// What a page shows, its texts as they are: the page escapes them, but for the picture.
struct ReportPage {
    struct Row {
        std::string id;
        std::vector<std::string> cells; ///< numbers, as many as there are columns; may be empty
        double deviation = 0.0;
        std::optional<bool> in_tolerance;
    };

    std::string title;
    std::string picture; ///< the markup of an <svg> element, with the colours of the drawings
    std::vector<std::string> columns; ///< heads of the cells, behind the id
    std::vector<Row> rows;
    std::vector<std::pair<std::string, std::string>> provenance;

    /// One HTML 5 file that asks the network for nothing: summary, picture, histogram, table,
    /// provenance; light or dark as the reader has it, light in print. A small script sorts the
    /// table by any column and filters it by tolerance; without it all rows stand in order.
    /// Above 5,000 rows the table has the worst 5,000 by severity, and says so.
    std::string html(const Summary& summary, const DeviationScale& scale,
                     const DeviationUnit& unit) const;
};

} // namespace velm::inspect
