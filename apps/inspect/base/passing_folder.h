// passing_folder.h: `PassingFolder`, a temporary folder that goes with the program, however that
// ends.
#pragma once

#include <string>

#include <sys/types.h>

namespace velm::inspect {

/// A new folder in the place for temporary files (TMPDIR). A process of its own, which waits for
/// the other end of a pipe to close, removes it with all that is in it: when this object ends, and
/// also when the program is ended by any signal, SIGKILL too. To be made before the program has
/// threads.
class PassingFolder {
public:
    /// Throws `Failure` (file).
    PassingFolder();
    ~PassingFolder();
    PassingFolder(const PassingFolder&) = delete;
    PassingFolder& operator=(const PassingFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
    int lifeline_ = -1; ///< closed when this process ends in any way
    pid_t remover_ = -1;
};

} // namespace velm::inspect
