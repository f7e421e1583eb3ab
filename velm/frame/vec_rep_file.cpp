// The stored form of an array body: its length in bytes as a 32-bit int, then the bytes.
#include "velm/frame/binary_file.h"
#include "velm/frame/vec_rep.h"
#include "velm/platform/file_exception.h"

#include <cstring>
#include <utility>

namespace {

using Length = std::int32_t;

// The body is freed whether the file falls short or throws.
struct Unread {
    ERVecRep* body;
    ~Unread() {
        if (body != nullptr) body->free();
    }
    ERVecRep* keep() { return std::exchange(body, nullptr); }
};

ERVecRep* read_body(ERFile& file) {
    Length length;
    if (!file.Read(length)) return nullptr;
    if (length < 0 || static_cast<ULONGLONG>(length) > velm::bytes_left(file)) {
        file.SeekToEnd();
        return nullptr;
    }
    const auto bytes = static_cast<std::size_t>(length);
    Unread unread{ERVecRep::getRep(bytes, 1)};
    if (velm::read_bytes(file, unread.body->data(), bytes) != bytes) return nullptr;
    return unread.keep();
}

} // namespace

ERVecRep* ERVecRep::getRep(ERFile& file) {
    try {
        return read_body(file);
    } catch (CFileException* failure) {
        failure->Delete();
        return nullptr;
    }
}

void ERVecRep::saveGuts(ERFile& file) const {
    if (file.GetPosition() + sizeof(Length) + length() > CFile::longest) {
        AfxThrowFileException(CFileException::diskFull, -1, file.GetFilePath().c_str());
    }
    const Length stored = static_cast<Length>(length());
    char record[1024];
    if (sizeof stored + length() <= sizeof record) {
        std::memcpy(record, &stored, sizeof stored);
        std::memcpy(record + sizeof stored, data(), length());
        velm::write_bytes(file, record, sizeof stored + length());
    } else {
        file.Write(stored);
        velm::write_bytes(file, data(), length());
    }
}
