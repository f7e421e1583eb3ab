#include "velm/store/file_space.h"

#include "velm/platform/file_exception.h"

#include <climits>

namespace {

UINT open_flags(const char* name, int read_only) {
    CFileStatus status;
    UINT flags = CFile::typeBinary;
    if (!CFile::GetStatus(name, status)) flags |= CFile::modeCreate;
    flags |= read_only ? UINT(CFile::shareDenyWrite)
                       : UINT(CFile::modeReadWrite) | UINT(CFile::shareExclusive);
    return flags;
}

} // namespace

ERFileManager::ERFileManager(const char* name, int read_only)
    : ERFile(name, open_flags(name, read_only)), readOnly(read_only) {
    CFileStatus status;
    if (!GetStatus(status)) return;
    if (SeekToEnd() == 0) {
        create_head();
        return;
    }
    long stored_start = ER_NULL_OFFSET;
    long stored_end = 0;
    long stored_size = 0;
    SeekToBegin();
    if (!Read(stored_start) || !Read(stored_end) || !Read(stored_size)) return;
    if (stored_size != node_size) return;
    startOffset = stored_start;
    endOfData = stored_end;
    list = std::make_unique<ERListManager>(this, 0);
}

ERFileManager::~ERFileManager() = default;

void ERFileManager::create_head() {
    startOffset = ER_NULL_OFFSET;
    endOfData = first_block;
    if (readOnly) return; // an empty file opened for reading stays as it is
    SeekToBegin();
    const int head[] = {-1, int(first_block), node_size};
    Write(head, 3);
    list = std::make_unique<ERListManager>(this, 1);
}

void ERFileManager::write_start(long offset) {
    startOffset = offset;
    SeekToBegin();
    Write(offset);
}

void ERFileManager::write_end(long offset) {
    endOfData = offset;
    Seek(4, begin);
    Write(offset);
}

long ERFileManager::allocate(unsigned int bytes) {
    if (!list) AfxThrowFileException(CFileException::invalidFile, -1, GetFilePath().c_str());
    const long payload = list->allocate(bytes);
    if (startOffset == ER_NULL_OFFSET && payload != ER_NULL_OFFSET) write_start(payload);
    return payload;
}

void ERFileManager::deallocate(long payload) {
    if (payload == ER_NULL_OFFSET || payload == startOffset || !list) return;
    list->deallocate(payload);
}

long ERFileManager::allocateAtEnd(unsigned int bytes) {
    const long offset = endOfData;
    if (static_cast<unsigned long>(bytes) > static_cast<unsigned long>(INT_MAX - offset))
        AfxThrowFileException(CFileException::diskFull, -1, GetFilePath().c_str());
    write_end(offset + static_cast<long>(bytes));
    return offset;
}

int ERFileManager::deallocateFromEnd(long offset, unsigned int size) {
    if (offset + static_cast<long>(size) < endOfData) return 0;
    write_end(offset);
    return 1;
}
