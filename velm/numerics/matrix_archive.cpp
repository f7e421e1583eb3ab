#include "velm/numerics/matrix_archive.h"

#include "velm/frame/detail/archive_count.h"

using velm::detail::get_count;

CArchive& operator<<(CArchive& archive, const ERMatrix<double>& matrix) {
    const auto columns = static_cast<DWORD>(matrix.columns());
    archive << static_cast<DWORD>(matrix.rows()) << columns;
    for (int i = 0; i < matrix.rows(); ++i) {
        archive << columns;
        archive.put_bytes(matrix.row(i).data(), matrix.row(i).size_bytes());
    }
    return archive;
}

CArchive& operator>>(CArchive& archive, ERMatrix<double>& matrix) {
    const DWORD rows = get_count(archive, sizeof(DWORD));
    const DWORD columns = get_count(archive, rows > 0 ? sizeof(double) : 0);
    const ULONGLONG row_bytes = sizeof(DWORD) + columns * sizeof(double);
    if (rows > archive.bytes_left() / row_bytes) archive.raise(CArchiveException::endOfFile);
    ERMatrix<double> read(static_cast<int>(rows), static_cast<int>(columns));
    double* out = read.data();
    for (DWORD i = 0; i < rows; ++i, out += columns) {
        DWORD count;
        archive >> count;
        if (count != columns) archive.raise(CArchiveException::badIndex);
        archive.get_bytes(out, columns * sizeof(double));
    }
    matrix.swap(read);
    return archive;
}
