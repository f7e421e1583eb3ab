// table.h: `Table`, text in aligned columns for a terminal.
#pragma once

#include <string>
#include <vector>

namespace velm::inspect {

/// Gathers rows of cells and prints them in columns separated by two blanks. Cells pass through
/// `terminal_text`; long ones are cut. Without heads there is no line for them.
class Table {
public:
    struct Column {
        std::string head;
        bool right = true; ///< aligned to the right, as numbers are
    };
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}
    void add(std::vector<std::string> cells);
    std::string text() const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace velm::inspect
