#include "velm/store/file_space.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/block_cache.h"
#include "velm/store/detail/free_chain.h"
#include "velm/store/detail/operation_state.h"

#include <climits>

using velm::detail::StoreStep;

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

// ---- opening and closing ----

ERFileManager::ERFileManager(const char* name, int read_only)
    : ERFile(name, open_flags(name, read_only)), readOnly(read_only),
      kept(std::make_unique<velm::detail::BlockCache>()),
      chain(std::make_unique<velm::detail::FreeChain>()),
      operation(std::make_unique<velm::detail::OperationState>()) {
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

ERFileManager::~ERFileManager() {
    try {
        ERFileManager::Close();
    } catch (CFileException* failure) {
        failure->Delete();
    }
    for (velm::detail::StepMember* const member : operation->members)
        member->forget_file();
}

void ERFileManager::create_head() {
    if (readOnly) return; // an empty file opened for reading stays as it is
    const std::int32_t head[] = {ER_NULL_OFFSET, first_block, node_size};
    write_direct(0, head, sizeof head);
    list = std::make_unique<ERListManager>(this, 1);
}

void ERFileManager::Close() {
    if (!is_open()) return;
    velm::detail::AllSteps closing;
    closing.attempt([this] { settle(); });
    closing.attempt([this] { ERFile::Close(); });
    closing.finish();
}

void ERFileManager::Flush() {
    settle();
    CFile::Flush();
}

// ---- blocks ----

long ERFileManager::allocate(unsigned int bytes) {
    unsigned int total;
    return allocate_sized(bytes, total);
}

long ERFileManager::allocate_sized(unsigned int bytes, unsigned int& total) {
    if (!list) raise(CFileException::invalidFile);
    StoreStep step(*this);
    const long payload = list->take_block(bytes, total);
    if (startOffset == ER_NULL_OFFSET && payload != ER_NULL_OFFSET) startOffset = payload;
    step.finish();
    return payload;
}

void ERFileManager::deallocate(long payload) { deallocate_sized(payload, 0); }

void ERFileManager::deallocate_sized(long payload, unsigned int total) {
    if (payload == ER_NULL_OFFSET || payload == startOffset || !list) return;
    if (operation->batch) return operation->batch->freed.push_back(payload);
    velm::detail::removal(*this, [&] {
        kept->erase(payload);
        list->give_back(payload, total);
        return 0;
    });
}

long ERFileManager::allocateAtEnd(unsigned int bytes) {
    StoreStep step(*this);
    const long offset = endOfData;
    if (offset < first_block || offset > INT_MAX) raise(CFileException::invalidFile);
    if (static_cast<unsigned long>(bytes) > static_cast<unsigned long>(INT_MAX - offset))
        raise(CFileException::diskFull);
    endOfData = offset + static_cast<long>(bytes);
    note_allocated(offset, bytes);
    step.finish();
    return offset;
}

int ERFileManager::deallocateFromEnd(long offset, unsigned int size) {
    if (offset + static_cast<long>(size) < endOfData) return 0;
    if (offset < first_block) raise(CFileException::invalidFile);
    StoreStep step(*this);
    note_freed(offset, size);
    endOfData = offset;
    step.finish();
    return 1;
}

unsigned long ERFileManager::nodes_given_up() const { return kept->times_cleared(); }

void ERFileManager::forget_node(long offset) { kept->erase(offset); }

void ERFileManager::raise(int cause) const {
    AfxThrowFileException(cause, -1, GetFilePath().c_str());
}
