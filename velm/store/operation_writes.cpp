// How an ERFileManager puts the writes of an operation on file, and takes back those of one that
// failed.
#include "velm/platform/file_exception.h"
#include "velm/store/detail/operation_state.h"
#include "velm/store/detail/unfinished_node.h"
#include "velm/store/file_space.h"

#include <algorithm>
#include <tuple>
#include <utility>

using velm::detail::OperationState;
using velm::detail::UnfinishedNode;

void ERFileManager::write_direct(long offset, const void* source, std::size_t count) {
    Seek(offset, begin);
    length = std::max(length, static_cast<ULONGLONG>(offset) + count); // a failure may leave a part
    if (static_cast<long>(length) >= operation->tail_end) operation->tail_end = 0;
    CFile::Write(source, static_cast<UINT>(count));
}

// What is written over the images of a node is written over all of them: a part of them would mean
// something else.
void ERFileManager::write_allocated() {
    const long known = static_cast<long>(length_known ? length : CFile::GetLength());
    operation->log.each_fresh_piece(known, [&](long offset, const char* bytes, std::size_t size) {
        write_free_space(offset, bytes, size);
    });
    if (operation->guard.there && endOfData > operation->guard.start) cut_tail();
}

void ERFileManager::write_free_space(long offset, const char* bytes, std::size_t size) {
    const OperationState::Guard& guard = operation->guard;
    const bool over_images = guard.there && offset + static_cast<long>(size) > guard.start;
    if (over_images && offset <= guard.start) return write_over_guard(offset, bytes, size);
    if (over_images || guard.is_of(offset, size)) cut_tail();
    write_direct(offset, bytes, size);
}

// Where it fails, the file still ends where it did, and images that may be damaged follow.
void ERFileManager::write_over_guard(long offset, const char* bytes, std::size_t size) {
    OperationState& now = *operation;
    std::string all(bytes, size);
    all.resize(std::max(size, static_cast<std::size_t>(now.tail_end - offset)), '\0');
    now.tail_end = offset + static_cast<long>(all.size());
    Seek(offset, begin);
    CFile::Write(all.data(), static_cast<UINT>(all.size()));
    length = std::max(length, static_cast<ULONGLONG>(offset) + size);
    if (all.size() == size) now.tail_end = 0;
    now.guard.there = false;
}

void ERFileManager::write_head() {
    const std::int32_t words[] = {velm::stored_long(startOffset), velm::stored_long(endOfData)};
    operation->behind.head = true;
    const bool both = startOffset != operation->start_before;
    write_direct(both ? 0 : 4, both ? words : words + 1, both ? 8 : 4);
}

// The end of data grows before anything leads to the new blocks, and goes back when nothing leads
// to the old ones any more.
void ERFileManager::write_in_place() {
    OperationState& now = *operation;
    now.behind.done = 0;
    now.behind.head = false;
    const bool head_has_changed = startOffset != now.start_before || endOfData != now.end_before;
    const bool shrinks = endOfData < now.end_before;
    if (head_has_changed && !shrinks) write_head();
    for (const auto& write : now.log.writes()) {
        ++now.behind.done;
        if (!write.fresh)
            put_in_place(write.offset, now.log.new_bytes(write), now.log.old_bytes(write),
                         write.size, write.node);
    }
    if (shrinks) write_head();
}

void ERFileManager::put_in_place(long offset, const char* bytes, const char* old, std::size_t size,
                                 bool node) {
    const OperationState::Guard& guard = operation->guard;
    if (node && UnfinishedNode::could_be_torn(offset, bytes, old, size))
        write_guard(offset, bytes, old, size);
    else if (guard.there && guard.node == offset)
        cut_tail();
    write_direct(offset, bytes, size);
}

// Where there is no room for both images, the node is written without them. They stay until other
// bytes take their place, the node is written again or the file is closed: cutting the file costs
// more than both writes.
void ERFileManager::write_guard(long offset, const char* bytes, const char* old, std::size_t size) {
    OperationState::Guard& guard = operation->guard;
    const bool is_larger_than_a_page = size > UnfinishedNode::page;
    if (guard.there && (guard.node_size != size || is_larger_than_a_page)) cut_tail();
    const std::string both =
        UnfinishedNode{offset, std::string(bytes, size), std::string(old, size)}.bytes();
    const long count = static_cast<long>(both.size());
    const long at =
        std::max({static_cast<long>(GetLength()), endOfData, operation->tail_end - count});
    if (at > static_cast<long>(longest) - count) return;
    guard = {true, offset, size, at};
    operation->tail_end = at + count;
    try {
        Seek(at, begin);
        CFile::Write(both.data(), static_cast<UINT>(count));
    } catch (CFileException* failure) {
        if (failure->m_cause != CFileException::diskFull) throw;
        failure->Delete();
        cut_tail();
    }
}

std::size_t ERFileManager::bytes_before_tail(long offset) const {
    const ULONGLONG at = static_cast<ULONGLONG>(offset);
    return at < length ? static_cast<std::size_t>(length - at) : 0;
}

void ERFileManager::cut_tail() {
    if (operation->tail_end > 0) CFile::SetLength(length);
    operation->tail_end = 0;
    operation->guard.there = false;
}

// Puts back what an operation that failed has overwritten, in the reverse order of its writes, and
// cuts what is after the end of the file.
void ERFileManager::bring_up() {
    OperationState::Behind& behind = operation->behind;
    if (!behind.any) return cut_tail();
    const auto present = std::make_pair(startOffset, endOfData);
    startOffset = operation->start_before;
    endOfData = operation->end_before;
    try {
        const auto& writes = behind.writes.writes();
        for (std::size_t i = behind.done; i-- > 0;)
            if (!writes[i].fresh)
                put_in_place(writes[i].offset, behind.writes.old_bytes(writes[i]),
                             behind.writes.new_bytes(writes[i]), writes[i].size, writes[i].node);
        if (behind.head) {
            const std::int32_t words[] = {velm::stored_long(startOffset),
                                          velm::stored_long(endOfData)};
            write_direct(0, words, sizeof words);
        }
        cut_tail();
    } catch (...) {
        std::tie(startOffset, endOfData) = present;
        throw;
    }
    std::tie(startOffset, endOfData) = present;
    behind.writes.clear();
    behind.any = behind.head = false;
    behind.done = 0;
}
