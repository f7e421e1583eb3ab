#include "velm/store/file_space.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/block_cache.h"
#include "velm/store/detail/free_chain.h"
#include "velm/store/detail/unfinished_node.h"

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
    : ERFile(name, open_flags(name, read_only)), readOnly(read_only),
      kept(std::make_unique<velm::detail::BlockCache>()),
      chain(std::make_unique<velm::detail::FreeChain>()) {
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

void ERFileManager::write_word(long offset, std::int32_t word) {
    if (steps == 0) return write_through(offset, &word, sizeof word);
    Seek(offset, begin);
    Write(word);
}

long ERFileManager::allocate(unsigned int bytes) {
    if (!list) raise(CFileException::invalidFile);
    const long payload = list->allocate(bytes);
    if (startOffset == ER_NULL_OFFSET && payload != ER_NULL_OFFSET) write_start(payload);
    return payload;
}

void ERFileManager::deallocate(long payload) {
    if (payload == ER_NULL_OFFSET || payload == startOffset || !list) return;
    kept->erase(payload);
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
    Seek(offset, begin);
    CFile::Write(source, static_cast<UINT>(count));
    grew_to(GetPosition());
}

void ERFileManager::forget_node(long offset) { kept->erase(offset); }

std::size_t ERFileManager::read_node(long offset, void* target, std::size_t count) {
    if (kept->get(offset, target, count)) return count;
    const std::size_t came = read_through(offset, target, count);
    if (came == count) kept->put(offset, target, count);
    return came;
}

void ERFileManager::write_node(long offset, const void* source, std::size_t count) {
    kept->erase(offset); // what the file holds after a failure is not known
    const ULONGLONG at = static_cast<ULONGLONG>(offset);
    const bool adjoins =
        !gathered.empty() && at == gathered_at + gathered.size() && at + count <= longest;
    if (adjoins) { // to its size word: both leave as one
        forget_window();
        gathered.append(static_cast<const char*>(source), count);
        flush_gathered();
    } else {
        write_through(offset, source, count);
    }
    kept->put(offset, source, count);
}

void ERFileManager::replace_node(long offset, const void* source, const void* old,
                                 std::size_t count) {
    if (!velm::detail::UnfinishedNode::could_be_torn(offset, static_cast<const char*>(source),
                                                     static_cast<const char*>(old), count))
        return write_node(offset, source, count);
    const ULONGLONG before = write_unfinished(offset, source, old, count);
    write_node(offset, source, count);
    CFile::SetLength(before);
    length = before;
}

/// Returns the length of the file without it.
ULONGLONG ERFileManager::write_unfinished(long offset, const void* source, const void* old,
                                          std::size_t count) {
    flush_gathered();
    const ULONGLONG before = GetLength();
    const ULONGLONG behind = std::max(before, static_cast<ULONGLONG>(std::max(endOfData, 0L)));
    const std::string both =
        velm::detail::UnfinishedNode{offset, std::string(static_cast<const char*>(source), count),
                                     std::string(static_cast<const char*>(old), count)}
            .bytes();
    if (behind + both.size() <= longest)
        write_through(static_cast<long>(behind), both.data(), both.size());
    return before;
}

void ERFileManager::keep_record(long payload) {
    const ULONGLONG from = static_cast<ULONGLONG>(payload);
    const ULONGLONG to = GetPosition();
    if (to <= from || to - from > window_capacity) return;
    const auto size = static_cast<std::size_t>(to - from);
    if (!gathered.empty()) {
        if (from >= gathered_at && to == gathered_at + gathered.size())
            kept->put(payload, gathered.data() + (from - gathered_at), size);
        else
            kept->erase(payload);
    } else if (!window_is_kept && from >= window_at && to <= window_at + window_size) {
        kept->put(payload, window.get() + (from - window_at), size);
    }
}

void ERFileManager::flush_gathered() {
    if (gathered.empty()) return;
    const ULONGLONG position = GetPosition();
    const auto bytes = static_cast<UINT>(gathered.size());
    struct Emptied {
        std::string& text;
        ~Emptied() { text.clear(); }
    } const emptied{gathered};
    try {
        Seek(static_cast<LONGLONG>(gathered_at), begin);
        CFile::Write(gathered.data(), bytes);
    } catch (...) {
        kept->clear(); // it may hold what the file does not
        chain->forget();
        throw;
    }
    grew_to(GetPosition());
    Seek(static_cast<LONGLONG>(position), begin);
}

/// Fills the window from a position on: with a record that is kept, or from the file.
bool ERFileManager::read_ahead(ULONGLONG position) {
    if (!window) window = std::make_unique<char[]>(window_capacity);
    window_at = position;
    window_size = kept->get_any(static_cast<long>(position), window.get(), window_capacity);
    window_is_kept = window_size > 0;
    if (window_is_kept) return true;
    window_size = CFile::Read(window.get(), ahead);
    Seek(static_cast<LONGLONG>(position), begin);
    return window_size > 0;
}

UINT ERFileManager::Read(void* buffer, UINT count) {
    flush_gathered();
    if (steps == 0) return CFile::Read(buffer, count);
    char* const target = static_cast<char*>(buffer);
    ULONGLONG position = GetPosition();
    UINT done = 0;
    while (done < count) {
        if (position < window_at || position >= window_at + window_size) {
            if (count - done >= ahead) {
                Seek(static_cast<LONGLONG>(position), begin);
                return done + CFile::Read(target + done, count - done);
            }
            if (!read_ahead(position)) break;
        }
        const auto from = static_cast<std::size_t>(position - window_at);
        const std::size_t now = std::min<std::size_t>(count - done, window_size - from);
        std::memcpy(target + done, window.get() + from, now);
        done += static_cast<UINT>(now);
        position += now;
    }
    Seek(static_cast<LONGLONG>(position), begin);
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
        kept->clear(); // nobody tells what is written here
        chain->forget();
        if (steps == 0) chain->give_up();
        CFile::Write(buffer, count);
        grew_to(GetPosition());
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

void ERFileManager::SetLength(ULONGLONG new_length) {
    flush_gathered();
    forget_window();
    length_known = false;
    kept->clear();
    chain->forget();
    CFile::SetLength(new_length);
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
    }
    --file_.steps;
}

} // namespace velm::detail
