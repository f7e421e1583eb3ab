// png_image.h: `IndexedImage`, a picture of up to 256 colours, as PNG, and `base64`.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velm::inspect {

/// Rows from the top; each pixel is a number of the palette. Colour 0 is transparent.
struct IndexedImage {
    int width = 0, height = 0;
    std::vector<std::uint8_t> pixels;
    std::vector<std::array<std::uint8_t, 3>> palette;

    /// The bytes of a PNG file, deflated with the code that needs no table (RFC 1951, 3.2.6).
    std::string png() const;
};

/// RFC 4648.
std::string base64(std::span<const std::uint8_t> bytes);

} // namespace velm::inspect
