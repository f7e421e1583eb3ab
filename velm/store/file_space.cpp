#include "velm/store/file_space.h"

#include "velm/platform/file_exception.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace {

UINT open_flags(const char* name, int read_only) {
    CFileStatus status;
    UINT flags = CFile::typeBinary;
    if (!CFile::GetStatus(name, status)) flags |= CFile::modeCreate | CFile::modeNoTruncate;
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
    std::int32_t head[3] = {};
    SeekToBegin();
    if (velm::read_bytes(*this, head, sizeof head) != sizeof head) return;
    startOffset = head[0];
    endOfData = head[1];
    if (head[2] == node_size) list = std::make_unique<ERListManager>(this, 0);
}

ERFileManager::~ERFileManager() = default;

void ERFileManager::create_head() {
    if (readOnly) return; // an empty file opened for reading stays as it is
    const std::int32_t head[] = {ER_NULL_OFFSET, first_block, node_size};
    write_through(0, head, sizeof head);
    list = std::make_unique<ERListManager>(this, 1);
}

void ERFileManager::write_start(long offset) {
    const std::int32_t word = velm::stored_long(offset);
    write_through(0, &word, sizeof word);
    startOffset = offset;
}

void ERFileManager::write_end(long offset) {
    const std::int32_t word = velm::stored_long(offset);
    write_through(4, &word, sizeof word);
    endOfData = offset;
}

long ERFileManager::allocate(unsigned int bytes) {
    if (!list) raise(CFileException::invalidFile);
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
    if (offset < first_block || offset > INT_MAX) raise(CFileException::invalidFile);
    if (static_cast<unsigned long>(bytes) > static_cast<unsigned long>(INT_MAX - offset))
        raise(CFileException::diskFull);
    write_end(offset + static_cast<long>(bytes));
    return offset;
}

int ERFileManager::deallocateFromEnd(long offset, unsigned int size) {
    if (offset + static_cast<long>(size) < endOfData) return 0;
    if (offset < first_block) raise(CFileException::invalidFile);
    write_end(offset);
    return 1;
}

void ERFileManager::raise(int cause) const {
    AfxThrowFileException(cause, -1, GetFilePath().c_str());
}

// ---- gathered writes and the window ----

std::size_t ERFileManager::read_through(long offset, void* target, std::size_t count) {
    flush_gathered();
    Seek(offset, begin);
    return CFile::Read(target, static_cast<UINT>(count));
}

void ERFileManager::write_through(long offset, const void* source, std::size_t count) {
    flush_gathered();
    forget_window();
    length_known = false;
    Seek(offset, begin);
    CFile::Write(source, static_cast<UINT>(count));
}

void ERFileManager::flush_gathered() {
    if (gathered.empty()) return;
    const std::string bytes = std::exchange(gathered, {});
    const ULONGLONG position = GetPosition();
    Seek(static_cast<LONGLONG>(gathered_at), begin);
    length_known = false;
    CFile::Write(bytes.data(), static_cast<UINT>(bytes.size()));
    Seek(static_cast<LONGLONG>(position), begin);
}

UINT ERFileManager::Read(void* buffer, UINT count) {
    flush_gathered();
    if (steps == 0 || count >= window_capacity) return CFile::Read(buffer, count);
    char* const target = static_cast<char*>(buffer);
    UINT done = 0;
    while (done < count) {
        const ULONGLONG position = GetPosition();
        if (position < window_at || position >= window_at + window_size) {
            if (!window) window = std::make_unique<char[]>(window_capacity);
            forget_window();
            window_at = position;
            window_size = CFile::Read(window.get(), window_capacity);
            Seek(static_cast<LONGLONG>(position), begin);
            if (window_size == 0) break;
        }
        const auto from = static_cast<std::size_t>(position - window_at);
        const std::size_t now = std::min<std::size_t>(count - done, window_size - from);
        std::memcpy(target + done, window.get() + from, now);
        done += static_cast<UINT>(now);
        Seek(static_cast<LONGLONG>(position + now), begin);
    }
    return done;
}

void ERFileManager::Write(const void* buffer, UINT count) {
    const ULONGLONG position = GetPosition();
    if (count > 0 && (position > longest || count > longest - position))
        raise(CFileException::diskFull);
    forget_window();
    const bool adjoins = position == gathered_at + gathered.size();
    if (!adjoins || gathered.size() + count > most_gathered) flush_gathered();
    if (steps == 0 || count > most_gathered) {
        length_known = false;
        CFile::Write(buffer, count);
        return;
    }
    if (gathered.empty()) gathered_at = position;
    gathered.append(static_cast<const char*>(buffer), count);
    Seek(static_cast<LONGLONG>(position + count), begin);
}

ULONGLONG ERFileManager::GetLength() const {
    if (!length_known || steps == 0) {
        length = CFile::GetLength();
        length_known = true;
    }
    return gathered.empty() ? length : std::max(length, gathered_at + gathered.size());
}

namespace velm::detail {

void StoreStep::finish() {
    if (file_.steps == 1) file_.flush_gathered();
}

StoreStep::~StoreStep() {
    if (file_.steps == 1) {
        try {
            file_.flush_gathered();
        } catch (CFileException* e) {
            e->Delete();
        }
        file_.forget_window();
        file_.length_known = false;
    }
    --file_.steps;
}

} // namespace velm::detail
