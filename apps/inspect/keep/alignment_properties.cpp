#include "inspect/keep/alignment_properties.h"

#include <algorithm>

namespace velm::inspect {
namespace {

RecordKey behind(RecordKey first, int count) {
    return static_cast<RecordKey>(static_cast<long>(first) + count);
}

// Each number of an alignment with its key, in one list for both ways.
template <class Alignment, class Visit>
void each_number(Alignment& alignment, Visit visit) {
    visit(RecordKey::alignment_threshold, alignment.threshold);
    visit(RecordKey::alignment_last_step, alignment.last_step);
    for (int n = 0; n < 9; ++n)
        visit(behind(RecordKey::alignment_rotation, n), alignment.rotation[n / 3][n % 3]);
    for (int n = 0; n < 3; ++n)
        visit(behind(RecordKey::alignment_translation, n), alignment.translation[n]);
    visit(RecordKey::rms_before, alignment.before.rms);
    visit(RecordKey::minimum_before, alignment.before.minimum);
    visit(RecordKey::maximum_before, alignment.before.maximum);
    visit(RecordKey::rms_after, alignment.after.rms);
    visit(RecordKey::minimum_after, alignment.after.minimum);
    visit(RecordKey::maximum_after, alignment.after.maximum);
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

} // namespace

void put_alignment(ERDBObject& record, const std::optional<AppliedAlignment>& alignment) {
    if (!alignment) return;
    put(record, RecordKey::alignment_in_plane, alignment->in_plane ? 1 : 0);
    put(record, RecordKey::alignment_iterations, alignment->iterations);
    each_number(*alignment, [&](RecordKey key, double value) { put(record, key, value); });
    std::string held;
    for (const std::string& freedom : alignment->held)
        held += freedom + "\n";
    put(record, RecordKey::alignment_held, held);
}

std::optional<AppliedAlignment> get_alignment(const RecordFields& fields) {
    if (!fields.has(RecordKey::alignment_iterations)) return {};
    AppliedAlignment alignment;
    alignment.in_plane = fields.count(RecordKey::alignment_in_plane) != 0;
    alignment.iterations = static_cast<int>(
        std::min<std::uint64_t>(fields.count(RecordKey::alignment_iterations), 0x7FFFFFFF));
    each_number(alignment, [&](RecordKey key, double& value) { value = fields.number(key); });
    alignment.held = lines_of(fields.text(RecordKey::alignment_held));
    return alignment;
}

void put_deviation_before(ERDBObject& record, const Judged& point) {
    if (point.deviation_before) put(record, RecordKey::deviation_before, *point.deviation_before);
}

void get_deviation_before(const RecordFields& fields, bool is_aligned, Judged& point) {
    point.deviation_before = fields.optional_number(RecordKey::deviation_before);
    if (point.deviation_before.has_value() != is_aligned)
        fields.refuse("expected the deviation before an alignment where there is one, and only "
                      "there");
}

void put_aligned(ERDBObject& record, const SectionRow& point) {
    put_deviation_before(record, point);
    if (!point.aligned) return;
    put(record, RecordKey::aligned_x, point.aligned->x());
    put(record, RecordKey::aligned_y, point.aligned->y());
}

void get_aligned(const RecordFields& fields, bool is_aligned, SectionRow& point) {
    get_deviation_before(fields, is_aligned, point);
    point.aligned.reset();
    if (is_aligned)
        point.aligned =
            ERPoint2D(fields.number(RecordKey::aligned_x), fields.number(RecordKey::aligned_y));
}

} // namespace velm::inspect
