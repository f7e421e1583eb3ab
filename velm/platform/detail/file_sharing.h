// Failure, Right, hold_shares: who may read and write an open file beside its opener.
#pragma once

namespace velm::detail {

/// A CFileException cause and the error number of the system.
struct Failure {
    int cause = 0;
    int os_error = 0;
};

/// What an opener does with one right, reading or writing.
struct Right {
    bool uses;
    bool denies; ///< to everybody else
};

/// Takes the locks of an opener without waiting and keeps them until the descriptor is closed. A
/// right that another opener denies is a sharingViolation; a file system without locks is a
/// lockViolation unless nothing is denied.
Failure hold_shares(int file, Right reading, Right writing);

} // namespace velm::detail
