// dxf_groups.h: the groups and entities of a drawing interchange file: `DxfGroup`, `DxfEntity`,
// `DxfGroups`.
#pragma once

#include "inspect/input/text_source.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// One group: a code line and a value line.
struct DxfGroup {
    int code = 0;
    std::string text;     ///< without blanks around it
    std::size_t line = 0; ///< of the value, from 1
};

/// A group of code 0 with all groups up to the next one.
struct DxfEntity {
    std::string type;
    std::size_t line = 0;
    std::vector<DxfGroup> groups;

    /// The first group with this code, null if there is none.
    const DxfGroup* find(int code) const;
    /// The text of the first group with this code, or `otherwise`.
    std::string_view text(int code, std::string_view otherwise = {}) const;
};

/// Reads a file group by group.
class DxfGroups {
public:
    explicit DxfGroups(TextSource& source) : source_(source) {}

    /// The next entity, section mark or end mark; false at the end of the file. Comments (code 999)
    /// are skipped. Throws `Failure` (input) with the line for a code that is no whole number, and
    /// for a code without a value.
    bool next(DxfEntity& entity);

    /// The number of a group. Throws `Failure` (input) with the line, the code and the entity.
    double number(const DxfEntity& entity, const DxfGroup& group) const;
    /// The number of the first group with this code, or `otherwise`.
    double number(const DxfEntity& entity, int code, double otherwise) const;
    /// The same for a whole number of magnitude up to 10^6.
    int count(const DxfEntity& entity, int code, int otherwise) const;
    /// The number of a group that the entity must have.
    double required(const DxfEntity& entity, int code) const;

    [[noreturn]] void refuse(const DxfEntity& entity, const std::string& why) const;

private:
    bool read(DxfGroup& group);

    TextSource& source_;
    DxfGroup start_; // of the entity to come
    bool started_ = false;
};

} // namespace velm::inspect
