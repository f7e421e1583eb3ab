// velm::detail::UnfinishedNode: what is at the end of an object file while a node is being
// written in place.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

namespace velm::detail {

/// A process that is killed in a write leaves it complete up to the end of some page, and the node
/// with new bytes before that place and old ones after it. From the two images such a mixture
/// is known for what it is, and the new one put in its place. The layout is stored and must
/// never change:
///
///     0         the new image, n bytes
///     n         the old image, n bytes
///     2n        the node's offset
///     2n + 4    n
///     2n + 8    eight bytes: "VELMNODE"
struct UnfinishedNode {
    static constexpr std::size_t page = 4096; // or a multiple of it
    static constexpr char magic[] = "VELMNODE";
    static constexpr std::size_t trailer_size = 16;

    long offset = -1;
    std::string replacement;
    std::string old;

    std::string bytes() const {
        const std::int32_t trailer[] = {static_cast<std::int32_t>(offset),
                                        static_cast<std::int32_t>(replacement.size())};
        return replacement + old +
               std::string(reinterpret_cast<const char*>(trailer), sizeof trailer) + magic;
    }
    /// Whether both images differ on two pages, so that a part of the write would be neither.
    static bool could_be_torn(long offset, const char* replacement, const char* old,
                              std::size_t count);
    /// Whether an image is a mixture of the two.
    bool is_mixture(const std::string& image) const;
};

} // namespace velm::detail
