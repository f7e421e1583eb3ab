#include "inspect/input/reference_table.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/plain_fields.h"
#include "inspect/input/text_source.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <string_view>

namespace velm::inspect {
namespace {

enum Title : std::size_t { id, x, y, z, i, j, k, face, holds };
constexpr std::string_view titles[] = {"id", "x", "y", "z", "i", "j", "k", "face", "holds"};
constexpr std::size_t absent = static_cast<std::size_t>(-1);

class ReferenceTable {
public:
    explicit ReferenceTable(const std::string& path) : source_(path) { column_.fill(absent); }

    std::vector<ReferenceRow> rows() {
        std::vector<ReferenceRow> rows;
        for (std::string_view line; source_.next_line(line);) {
            line = trimmed(line);
            if (line.empty() || line.front() == '#') continue;
            fields_ = plain_fields(line);
            if (column_[id] == absent)
                read_header();
            else
                rows.push_back(row());
        }
        if (rows.empty()) source_.refuse_whole("holds no reference points");
        return rows;
    }

private:
    void read_header() {
        for (std::size_t c = 0; c < fields_.size(); ++c) {
            const auto* const title = std::find(std::begin(titles), std::end(titles), fields_[c]);
            if (title != std::end(titles))
                column_[static_cast<std::size_t>(title - std::begin(titles))] = c;
        }
        for (const Title needed : {id, x, y, z})
            if (column_[needed] == absent)
                source_.refuse("expected a header with the columns id, x, y, z, and i, j, k or "
                               "face; missing: " +
                               std::string(titles[needed]));
    }

    std::string_view field(Title title) const {
        return column_[title] < fields_.size() ? fields_[column_[title]] : std::string_view();
    }
    double number(Title title) const {
        const ParsedNumber parsed = parse_number(field(title));
        if (!parsed)
            source_.refuse("column " + std::string(titles[title]) + ": " +
                           number_complaint(field(title), parsed.fault));
        return parsed.value;
    }

    ReferenceRow row() const {
        ReferenceRow row;
        row.line = source_.line_number();
        row.id = field(id);
        row.nominal = ERPoint3D(number(x), number(y), number(z));
        row.face = field(face);
        if (!field(i).empty() || !field(j).empty() || !field(k).empty()) {
            const ERVector3D direction(number(i), number(j), number(k));
            const double length = std::hypot(direction.i(), direction.j(), direction.k());
            if (!(length > 0.0) || !std::isfinite(length))
                source_.refuse("its direction has no length");
            row.direction = direction * (1.0 / length);
        }
        const std::string_view held = field(holds).empty() ? "N" : field(holds);
        for (const char letter : held) {
            if (letter == 'N' || letter == 'n')
                row.holds_normal = true;
            else if (letter >= 'X' && letter <= 'Z')
                row.holds_axis[letter - 'X'] = true;
            else if (letter >= 'x' && letter <= 'z')
                row.holds_axis[letter - 'x'] = true;
            else if (letter != ' ' && letter != '+')
                source_.refuse("column holds: expected letters of N, X, Y, Z, found '" +
                               clipped(held, 40) + "'");
        }
        if (row.holds_normal && !row.direction && row.face.empty())
            source_.refuse("holds its direction, but has neither i, j, k nor a face");
        return row;
    }

    TextSource source_;
    std::vector<std::string_view> fields_;
    std::array<std::size_t, std::size(titles)> column_{};
};

} // namespace

std::vector<ReferenceRow> read_references(const std::string& path) {
    return ReferenceTable(path).rows();
}

} // namespace velm::inspect
