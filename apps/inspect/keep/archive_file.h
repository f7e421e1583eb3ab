// archive_file.h: the library's documents of inspections as files of the program:
// `ArchiveFileWriter`, `read_archive`.
#pragma once

#include "inspect/base/output_set.h"
#include "inspect/keep/store_file.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/version.h"

#include <optional>
#include <string>

namespace velm::inspect {

/// A document that is written beside the place where it appears together with the other outputs, by
/// one of the library's writers. Throws `Failure`.
template <class Writer>
class ArchiveFileWriter {
public:
    /// `subject` is what the writer takes after path and program.
    template <class... Subject>
    ArchiveFileWriter(OutputSet& outputs, const std::string& path, const Subject&... subject)
        : path_(path), working_copy_(outputs.add_by_name(path)) {
        guarded([&] {
            writer_.emplace(working_copy_, "velm-inspect " VELM_VERSION_STRING, subject...);
        });
    }
    template <class Row>
    void add(const Row& row) {
        guarded([&] { writer_->add(row); });
    }
    void finish(const Summary& summary) {
        guarded([&] { writer_->finish(summary); });
    }

private:
    template <class Work>
    void guarded(Work work) {
        with_store(path_, work, working_copy_);
    }

    std::string path_, working_copy_;
    std::optional<Writer> writer_;
};

/// Whether a file begins as a document. False for one that can't be read.
bool is_archive_file(const std::string& path);

/// The sentence for an archive exception, which is given up.
Failure archive_failure(CArchiveException* exception, const std::string& path);

/// Runs `work`, turning exceptions about the document at `path` into failures.
template <class Work>
auto read_archive(const std::string& path, Work work) {
    try {
        return with_store(path, work);
    } catch (CArchiveException* exception) {
        throw archive_failure(exception, path);
    }
}

} // namespace velm::inspect
