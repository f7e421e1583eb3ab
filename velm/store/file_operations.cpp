// How an ERFileManager begins, gathers and ends an operation, and what is read meanwhile.
#include "velm/platform/file_exception.h"
#include "velm/store/detail/block_cache.h"
#include "velm/store/detail/free_chain.h"
#include "velm/store/detail/operation_state.h"
#include "velm/store/disk_tree_node.h"
#include "velm/store/file_space.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

using velm::detail::OperationState;
using velm::detail::StoreStep;

// ---- beginning and ending ----

void ERFileManager::begin_operation() {
    OperationState& now = *operation;
    now.doomed = now.wrote = false;
    now.start_before = startOffset;
    now.end_before = endOfData;
    now.allocated.clear();
    now.freed.clear();
    if (list) list->remember();
    for (velm::detail::StepMember* const member : now.members)
        member->remember();
}

void ERFileManager::roll_back() {
    OperationState& now = *operation;
    startOffset = now.start_before;
    endOfData = now.end_before;
    now.log.clear();
    now.window_size = 0;
    if (now.wrote) {
        kept->clear();
        chain->forget();
    }
    if (list) list->go_back();
    for (velm::detail::StepMember* const member : now.members)
        member->go_back();
    now.batch.reset();
}

// What goes to free space is written first: if that fails, nothing has to be put back.
void ERFileManager::commit() {
    OperationState& now = *operation;
    const bool head_has_changed = startOffset != now.start_before || endOfData != now.end_before;
    if (now.log.empty() && !head_has_changed) return;
    if (now.behind.any) bring_up();
    write_allocated();
    try {
        write_in_place();
    } catch (...) {
        now.behind.any = true;
        now.behind.writes = std::move(now.log);
        now.log.clear();
        try {
            bring_up();
        } catch (CFileException* again) {
            again->Delete();
        }
        throw;
    }
    now.log.clear();
    now.start_before = startOffset;
    now.end_before = endOfData;
}

void ERFileManager::settle() {
    if (!readOnly && is_open()) bring_up();
}

bool ERFileManager::is_behind() const { return operation->behind.any; }

// ---- what is free space ----

// Blocks that an operation takes from what it has freed itself count as in use: until all of it is
// on file they are.
void ERFileManager::note_allocated(long offset, unsigned int size) {
    const long upper = offset + long{size};
    if (offset >= operation->end_before) return; // all of that is free
    const bool was_freed =
        std::any_of(operation->freed.begin(), operation->freed.end(), [=](const auto& range) {
            return range.first < upper && offset < range.second;
        });
    if (!was_freed) operation->allocated.emplace_back(offset, upper);
}

void ERFileManager::note_freed(long offset, unsigned int size) {
    operation->freed.emplace_back(offset, offset + long{size});
}

bool ERFileManager::is_free_space(long offset, std::size_t count) const {
    if (offset >= operation->end_before) return true;
    const long upper = offset + static_cast<long>(count);
    const auto& ranges = operation->allocated;
    return std::any_of(ranges.rbegin(), ranges.rend(), [=](const auto& range) {
        return range.first <= offset && upper <= range.second;
    });
}

// Who overwrites what others have written may change a node or a size word.
void ERFileManager::doubt_what_is_kept(long offset, std::size_t count) {
    if (is_free_space(offset, count)) return;
    const long upper = offset + static_cast<long>(count);
    const auto& ranges = operation->freed;
    const bool was_freed = std::any_of(ranges.begin(), ranges.end(), [=](const auto& range) {
        return range.first <= offset && upper <= range.second;
    });
    if (!was_freed) kept->clear();
}

// ---- gathering ----

// Where the file is shorter, it will have zeros.
std::string ERFileManager::old_image(long offset, std::size_t count) {
    std::string bytes(count, '\0');
    read_image(offset, bytes.data(), count);
    return bytes;
}

// Gathers bytes of the operation under way whose old image nobody knows.
void ERFileManager::change(long offset, const void* source, std::size_t count) {
    OperationState& now = *operation;
    now.window_size = 0;
    now.wrote = true;
    if (!is_free_space(offset, count))
        return now.log.add(offset, source, old_image(offset, count).data(), count, false);
    const bool never_used = length_known && static_cast<ULONGLONG>(offset) >= length;
    now.log.add_fresh(offset, source, count, never_used || now.batch);
    if (now.log.held() < OperationState::most_held) return;
    if (now.behind.any) bring_up();
    write_allocated();
    now.log.drop_fresh();
}

void ERFileManager::write_through(long offset, const void* source, std::size_t count) {
    StoreStep step(*this);
    doubt_what_is_kept(offset, count);
    change(offset, source, count);
    step.finish();
}

void ERFileManager::write_over(long offset, const void* source, const void* old,
                               std::size_t count) {
    StoreStep step(*this);
    if (is_free_space(offset, count))
        change(offset, source, count);
    else
        operation->log.add(offset, source, old, count, false);
    operation->wrote = true;
    step.finish();
}

void ERFileManager::write_node(long offset, const void* source, std::size_t size, NodeKind kind) {
    StoreStep step(*this);
    OperationState& now = *operation;
    now.window_size = 0;
    now.wrote = true;
    const bool of_tree = kind == NodeKind::of_tree;
    if (now.batch) {
        gather_node(offset, source, size, of_tree);
    } else if (is_free_space(offset, size)) {
        change(offset, source, size);
        kept->put(offset, source, size);
    } else if (char* const known = kept->edit(offset, size)) {
        now.log.add(offset, source, known, size, of_tree);
        std::memcpy(known, source, size);
    } else {
        now.log.add(offset, source, old_image(offset, size).data(), size, of_tree);
        kept->put(offset, source, size);
    }
    step.finish();
}

// A batch puts the last image of a node in its place when it ends.
void ERFileManager::gather_node(long offset, const void* source, std::size_t size, bool of_tree) {
    OperationState::BatchNode* node = operation->batch->find(offset);
    if (node == nullptr) {
        const bool is_new = is_free_space(offset, size);
        if (is_new) change(offset, source, size);
        node = &operation->batch->add(offset, size, of_tree, is_new);
        if (!is_new) {
            char* const old = node->images.get() + size;
            if (const char* const known = kept->look(offset, size))
                std::memcpy(old, known, size);
            else
                old_image(offset, size).copy(old, size);
        }
        kept->erase(offset);
    }
    if (node->size != size) raise(CFileException::invalidFile); // two trees have it
    std::memcpy(node->images.get(), source, size);
}

void ERFileManager::Write(const void* buffer, UINT count) {
    const ULONGLONG position = GetPosition();
    if (count > 0 && (position > longest || count > longest - position))
        raise(CFileException::diskFull);
    OperationState& now = *operation;
    if (now.changes > 0) {
        doubt_what_is_kept(static_cast<long>(position), count);
        change(static_cast<long>(position), buffer, count);
        return_to(position + count);
        return;
    }
    settle();
    now.window_size = 0;
    kept->clear(); // nobody says what is written here
    chain->give_up();
    CFile::Write(buffer, count);
    length = std::max(length, GetPosition());
}

ULONGLONG ERFileManager::GetLength() const {
    if (operation->tail_end == 0 && (!length_known || operation->steps == 0)) {
        length = CFile::GetLength();
        length_known = true;
    }
    return std::max(length, static_cast<ULONGLONG>(operation->log.end()));
}

void ERFileManager::SetLength(ULONGLONG new_length) {
    settle();
    operation->window_size = 0;
    length_known = false;
    kept->clear();
    chain->forget();
    CFile::SetLength(new_length);
}

// ---- a batch ----

bool ERFileManager::gathers_batch() const { return operation->batch != nullptr; }

namespace {

// How far a node is above the leaves, as its first sons lead there.
int height_of(ERFileManager& file, const char* image, std::size_t size) {
    int height = 0;
    std::int32_t son;
    for (; image != nullptr && height < 64; ++height) {
        std::memcpy(&son, image + ERDiskTreeLayout::first_son_at, sizeof son);
        if (son == -1) break;
        image = file.node_at(son, size);
    }
    return height;
}

} // namespace

// New nodes go to the file at once: nothing leads to them yet, and a copy of all of them would take
// as much memory again. The nodes that were there follow from the root down: each of their old keys
// is then in one that the root leads to, at any moment. What a batch frees is in use until it is on
// file.
void ERFileManager::end_batch() {
    OperationState& now = *operation;
    struct InPlace {
        int height;
        long offset;
        OperationState::BatchNode* node;
    };
    std::vector<InPlace> in_place;
    for (OperationState::BatchNode& node : now.batch->nodes)
        if (!node.is_new)
            in_place.push_back(
                {height_of(*this, node.images.get(), node.size), node.offset, &node});
    std::sort(in_place.begin(), in_place.end(), [](const InPlace& a, const InPlace& b) {
        return std::tie(b.height, a.offset) < std::tie(a.height, b.offset);
    });
    if (now.behind.any) bring_up();
    write_allocated();
    now.log.drop_fresh();
    for (OperationState::BatchNode& node : now.batch->nodes) {
        if (!node.is_new) continue;
        write_free_space(node.offset, node.images.get(), node.size);
        kept->take(node.offset, std::move(node.images), node.size);
    }
    for (const InPlace& entry : in_place) {
        OperationState::BatchNode& node = *entry.node;
        kept->put(node.offset, node.images.get(), node.size);
        now.log.add_taken(node.offset, std::move(node.images), node.size, node.of_tree);
    }
    now.batch->places.clear();
    now.batch->nodes.clear();
}

// ---- reading ----

// Bytes as they are for the operation under way. The position is anywhere afterwards.
std::size_t ERFileManager::read_image(long offset, void* target, std::size_t count) {
    char* const bytes = static_cast<char*>(target);
    const OperationState& now = *operation;
    Seek(offset, begin);
    std::size_t came = CFile::Read(bytes, static_cast<UINT>(count));
    if (now.tail_end > 0) came = std::min<std::size_t>(came, bytes_before_tail(offset));
    if (now.behind.any) now.behind.writes.put_old_over(now.behind.done, offset, bytes, came);
    return now.log.put_over(offset, bytes, count, came);
}

std::size_t ERFileManager::read_through(long offset, void* target, std::size_t count) {
    const std::size_t came = read_image(offset, target, count);
    return_to(static_cast<ULONGLONG>(offset) + came);
    return came;
}

const char* ERFileManager::node_at(long offset, std::size_t size) {
    if (operation->batch && offset > 0) {
        const OperationState::BatchNode* const node = operation->batch->find(offset);
        if (node != nullptr && node->size == size) return node->images.get();
    }
    if (const char* const image = kept->look(offset, size)) return image;
    std::string& read = operation->node_read;
    read.resize(size);
    if (read_image(offset, read.data(), size) != size) return nullptr;
    kept->put(offset, read.data(), size);
    return read.data();
}

unsigned int ERFileManager::enter_block(long payload, unsigned int known_total) {
    constexpr long kSizeWord = 4;
    OperationState& now = *operation;
    std::uint32_t total = 0;
    if (now.steps > 0 && payload >= kSizeWord) {
        const auto at = static_cast<ULONGLONG>(payload - kSizeWord);
        const bool here =
            at >= now.window_at && at + known_total <= now.window_at + now.window_size;
        Seek(payload - kSizeWord, begin);
        if (!here && known_total > OperationState::ahead &&
            known_total <= OperationState::window_capacity)
            read_ahead(at, known_total);
        if (velm::read_bytes(*this, &total, sizeof total) != sizeof total) total = 0;
    }
    Seek(payload, begin);
    return total;
}

// Fills the window from a position on.
bool ERFileManager::read_ahead(ULONGLONG position, std::size_t count) {
    OperationState& now = *operation;
    if (!now.window) now.window = std::make_unique<char[]>(OperationState::window_capacity);
    now.window_at = position;
    now.window_size = 0; // if the reading fails
    now.window_size = read_image(static_cast<long>(position), now.window.get(), count);
    return_to(position);
    return now.window_size > 0;
}

UINT ERFileManager::Read(void* buffer, UINT count) {
    OperationState& now = *operation;
    char* const target = static_cast<char*>(buffer);
    ULONGLONG position = GetPosition();
    if (now.steps == 0) {
        const std::size_t came = read_image(static_cast<long>(position), target, count);
        return_to(position + came);
        return static_cast<UINT>(came);
    }
    UINT done = 0;
    while (done < count) {
        if (position < now.window_at || position >= now.window_at + now.window_size) {
            if (count - done >= OperationState::most_ahead) {
                const std::size_t came =
                    read_image(static_cast<long>(position), target + done, count - done);
                done += static_cast<UINT>(came);
                position += came;
                break;
            }
            if (!read_ahead(position, OperationState::ahead)) break;
        }
        const auto from = static_cast<std::size_t>(position - now.window_at);
        const std::size_t some = std::min<std::size_t>(count - done, now.window_size - from);
        std::memcpy(target + done, now.window.get() + from, some);
        done += static_cast<UINT>(some);
        position += some;
    }
    return_to(position);
    return done;
}
