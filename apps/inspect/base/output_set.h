// output_set.h: `Output` and `OutputSet`: files that appear whole, all together, or not at all.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// One output. `write` buffers and passes on blocks; every failure is a `Failure` (file).
class Output {
public:
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(std::string_view text);
    const std::string& name() const { return name_; }
    bool is_terminal() const;

private:
    friend class OutputSet;
    Output() = default;
    void open_standard();
    void open_directly(const std::string& path);
    void open_beside(const std::string& place);
    void open_folder_beside(std::string place);
    void close_beside();
    void open_finished();
    void take_after(const struct stat& status);
    int rename_to_place() const;
    void require_unchanged() const;
    void flush();
    void finish();

    std::string name_;      ///< as the user gave it
    std::string place_;     ///< its destination, links followed; empty if written directly
    bool replaces_ = false; ///< there is a file at the place
    bool is_new_ = false;   ///< nothing may exist at the place
    bool continues_ = false;
    struct stat before_ {}; ///< of the file at the place, if any
    bool is_folder_ = false;
    std::string temporary_; ///< beside the place, removed unless renamed
    std::string backup_;    ///< keeps the old file while the set is renamed
    int descriptor_ = -1;
    std::string pending_;
};

/// The outputs of one command. Regular files are written under a temporary name beside their place
/// and renamed when all of them and standard output are complete; until then nothing at the places
/// changes. "-" is standard output; pipes and devices are written directly. Symbolic links are
/// followed and kept, the mode of a file that is replaced is kept, and a file without permission to
/// write is refused. Temporary files are removed on failure and on SIGINT, SIGTERM and SIGHUP.
class OutputSet {
public:
    /// Prepares an output; the reference is valid as long as the set.
    Output& add(const std::string& path);
    /// The same if there is a path; null without one.
    Output* add_if_asked(const std::optional<std::string>& path) {
        return path ? &add(*path) : nullptr;
    }
    /// Standard output, for a text; null if `quiet` or if another output goes there.
    Output* add_text(bool quiet);
    /// Prepares an output for another writer to create; returns a new name beside the place. It
    /// must be a whole, closed file when the set is committed. Only regular files and places
    /// without a file are accepted.
    std::string add_by_name(const std::string& path);
    /// The same for an output that continues the file at the place: it is refused if another
    /// program has created or replaced that file by the time the set is committed.
    std::string add_continued_by_name(const std::string& path);
    /// The same for a place where nothing may exist, and for a new folder, which is created at
    /// once.
    std::string add_new_by_name(const std::string& path);
    std::string add_new_folder(const std::string& path);
    /// Completes every output, then renames; if a rename fails, those done are undone.
    void commit();

private:
    void rename_all();
    std::vector<std::unique_ptr<Output>> outputs_;
};

/// Whether a path means standard output: "-", "/dev/stdout" or another name of descriptor 1.
bool is_standard_output(const std::string& path);

/// Whether a path leads to the regular file that a descriptor was opened on.
bool leads_to(const std::string& path, int descriptor);

/// Whether two paths lead to the same file, existing or not, through links and other names too.
bool same_file(const std::string& a, const std::string& b);

} // namespace velm::inspect
