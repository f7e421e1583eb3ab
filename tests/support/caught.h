// What an operation throws: the cause of the exception, which is given up.
#pragma once

#include "velm/platform/archive_exception.h"
#include "velm/platform/file_exception.h"

namespace velm_test {

/// The cause of the Exception* that the operation throws, 0 if it throws none.
template <class Exception, class Operation>
int cause_of(Operation operation) {
    try {
        operation();
        return 0;
    } catch (Exception* exception) {
        const int cause = exception->m_cause;
        exception->Delete();
        return cause;
    }
}

template <class Operation>
int file_cause(Operation operation) {
    return cause_of<CFileException>(operation);
}
template <class Operation>
int archive_cause(Operation operation) {
    return cause_of<CArchiveException>(operation);
}

} // namespace velm_test
