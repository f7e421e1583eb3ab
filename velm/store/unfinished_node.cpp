#include "velm/store/detail/unfinished_node.h"

#include <algorithm>

namespace velm::detail {

namespace {

// The bytes of a node before the first place after `from` where a page ends.
std::size_t page_end(long offset, std::size_t from) {
    const std::size_t at = static_cast<std::size_t>(offset) + from;
    return from + UnfinishedNode::page - at % UnfinishedNode::page;
}

} // namespace

bool UnfinishedNode::could_be_torn(long offset, const char* replacement, const char* old,
                                   std::size_t count) {
    if (page_end(offset, 0) >= count) return false;
    int pages = 0;
    for (std::size_t from = 0, to; from < count && pages < 2; from = to) {
        to = std::min(page_end(offset, from), count);
        pages += std::memcmp(replacement + from, old + from, to - from) != 0;
    }
    return pages == 2;
}

bool UnfinishedNode::is_mixture(const std::string& image) const {
    if (image == old || image == replacement) return false;
    for (std::size_t at = page_end(offset, 0); at < image.size(); at = page_end(offset, at))
        if (image.compare(0, at, replacement, 0, at) == 0 &&
            image.compare(at, image.npos, old, at, old.npos) == 0)
            return true;
    return false;
}

} // namespace velm::detail
