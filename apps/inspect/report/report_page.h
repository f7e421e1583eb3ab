// report_page.h: `ReportPage`, the whole report of an inspection as one HTML page.
#pragma once

#include "inspect/picture/page_pictures.h"
#include "velm/inspection/summary.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velm::inspect {

/// The contents of a page, texts unescaped: the page escapes them, except the pictures.
struct ReportPage {
    struct Row {
        std::string id;
        std::vector<std::string> cells; ///< numbers, one per column; may be empty
        std::optional<bool> in_tolerance;
    };

    std::string title, subtitle;
    PagePictures pictures;
    std::vector<std::string> columns; ///< heads of the cells: the judged values first
    std::vector<Row> rows;            ///< all, or the worst of very many
    std::vector<std::pair<std::string, std::string>> provenance;

    /// One HTML 5 file that asks the network for nothing: verdict, drawing, legend, histogram,
    /// summary, table, provenance; light or dark as the reader's system is set, light in print. A
    /// small script sorts the table by any column and filters it by tolerance; without it all rows
    /// are in their order. If there are fewer rows than the summary counts, the table says that
    /// they are the worst.
    std::string html(const Summary& summary) const;
};

} // namespace velm::inspect
