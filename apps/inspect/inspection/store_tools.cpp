#include "inspect/inspection/store_tools.h"

#include "inspect/base/number_text.h"
#include "inspect/base/output_set.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/text_source.h"
#include "inspect/keep/store_export.h"
#include "inspect/keep/store_file.h"
#include "inspect/keep/store_reader.h"
#include "velm/inspection/record_check.h"
#include "velm/store/store_check.h"
#include "velm/store/store_digest.h"
#include "velm/store/store_salvage.h"
#include "velm/version.h"

#include <cstring>
#include <nlohmann/json.hpp>

namespace velm::inspect {
namespace {

using Json = nlohmann::ordered_json;

std::string count_text(long count) {
    return grouped(static_cast<std::uint64_t>(std::max(count, 0l)), ",");
}

// The properties of all records that have some: each record begins with their count.
long count_properties(const StoreImage& image) {
    long total = 0;
    for (const RecordImage& record : image.records) {
        if (image.class_name(record.signature) != "ERDBObject") continue;
        const std::string guts = image.guts(record);
        std::int32_t count = 0;
        if (guts.size() >= sizeof count) std::memcpy(&count, guts.data(), sizeof count);
        total += std::max(count, 0);
    }
    return total;
}

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
        text += "and " + count_text(static_cast<long>(faults.count() - faults.list().size())) +
                " more\n";
    return text;
}

// What a mode tells: a text for people, the same for programs, and how the program ends.
struct Told {
    std::string text;
    Json json;
    ExitCode code = ExitCode::good;
};

// The inspections that `report` may be asked for. A damaged file may have none that can be read.
void list_inspections(const StoreOptions& options, Told& told) {
    Table table({{"record"}, {"inspection", false}, {"points"}, {"out of tolerance"}, {"", false}});
    Json list = Json::array();
    const auto add = [&](const StoredInspection& inspection) {
        const auto count = [&](RecordKey key) {
            const std::optional<std::uint64_t> found = inspection.count(key);
            return found ? Json(*found) : Json();
        };
        const Json points = count(RecordKey::count), out = count(RecordKey::out_of_tolerance);
        const auto shown = [](const Json& number) {
            return number.is_null() ? "-" : grouped(number.get<std::uint64_t>(), ",");
        };
        std::string head;
        Json info = Json::object();
        for (const NamedText& said : inspection.info()) {
            head += (head.empty() ? "" : "; ") + said.name + " " + said.text;
            info[said.name] = said.text;
        }
        table.add({std::to_string(inspection.number), inspection.title(), shown(points), shown(out),
                   head});
        list.push_back({{"record", inspection.number},
                        {"kind", inspection.kind()},
                        {"title", inspection.title()},
                        {"info", info},
                        {"points", points},
                        {"out_of_tolerance", out}});
    };
    try {
        with_records(options.file, [&] {
            for (const StoredInspection& inspection : open_records(options.file)->inspections())
                add(inspection);
        });
    } catch (const Failure&) {
    }
    if (!list.empty()) told.text += "\n" + table.text();
    told.json["inspections"] = std::move(list);
}

Told list(const StoreOptions& options) {
    require_store(options.file, options.file);
    const StoreReport report = check_store(options.file.c_str());
    const long properties = count_properties(StoreImage(options.file.c_str()));
    Table classes({{"class", false}, {"objects"}, {"signature"}, {"", false}});
    Json class_list = Json::array();
    for (const StoreReport::Class& c : report.classes) {
        const bool known = ERClassRegistration::findClassRegistration(c.name.c_str()) != nullptr;
        classes.add({c.name, count_text(c.objects), std::to_string(c.signature),
                     known ? "" : "unknown here"});
        class_list.push_back({{"name", c.name},
                              {"signature", c.signature},
                              {"objects", c.objects},
                              {"known", known}});
    }
    Table figures({{"", false}, {""}});
    figures.add({"version", std::to_string(report.version)});
    figures.add({"objects", count_text(report.objects)});
    figures.add({"indices", count_text(report.indices)});
    figures.add({"properties", count_text(properties)});
    figures.add({"last identifier", count_text(report.last_identifier)});
    figures.add({"file, bytes", count_text(report.file_length)});
    figures.add({"free, bytes", count_text(report.free_bytes)});
    figures.add({"waste, bytes", count_text(report.waste_bytes)});
    figures.add({"faults", count_text(static_cast<long>(report.faults.count()))});
    Told told;
    told.text = classes.text() + "\n" + figures.text();
    told.json = {{"version", report.version},         {"classes", class_list},
                 {"objects", report.objects},         {"indices", report.indices},
                 {"properties", properties},          {"last_identifier", report.last_identifier},
                 {"file_bytes", report.file_length},  {"free_bytes", report.free_bytes},
                 {"waste_bytes", report.waste_bytes}, {"faults", report.faults.count()}};
    list_inspections(options, told);
    return told;
}

// What a check of a sound file looked at.
std::string looked_at(const StoreReport& report, const RecordCheck& records) {
    return "sound: " + count_text(report.objects) + " objects, " + count_text(report.waste_bytes) +
           " bytes of waste\n" + "looked at: trees, index and free space; " +
           count_text(records.objects) +
           " objects read into their classes, their numbers held against what these promise; " +
           count_text(records.inspections) + " inspections with " + count_text(records.rows) +
           " points held against their outlines and figures\n" +
           "The file has no checksums: a value changed within these bounds is not noticed; "
           "--digest "
           "and --verify notice any change.\n";
}

Told check(const StoreOptions& options) {
    const StoreReport report = check_store(options.file.c_str());
    RecordCheck records; // of a file whose structure is sound
    if (report.sound()) records = check_records(options.file.c_str());
    const std::size_t count = report.faults.count() + records.faults.count();
    Told told;
    told.text = faults_text(report.faults) + faults_text(records.faults);
    told.text +=
        count == 0 ? looked_at(report, records)
                   : count_text(static_cast<long>(count)) + (count == 1 ? " fault\n" : " faults\n");
    Json faults = faults_json(report.faults);
    for (Json& fault : faults_json(records.faults))
        faults.push_back(std::move(fault));
    told.json = {{"sound", count == 0},
                 {"objects", report.objects},
                 {"waste_bytes", report.waste_bytes},
                 {"objects_read", records.objects},
                 {"inspections_read", records.inspections},
                 {"points_read", records.rows},
                 {"fault_count", count},
                 {"faults", faults}};
    told.code = count == 0 ? ExitCode::good : ExitCode::input;
    return told;
}

Told write_texts(const StoreOptions& options, OutputSet& outputs) {
    require_store(options.file, options.file);
    const std::string folder = outputs.add_new_folder(options.target);
    const std::size_t objects = export_texts(options.file, folder, options.target);
    Told told;
    told.text = count_text(static_cast<long>(objects)) + " objects in " +
                terminal_text(options.target) + "\n";
    told.json = {{"folder", options.target}, {"objects", objects}};
    return told;
}

// Writes the new file under its working name; what fails there is told of the name it is to have.
SalvageReport write_rebuilt(const StoreOptions& options, const std::string& working_name) {
    try {
        return options.mode == StoreMode::salvage
                   ? salvage_store(options.file.c_str(), working_name.c_str(), options.orphans)
                   : compact_store(options.file.c_str(), working_name.c_str());
    } catch (CFileException* failure) {
        call_by_name(*failure, working_name, options.target);
        if (options.mode == StoreMode::salvage || failure->m_cause != CFileException::invalidFile)
            throw;
        failure->Delete();
        throw Failure(ExitCode::input, options.file +
                                           ": its trees have faults, which --check names; rebuild "
                                           "it: velm-inspect store " +
                                           options.file + " --salvage NEW");
    }
}

Told rebuild(const StoreOptions& options, OutputSet& outputs) {
    const bool salvage = options.mode == StoreMode::salvage;
    if (!salvage) {
        require_store(options.file, options.file);
        require_true_counters(options.file, options.file);
    }
    const SalvageReport report = write_rebuilt(options, outputs.add_new_by_name(options.target));
    if (report.objects == 0) require_store(options.file, options.file); // nothing of a foreign file
    Told told;
    Json orphans = Json::array();
    Table table({{"orphan at"}, {"bytes"}, {"class", false}, {"restored as"}});
    for (const SalvageReport::Orphan& orphan : report.orphans) {
        const bool restored = orphan.identifier >= 0;
        table.add({std::to_string(orphan.offset), count_text(orphan.size), orphan.class_name,
                   restored ? std::to_string(orphan.identifier) : "-"});
        orphans.push_back({{"offset", orphan.offset},
                           {"bytes", orphan.size},
                           {"class", orphan.class_name},
                           {"identifier", restored ? Json(orphan.identifier) : Json()}});
    }
    told.text = faults_text(report.faults);
    Json missing = Json::array();
    for (const SalvageReport::Missing& object : report.missing) {
        told.text += "left out: object " + std::to_string(object.identifier) +
                     (object.class_name.empty() ? "" : ", " + terminal_text(object.class_name)) +
                     ", which " + object.why + "\n";
        missing.push_back(
            {{"identifier", object.identifier}, {"class", object.class_name}, {"why", object.why}});
    }
    if (report.unchecked > 0)
        told.text += "taken as they were: " + count_text(report.unchecked) +
                     " objects of classes that are unknown here\n";
    if (!report.orphans.empty()) told.text += table.text();
    told.text += count_text(report.objects) + " objects in " + terminal_text(options.target);
    if (salvage)
        told.text += ", " + count_text(report.from_lost_nodes) + " of them from lost nodes";
    told.text += "\n";
    told.json = {{"new", options.target},
                 {"objects", report.objects},
                 {"from_lost_nodes", report.from_lost_nodes},
                 {"indices", report.indices},
                 {"classes", report.classes},
                 {"orphans", orphans},
                 {"missing", missing},
                 {"unchecked", report.unchecked},
                 {"fault_count", report.faults.count()},
                 {"faults", faults_json(report.faults)}};
    if (!report.complete) told.code = ExitCode::input;
    return told;
}

Told write_digests(const StoreOptions& options, OutputSet& outputs) {
    require_store(options.file, options.file);
    const std::vector<ObjectDigest> digests = digest_store(options.file.c_str());
    outputs.add(options.target).write(digest_text(digests));
    const long count = static_cast<long>(digests.size());
    Told told;
    told.text =
        "digests of " + count_text(count) + " objects in " + terminal_text(options.target) + "\n";
    told.json = {{"digests", options.target}, {"objects", count}};
    return told;
}

std::vector<ObjectDigest> kept_digests(const std::string& path) {
    TextSource source(path);
    std::string text;
    for (std::string_view line; source.next_line(line);)
        text.append(line) += '\n';
    std::vector<ObjectDigest> digests;
    if (!parse_digests(text, digests))
        source.refuse_whole("is no list of digests as --digest writes it");
    return digests;
}

Told verify(const StoreOptions& options) {
    const std::vector<ObjectDigest> kept = kept_digests(options.target);
    require_store(options.file, options.file);
    const std::vector<DigestDifference> differences =
        compare_digests(kept, digest_store(options.file.c_str()));
    constexpr const char* kinds[] = {"differs", "is missing", "is new"};
    Told told;
    Json list = Json::array();
    for (const DigestDifference& difference : differences) {
        const char* const kind = kinds[difference.kind];
        told.text += "object " + std::to_string(difference.identifier) + ", " +
                     terminal_text(difference.class_name) + ": " + kind + "\n";
        list.push_back({{"identifier", difference.identifier},
                        {"class", difference.class_name},
                        {"what", kind}});
    }
    told.text += differences.empty()
                     ? count_text(static_cast<long>(kept.size())) + " objects are as they were\n"
                     : count_text(static_cast<long>(differences.size())) + " differences\n";
    told.json = {{"digests", options.target}, {"objects", kept.size()}, {"differences", list}};
    told.code = differences.empty() ? ExitCode::good : ExitCode::input;
    return told;
}

constexpr const char* mode_names[] = {"list",    "check",  "export", "salvage",
                                      "compact", "digest", "verify"};

} // namespace

ExitCode run_store(const StoreOptions& options) {
    OutputSet outputs;
    Output* const json_output = outputs.add_if_asked(options.paths.json);
    const Told told = with_store(options.file, [&] {
        switch (options.mode) {
        case StoreMode::list:
            return list(options);
        case StoreMode::check:
            return check(options);
        case StoreMode::export_texts:
            return write_texts(options, outputs);
        case StoreMode::digest:
            return write_digests(options, outputs);
        case StoreMode::verify:
            return verify(options);
        default:
            return rebuild(options, outputs);
        }
    });
    if (json_output != nullptr) {
        Json json = {{"velm", VELM_VERSION_STRING},
                     {"command", "store"},
                     {"mode", mode_names[static_cast<int>(options.mode)]},
                     {"file", options.file}};
        json.update(told.json);
        json_output->write(
            json.dump(1, ' ', json_output->is_terminal(), Json::error_handler_t::replace) + "\n");
    }
    if (Output* const text = outputs.add_text(false)) text->write(told.text);
    outputs.commit();
    return told.code;
}

} // namespace velm::inspect
