// json_report.h: `JsonReport`, an inspection as JSON.
#pragma once

#include "inspect/base/output_set.h"
#include "velm/inspection/field.h"

#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// {"velm":...,"command":"section", the fields of the head, "points":[{the fields of a row}, ...],
/// "summary":{the figures}, the late fields of the head}, written row by row. Texts are strings,
/// doubles read back exactly, a field without a value is null. The form is fixed; new fields come
/// with the description of the head or row.
class JsonReport {
public:
    /// `list` is the name of the rows. The head must outlive the report.
    JsonReport(Output& output, std::string_view command, const Described& head,
               std::string_view list = "points");
    void add(const Described& row);
    void finish(const Described& figures);
    /// A list that comes after the summary, or before it.
    template <class Subject>
    void add_list(std::string_view name, const std::vector<Subject>& subjects,
                  bool before_summary = false) {
        std::string& lists = before_summary ? lists_before_ : lists_after_;
        begin_list(lists, name);
        for (const Subject& subject : subjects)
            add_to_list(lists, describe(subject));
        lists += subjects.empty() ? "]" : "\n ]";
    }

private:
    static void begin_list(std::string& lists, std::string_view name);
    void add_to_list(std::string& lists, const Described& subject) const;

    std::string lists_before_, lists_after_; // the summary
    Output& output_;
    Described head_;
    bool ascii_; // a terminal gets no control bytes
    std::string text_;
    bool is_first_ = true;
};

} // namespace velm::inspect
