// ply_reader.h: `PlyReader`, the vertices of a PLY file in one pass.
#pragma once

#include "inspect/input/text_source.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

struct ScanPoint {
    ERPoint3D place;
    std::optional<ERVector3D> normal; ///< as the file has it
};

/// Reads `x`, `y`, `z` and, if there are all three, `nx`, `ny`, `nz` of the element `vertex`, in
/// the ASCII form, one vertex per line, and in both binary ones; the rest of the file is
/// skipped. Memory doesn't depend on what the header says. Throws `Failure`: (file) where reading
/// fails, (input) for anything else, with the line in the header and in an ASCII body, with the
/// number of the vertex in a binary one.
class PlyReader {
public:
    /// Reads the header.
    explicit PlyReader(OpenedInput input);

    /// The next vertex; false after the last.
    bool next(ScanPoint& point);

    bool has_normals() const { return has_normals_; }
    /// As the header says.
    std::uint64_t count() const { return vertices_->count; }
    std::uint64_t bytes_read() const { return bytes_read_; }
    /// Throws `Failure` (input) about the vertex that was read last.
    [[noreturn]] void refuse(const std::string& why) const;

    /// Whether a file begins as PLY does, of which it needs four bytes.
    static bool begins(std::string_view start) {
        return start.starts_with("ply\n") || start.starts_with("ply\r");
    }

private:
    enum class Format { ascii, little, big };
    enum class Scalar { int8, uint8, int16, uint16, int32, uint32, float32, float64 };
    struct Property {
        std::optional<Scalar> length; ///< of a list
        Scalar value = Scalar::float32;
        int use = -1; ///< 0 to 5 for x, y, z, nx, ny, nz
    };
    struct Element {
        std::uint64_t count = 0;
        std::vector<Property> properties;
    };

    void read_header();
    void read_format(const std::vector<std::string_view>& words);
    void read_element(const std::vector<std::string_view>& words);
    void read_property(const std::vector<std::string_view>& words);
    Scalar scalar(std::string_view word) const;
    void check_vertices();
    void skip_elements_before();
    void read_entry(const Element& element, double* used);
    void begin_entry();
    void end_entry() const;
    double value(Scalar kind);
    double ascii_value();
    double binary_value(Scalar kind);

    bool fill(std::size_t wanted);
    bool next_line(std::string_view& line);

    OpenedInput input_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0, end_ = 0; // what is in the buffer and not consumed
    std::string_view rest_;           // of the line of an ASCII body
    std::uint64_t line_ = 0, bytes_read_ = 0;
    Format format_ = Format::ascii;
    bool has_format_ = false, in_body_ = false, has_normals_ = false;
    std::vector<Element> elements_before_; // of the vertices
    std::optional<Element> vertices_;
    Element after_;           // one after the vertices, not read
    Element* open_ = nullptr; // gets the properties of the header's next lines
    std::uint64_t read_ = 0;  // vertices, with the one at work
};

} // namespace velm::inspect
