// report_page.h: `ReportPage`, the whole report of an inspection as one HTML page.
#pragma once

#include "inspect/picture/page_pictures.h"
#include "inspect/picture/report_head.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// The contents of a page, texts unescaped: the page escapes them, except the pictures.
struct ReportPage {
    struct Row {
        std::string id;
        std::vector<std::string> cells; ///< numbers, one per column; may be empty
        std::optional<bool> in_tolerance;
    };
    /// A table; all of its rows show the same.
    struct Points {
        std::string heading;
        std::vector<std::string> columns; ///< heads of the cells: the judged values first
        std::vector<Row> rows;            ///< all, or the worst of very many
        std::string name = "id";          ///< head of the first column
    };

    ReportHead head;
    std::vector<FigureLine> figures;
    std::vector<Points> groups; ///< the worst points, parts and features, on the first page
    PagePictures pictures;
    std::vector<Points> tables;
    std::uint64_t count = 0; ///< of all points; if the tables have fewer, they are the worst
    bool is_judged = false;
    HeadLines provenance;

    /// One HTML 5 file that asks the network for nothing: verdict and head, drawing, legend,
    /// histogram, figures, tables, provenance; light or dark as the reader's system is set, light
    /// in print. A small script sorts a table by any column and filters it by tolerance; without it
    /// the points out of tolerance come first.
    std::string html() const;
};

} // namespace velm::inspect
