// outline_forms.h: the names of the forms of nominal files.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "inspect/result/contour.h"

namespace velm::inspect {

/// By the names that --form takes and files keep: they must never change.
inline constexpr std::pair<const char*, OutlineForm> outline_forms[] = {
    {"auto", OutlineForm::automatic}, {"contours", OutlineForm::contours},
    {"round", OutlineForm::round},    {"runs", OutlineForm::runs},
    {"arcs", OutlineForm::arcs},      {"pieces", OutlineForm::pieces}};

inline std::optional<OutlineForm> form_of_name(const std::string& name) {
    for (const auto& [known, form] : outline_forms)
        if (name == known) return form;
    return std::nullopt;
}

inline const char* name_of_form(OutlineForm form) {
    return outline_forms[static_cast<int>(form)].first;
}

} // namespace velm::inspect
