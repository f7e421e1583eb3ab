#include "inspect/report/summary_table.h"

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"

namespace velm::inspect {

std::string summary_text(const ReportHead& head, const std::vector<FigureLine>& figures,
                         std::size_t worst, std::uint64_t count) {
    std::string out;
    if (worst > 0)
        out = "(the " + std::to_string(worst) + " worst of " + grouped(count, ",") + " points)\n";
    out += "\n" + terminal_text(head.subtitle) + "\n" + terminal_text(head.verdict.sentence) + "\n";
    for (const auto& [name, value] : head.lines)
        out += terminal_text(name) + ": " + terminal_text(value) + "\n";
    Table table({{"", false}, {""}, {"", false}});
    for (const FigureLine& line : figures)
        table.add({line.name, line.value, line.note});
    return out + "\n" + table.text();
}

} // namespace velm::inspect
