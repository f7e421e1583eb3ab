#include "inspect/inspection/store_tools.h"

#include "inspect/base/output_set.h"
#include "inspect/input/text_source.h"
#include "inspect/keep/store_export.h"
#include "inspect/keep/store_file.h"
#include "inspect/keep/store_reader.h"
#include "inspect/report/store_reports.h"
#include "velm/store/store_check.h"
#include "velm/store/store_digest.h"
#include "velm/store/store_salvage.h"
#include "velm/version.h"

#include <cstring>
#include <nlohmann/json.hpp>

namespace velm::inspect {
namespace {

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

// The inspections that `report` may be asked for. A damaged file may have none that can be read.
std::vector<StoredInspection> readable_inspections(const std::string& file) {
    try {
        return read_records(file, [&] { return open_records(file)->inspections(); });
    } catch (const Failure&) {
        return {};
    } catch (const StoreRefusal&) {
        return {};
    }
}

// An answer, and whether all is well.
struct Ended {
    StoreAnswer answer;
    bool is_good = true;
};

Ended list(const StoreOptions& options) {
    require_store(options.file, options.file);
    const StoreReport report = check_store(options.file.c_str());
    const long properties = count_properties(StoreImage(options.file.c_str()));
    return read_records(options.file, [&] {
        return Ended{contents_answer(report, properties, readable_inspections(options.file))};
    });
}

Ended check(const StoreOptions& options) {
    const StoreReport report = check_store(options.file.c_str());
    RecordCheck records; // of a file whose structure is sound
    if (report.sound()) records = check_records(options.file.c_str());
    return {check_answer(report, records), report.faults.count() + records.faults.count() == 0};
}

Ended write_texts(const StoreOptions& options, OutputSet& outputs) {
    require_store(options.file, options.file);
    const std::string folder = outputs.add_new_folder(options.target);
    return {texts_answer(export_texts(options.file, folder, options.target), options.target)};
}

// Writes the new file under its working name; what fails there is reported of the name it is to
// have.
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
        throw StoreRefusal{StoreFault::faulty_trees, options.file, {}};
    }
}

Ended rebuild(const StoreOptions& options, OutputSet& outputs) {
    const bool salvage = options.mode == StoreMode::salvage;
    if (!salvage) {
        require_store(options.file, options.file);
        require_true_counters(options.file, options.file);
    }
    const SalvageReport report = write_rebuilt(options, outputs.add_new_by_name(options.target));
    if (report.objects == 0) require_store(options.file, options.file); // nothing of a foreign file
    return {rebuilt_answer(report, options.target, salvage), report.complete};
}

Ended write_digests(const StoreOptions& options, OutputSet& outputs) {
    require_store(options.file, options.file);
    const std::vector<ObjectDigest> digests = digest_store(options.file.c_str());
    outputs.add(options.target).write(digest_text(digests));
    return {digests_answer(digests.size(), options.target)};
}

std::vector<ObjectDigest> kept_digests(const std::string& path) {
    TextSource source(path);
    std::string text;
    for (std::string_view line; source.next_line(line);)
        text.append(line) += '\n';
    std::vector<ObjectDigest> digests;
    if (!parse_digests(text, digests)) source.refuse_whole("is no list of digests of a store");
    return digests;
}

Ended verify(const StoreOptions& options) {
    const std::vector<ObjectDigest> kept = kept_digests(options.target);
    require_store(options.file, options.file);
    const std::vector<DigestDifference> differences =
        compare_digests(kept, digest_store(options.file.c_str()));
    return {differences_answer(differences, kept.size(), options.target), differences.empty()};
}

constexpr const char* mode_names[] = {"list",    "check",  "export", "salvage",
                                      "compact", "digest", "verify"};

} // namespace

bool run_store(const StoreOptions& options) {
    OutputSet outputs;
    Output* const json_output = outputs.add_if_asked(options.paths.json);
    const Ended ended = with_store(options.file, [&] {
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
        nlohmann::ordered_json json = {{"velm", VELM_VERSION_STRING},
                                       {"command", "store"},
                                       {"mode", mode_names[static_cast<int>(options.mode)]},
                                       {"file", options.file}};
        json.update(ended.answer.json);
        json_output->write(json.dump(1, ' ', json_output->is_terminal(),
                                     nlohmann::ordered_json::error_handler_t::replace) +
                           "\n");
    }
    if (Output* const text = outputs.add_text(false)) text->write(ended.answer.text);
    outputs.commit();
    return ended.is_good;
}

} // namespace velm::inspect
