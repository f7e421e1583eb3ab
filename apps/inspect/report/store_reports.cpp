#include "inspect/report/store_reports.h"

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace velm::inspect {
namespace {

using Json = nlohmann::ordered_json;

std::string count_text(long count) {
    return grouped(static_cast<std::uint64_t>(std::max(count, 0l)), ",");
}
std::string count_text(std::size_t count) { return grouped(std::uint64_t{count}, ","); }

Json faults_json(const StoreFaults& faults) {
    Json list = Json::array();
    for (const StoreFault& fault : faults.list())
        list.push_back({{"offset", fault.offset}, {"what", fault.what}});
    return list;
}

std::string faults_text(const StoreFaults& faults) {
    std::string text;
    for (const StoreFault& fault : faults.list())
        text += "offset " + std::to_string(fault.offset) + ": " + fault.what + "\n";
    if (faults.count() > faults.list().size())
        text += "and " + count_text(faults.count() - faults.list().size()) + " more\n";
    return text;
}

void add_classes(StoreAnswer& answer, const StoreReport& report) {
    Table table({{"class", false}, {"objects"}, {"signature"}, {"", false}});
    Json list = Json::array();
    for (const StoreReport::Class& c : report.classes) {
        const bool known = ERClassRegistration::findClassRegistration(c.name.c_str()) != nullptr;
        table.add({c.name, count_text(c.objects), std::to_string(c.signature),
                   known ? "" : "unknown here"});
        list.push_back({{"name", c.name},
                        {"signature", c.signature},
                        {"objects", c.objects},
                        {"known", known}});
    }
    answer.text += table.text();
    answer.json["classes"] = std::move(list);
}

struct Figure {
    const char* name;
    const char* key;
    long count;
};

void add_figures(StoreAnswer& answer, const StoreReport& report, long properties) {
    Table table({{"", false}, {""}});
    table.add({"version", std::to_string(report.version)});
    for (const Figure& figure :
         {Figure{"objects", "objects", report.objects},
          Figure{"indices", "indices", report.indices},
          Figure{"properties", "properties", properties},
          Figure{"last identifier", "last_identifier", report.last_identifier},
          Figure{"file, bytes", "file_bytes", report.file_length},
          Figure{"free, bytes", "free_bytes", report.free_bytes},
          Figure{"waste, bytes", "waste_bytes", report.waste_bytes},
          Figure{"faults", "faults", long(report.faults.count())}}) {
        table.add({figure.name, count_text(figure.count)});
        answer.json[figure.key] = figure.count;
    }
    answer.text += "\n" + table.text();
}

void add_inspections(StoreAnswer& answer, const std::vector<StoredInspection>& inspections) {
    Table table({{"record"},
                 {"inspection", false},
                 {"points"},
                 {"out of tolerance"},
                 {"verdict", false},
                 {"", false}});
    Json list = Json::array();
    for (const StoredInspection& inspection : inspections) {
        const auto points = inspection.count(RecordKey::count);
        const auto out = inspection.count(RecordKey::out_of_tolerance);
        const auto shown = [](std::optional<std::uint64_t> count) {
            return count ? grouped(*count, ",") : "-";
        };
        const auto number = [](std::optional<std::uint64_t> count) {
            return count ? Json(*count) : Json();
        };
        std::string head;
        Json info = Json::object();
        for (const NamedText& said : inspection.info()) {
            head += (head.empty() ? "" : "; ") + said.name + " " + said.text;
            info[said.name] = said.text;
        }
        const std::optional<bool> verdict = inspection.is_in_tolerance();
        table.add({std::to_string(inspection.number), inspection.title(), shown(points), shown(out),
                   !verdict   ? "-"
                   : *verdict ? "in"
                              : "OUT",
                   head});
        list.push_back({{"record", inspection.number},
                        {"kind", inspection.kind()},
                        {"title", inspection.title()},
                        {"info", info},
                        {"points", number(points)},
                        {"out_of_tolerance", number(out)},
                        {"in_tolerance", verdict ? Json(*verdict) : Json()}});
    }
    if (!list.empty()) answer.text += "\n" + table.text();
    answer.json["inspections"] = std::move(list);
}

std::string looked_at(const StoreReport& report, const RecordCheck& records) {
    return "sound: " + count_text(report.objects) + " objects, " + count_text(report.waste_bytes) +
           " bytes of waste\n"
           "looked at: trees, index and free space; " +
           count_text(records.objects) +
           " objects read into their classes, their numbers held against what these promise; " +
           count_text(records.inspections) +
           (records.inspections == 1 ? " inspection with " : " inspections with ") +
           count_text(records.rows) + (records.rows == 1 ? " point" : " points") +
           " held against their outlines and figures\n"
           "The file has no checksums: a value changed within these bounds is not noticed; "
           "--digest and --verify notice any change.\n";
}

Json missing_json(const SalvageReport& report) {
    Json list = Json::array();
    for (const SalvageReport::Missing& object : report.missing)
        list.push_back(
            {{"identifier", object.identifier}, {"class", object.class_name}, {"why", object.why}});
    return list;
}

std::string missing_text(const SalvageReport& report) {
    std::string text;
    for (const SalvageReport::Missing& object : report.missing)
        text += "left out: object " + std::to_string(object.identifier) +
                (object.class_name.empty() ? "" : ", " + terminal_text(object.class_name)) +
                ", which " + object.why + "\n";
    return text;
}

Json orphans_json(const SalvageReport& report) {
    Json list = Json::array();
    for (const SalvageReport::Orphan& orphan : report.orphans)
        list.push_back({{"offset", orphan.offset},
                        {"bytes", orphan.size},
                        {"class", orphan.class_name},
                        {"identifier", orphan.identifier < 0 ? Json() : Json(orphan.identifier)}});
    return list;
}

std::string orphans_text(const SalvageReport& report) {
    if (report.orphans.empty()) return "";
    Table table({{"orphan at"}, {"bytes"}, {"class", false}, {"restored as"}});
    for (const SalvageReport::Orphan& orphan : report.orphans)
        table.add({std::to_string(orphan.offset), count_text(orphan.size), orphan.class_name,
                   orphan.identifier < 0 ? "-" : std::to_string(orphan.identifier)});
    return table.text();
}

} // namespace

StoreAnswer contents_answer(const StoreReport& report, long properties,
                            const std::vector<StoredInspection>& inspections) {
    StoreAnswer answer;
    answer.json["version"] = report.version;
    add_classes(answer, report);
    add_figures(answer, report, properties);
    add_inspections(answer, inspections);
    return answer;
}

StoreAnswer check_answer(const StoreReport& report, const RecordCheck& records) {
    const std::size_t count = report.faults.count() + records.faults.count();
    StoreAnswer answer;
    answer.text = faults_text(report.faults) + faults_text(records.faults) +
                  (count == 0 ? looked_at(report, records)
                              : count_text(count) + (count == 1 ? " fault\n" : " faults\n"));
    Json faults = faults_json(report.faults);
    for (Json& fault : faults_json(records.faults))
        faults.push_back(std::move(fault));
    answer.json = {{"sound", count == 0},
                   {"objects", report.objects},
                   {"waste_bytes", report.waste_bytes},
                   {"objects_read", records.objects},
                   {"inspections_read", records.inspections},
                   {"points_read", records.rows},
                   {"fault_count", count},
                   {"faults", faults}};
    return answer;
}

StoreAnswer rebuilt_answer(const SalvageReport& report, const std::string& new_file,
                           bool from_damaged) {
    StoreAnswer answer;
    answer.json = {{"new", new_file},
                   {"objects", report.objects},
                   {"from_lost_nodes", report.from_lost_nodes},
                   {"indices", report.indices},
                   {"classes", report.classes},
                   {"orphans", orphans_json(report)},
                   {"missing", missing_json(report)},
                   {"unchecked", report.unchecked},
                   {"fault_count", report.faults.count()},
                   {"faults", faults_json(report.faults)}};
    answer.text = faults_text(report.faults) + missing_text(report);
    if (report.unchecked > 0)
        answer.text += "taken as they were: " + count_text(report.unchecked) +
                       " objects of classes that are unknown here\n";
    answer.text += orphans_text(report);
    answer.text += count_text(report.objects) + " objects in " + terminal_text(new_file);
    if (from_damaged)
        answer.text += ", " + count_text(report.from_lost_nodes) + " of them from lost nodes";
    answer.text += "\n";
    return answer;
}

StoreAnswer texts_answer(std::size_t objects, const std::string& folder) {
    return {count_text(objects) + " objects in " + terminal_text(folder) + "\n",
            {{"folder", folder}, {"objects", objects}}};
}

StoreAnswer digests_answer(std::size_t objects, const std::string& file) {
    return {"digests of " + count_text(objects) + " objects in " + terminal_text(file) + "\n",
            {{"digests", file}, {"objects", objects}}};
}

StoreAnswer differences_answer(const std::vector<DigestDifference>& differences, std::size_t kept,
                               const std::string& file) {
    constexpr const char* kinds[] = {"differs", "is missing", "is new"};
    StoreAnswer answer;
    Json list = Json::array();
    for (const DigestDifference& difference : differences) {
        const char* const kind = kinds[difference.kind];
        answer.text += "object " + std::to_string(difference.identifier) + ", " +
                       terminal_text(difference.class_name) + ": " + kind + "\n";
        list.push_back({{"identifier", difference.identifier},
                        {"class", difference.class_name},
                        {"what", kind}});
    }
    answer.text += differences.empty() ? count_text(kept) + " objects are as they were\n"
                                       : count_text(differences.size()) + " differences\n";
    answer.json = {{"digests", file}, {"objects", kept}, {"differences", std::move(list)}};
    return answer;
}

} // namespace velm::inspect
