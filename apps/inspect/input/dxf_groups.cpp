#include "inspect/input/dxf_groups.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <charconv>
#include <cmath>

namespace velm::inspect {
namespace {

std::string_view without_blanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

constexpr int comment_code = 999;

} // namespace

const DxfGroup* DxfEntity::find(int code) const {
    for (const DxfGroup& group : groups)
        if (group.code == code) return &group;
    return nullptr;
}

std::string_view DxfEntity::text(int code, std::string_view otherwise) const {
    const DxfGroup* const group = find(code);
    return group ? std::string_view(group->text) : otherwise;
}

bool DxfGroups::read(DxfGroup& group) {
    std::string_view line;
    do {
        if (!source_.next_line(line)) return false;
        const std::string_view code = without_blanks(line);
        const auto [end, fault] =
            std::from_chars(code.data(), code.data() + code.size(), group.code);
        if (fault != std::errc() || end != code.data() + code.size())
            source_.refuse("expected a group code of a DXF file, a whole number, found '" +
                           std::string(code.substr(0, 40)) + "'");
        if (!source_.next_line(line))
            source_.refuse("the DXF file ends after a group code, before its value");
    } while (group.code == comment_code);
    group.text = without_blanks(line);
    group.line = source_.line_number();
    return true;
}

bool DxfGroups::next(DxfEntity& entity) {
    if (!started_) {
        started_ = true;
        if (!read(start_)) return false;
        if (start_.code != 0)
            source_.refuse("expected group code 0, which starts a section of a DXF file");
    } else if (start_.code != 0) {
        return false;
    }
    entity.type = std::move(start_.text);
    entity.line = start_.line;
    entity.groups.clear();
    DxfGroup group;
    while (read(group)) {
        if (group.code == 0) {
            start_ = std::move(group);
            return true;
        }
        entity.groups.push_back(std::move(group));
    }
    start_.code = -1; // the file has ended
    return true;
}

double DxfGroups::number(const DxfEntity& entity, const DxfGroup& group) const {
    const ParsedNumber number = parse_number(group.text);
    if (!number)
        source_.refuse_at(group.line, "group " + std::to_string(group.code) + " of " + entity.type +
                                          ": " + number_complaint(group.text, number.fault));
    return number.value;
}

double DxfGroups::number(const DxfEntity& entity, int code, double otherwise) const {
    const DxfGroup* const group = entity.find(code);
    return group ? number(entity, *group) : otherwise;
}

int DxfGroups::count(const DxfEntity& entity, int code, int otherwise) const {
    const double value = number(entity, code, otherwise);
    if (value != std::floor(value) || std::fabs(value) > 1e6)
        refuse(entity, "group " + std::to_string(code) + " of " + entity.type +
                           " is not a whole number up to 1000000");
    return static_cast<int>(value);
}

double DxfGroups::required(const DxfEntity& entity, int code) const {
    const DxfGroup* const group = entity.find(code);
    if (!group) refuse(entity, entity.type + " without its group " + std::to_string(code));
    return number(entity, *group);
}

void DxfGroups::refuse(const DxfEntity& entity, const std::string& why) const {
    source_.refuse_at(entity.line, why);
}

} // namespace velm::inspect
