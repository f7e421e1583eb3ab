// store_writer.h: an object file that gets new records: `StoreWriter`, `RecordFileWriter`.
#pragma once

#include "inspect/base/output_set.h"
#include "inspect/keep/store_file.h"
#include "velm/inspection/inspection_records.h"
#include "velm/platform/file.h"
#include "velm/store/database.h"
#include "velm/store/store_batch.h"
#include "velm/version.h"

#include <memory>
#include <optional>
#include <string>

namespace velm::inspect {

/// The work is done on a copy beside the place, which the set of outputs renames; an existing file
/// is locked from the beginning to the end. Throws `Failure`, `StoreRefusal`.
class StoreWriter {
public:
    /// Opens the file, or makes a new one. With `sync` the file is with the disk when it is closed.
    StoreWriter(OutputSet& outputs, const std::string& path, bool sync = false);
    ~StoreWriter();

    /// Runs work(ERDataBase&), turning file exceptions into failures.
    template <class Work>
    void save(Work work) {
        with_store(path_, [&] {
            try {
                work(database_);
            } catch (CFileException* exception) {
                if (exception->m_strFileName.empty()) exception->m_strFileName = path_;
                throw;
            }
        });
    }
    /// Closes the file; nothing may follow.
    void close();

private:
    void open(const std::string& working_copy);
    void check(gmErrorCode code) const;

    std::string path_;
    std::unique_ptr<CFile> lock_; // on the file that is there already
    ERDataBase database_;
    std::optional<StoreBatch> batch_; // all that is saved
};

/// An inspection that is kept in an object file by one of the library's writers. Throws `Failure`,
/// `StoreRefusal`.
template <class Writer>
class RecordFileWriter {
public:
    /// `subject` is what the writer takes after database and program.
    template <class... Subject>
    RecordFileWriter(OutputSet& outputs, const std::string& path, bool sync,
                     const Subject&... subject)
        : file_(outputs, path, sync) {
        file_.save([&](ERDataBase& data) {
            writer_.emplace(data, "velm-inspect " VELM_VERSION_STRING, subject...);
        });
    }
    template <class Row>
    void add(const Row& row) {
        file_.save([&](ERDataBase&) { writer_->add(row); });
    }
    /// Saves what is known only at the end, and closes the file.
    void finish(const Summary& summary) {
        file_.save([&](ERDataBase&) { writer_->finish(summary); });
        file_.close();
    }

private:
    StoreWriter file_;
    std::optional<Writer> writer_;
};

} // namespace velm::inspect
