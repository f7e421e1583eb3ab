#include "inspect/result/fit_result.h"

namespace velm::inspect {

std::string_view kind_name(FitKind kind) {
    return choice_names(kind)[static_cast<std::size_t>(kind)];
}

FitRow FitResult::row(const FitPoints& points, std::size_t index) const {
    FitRow row;
    row.index = index;
    row.id = points.ids[index];
    row.measured = points.places[index];
    row.deviation = residuals[index];
    judge(row, head);
    return row;
}

} // namespace velm::inspect
