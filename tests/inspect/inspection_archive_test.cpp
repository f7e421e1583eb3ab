// Inspections as documents in archives: byte by byte, read back, and damaged.
#include "inspect/workshop.h"
#include "support/archives.h"
#include "velm/inspection/inspection_archive.h"

namespace {

using namespace velm;
using namespace velm_test;

// A folder with a half disc below its flat side, two points over that, and two targets.
struct Archived : Workshop {
    Archived() {
        write("disc.dat", "M -2 0\nA 2 0 0 0 ccw\nL -2 0\nZ\n");
        write("probed.csv", "id,x,y,diameter\n\xC3\xA9,0.5,0.25,0.5\nb,-1,0.75,1\n");
        write("targets.csv", "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,x,y,z,diameter\n"
                             "p,1,2,3,0,0,8,1,2,5,2\nd,1,2,3,,,,1,2,3.5,2\n");
        EXPECT_EQ(run("section disc.dat probed.csv --tolerance .125 --archive s").code, 1);
        EXPECT_EQ(run("targets targets.csv --skip-bad --archive t").code, 0);
    }
};

std::string head_bytes(DWORD kind) {
    return "velm inspection\n" + bytes_of(DWORD{3}, kind) + text_bytes("velm-inspect 0.1.0");
}

// Nothing said, no unit, no column left, plain titles, limits widened, no decimals, plain points.
std::string common_bytes() {
    return bytes_of(DWORD{0}, BYTE{0}, DWORD{0}, DWORD{0}, BYTE{1}, DWORD{1}, BYTE{0}, BYTE{0},
                    BYTE{0}, BYTE{0});
}

std::string edge_bytes(DWORD edge, const std::string& type) {
    return bytes_of(DWORD{2}, DWORD{0}, DWORD{2}, text_bytes("disc.dat"), text_bytes("outer"),
                    DWORD{0xFFFFFFFF}, BYTE{0}, text_bytes(type), edge, DWORD{2},
                    text_bytes("disc.dat"));
}

std::string point_bytes(const std::string& id, WORD number, double x, double y, double diameter,
                        double parameter, double deviation) {
    const double foot[] = {x, 0}, measured[] = {x, y}, nominal[] = {x, 0, 0}, centre[] = {x, y, 0},
                 touched[] = {x, y - diameter / 2, 0}, up[] = {0, 1}, normal[] = {0, 1, 0};
    return bytes_of(BYTE{1}, text_bytes(id), BYTE{1}, nominal, number, centre, normal, diameter,
                    touched, normal, DWORD{0}, DWORD{1}, parameter, foot, up, y, deviation,
                    measured, DWORD{1});
}

std::string with_checksum(const std::string& bytes) {
    return bytes + bytes_of(hxu_fnv1a_hash(bytes));
}

TEST(InspectionArchive, StandsAsDocumented) {
    const Archived shop;
    const double band[] = {-0.125, 0.125}, arc[] = {0, 0, 2, M_PI, 2 * M_PI}, left[] = {-2, 0},
                 right[] = {2, 0},
                 figures[] = {0, 0.25, 0.125, std::sqrt(0.03125), std::hypot(0.125, 0.125)};
    const std::string section =
        head_bytes(1) + text_bytes("disc.dat") + text_bytes("probed.csv") +
        bytes_of(BYTE{1}, band, BYTE{0}, BYTE{0}, BYTE{0}) + text_bytes("") + text_bytes("arcs") +
        bytes_of(DWORD{1}) + common_bytes() + bytes_of(BYTE{0}, DWORD{2}) +
        edge_bytes(0, "ERArc2D") + bytes_of(left, BYTE{1}, arc) + edge_bytes(1, "ERSegment2D") +
        bytes_of(right, BYTE{0}) + point_bytes("\xC3\xA9", 1, 0.5, 0.25, 0.5, 0.375, 0) +
        point_bytes("b", 2, -1, 0.75, 1, 0.75, 0.25) +
        bytes_of(BYTE{0}, WORD{2}, BYTE{0}, BYTE{1}, BYTE{0}, DWORD{1}, ULONGLONG{2}, ULONGLONG{1},
                 ULONGLONG{1}, figures, text_bytes("b"), 0.25, BYTE{0}, BYTE{0});
    EXPECT_EQ(shop.read("s"), with_checksum(section));

    const double nominal[] = {1, 2, 3}, on_plane[] = {1, 2, 5, 0, 0, 1, 2, 1, 2, 4, 0, 0, 1},
                 direct[] = {1, 2, 3.5, 0, 0, 0, 2, 1, 2, 3.5, 0, 0, 0},
                 signed_one[] = {1, 1, 1, 0, 1}, distance[] = {0.5, 0.5, 0.5, 0, 0.5};
    const std::string targets =
        head_bytes(2) + text_bytes("targets.csv") + bytes_of(BYTE{0}, BYTE{0}, BYTE{1}) +
        bytes_of(ULONGLONG{0}) + common_bytes() +
        bytes_of(BYTE{1}, text_bytes("p"), BYTE{1}, nominal, WORD{1}, on_plane) +
        bytes_of(BYTE{1}, text_bytes("d"), BYTE{0}, nominal, WORD{2}, direct, BYTE{0}) +
        bytes_of(WORD{2}, BYTE{0}, BYTE{0}, BYTE{0}, DWORD{0}, ULONGLONG{2}, ULONGLONG{0}) +
        bytes_of(ULONGLONG{0}, signed_one, text_bytes("p"), 1.0, BYTE{0}, BYTE{1}, ULONGLONG{1},
                 distance);
    EXPECT_EQ(shop.read("t"), with_checksum(targets));
}

// Reads a document to its end. The cause of the archive exception, 0 without one.
int cause_of(const std::string& bytes) {
    MemoryFile file(bytes);
    return archive_cause([&] {
        InspectionArchiveReader document(file);
        if (document.kind() == ArchivedKind::section) {
            SectionArchiveReader reader(document);
            for (velm::SectionRow row; reader.next(row);)
                continue;
        } else {
            TargetArchiveReader reader(document);
            for (velm::TargetRow row; reader.next(row);)
                continue;
        }
    });
}

TEST(InspectionArchive, DamageIsRefused) {
    const Archived shop;
    const auto refused = [&](const std::string& bytes, const std::string& why) {
        shop.write("bad", bytes);
        shop.refused("report bad --json new", 3, "velm-inspect: bad: is " + why + "\n");
    };
    const std::string section = shop.read("s");
    std::string damaged = section, later = section;
    damaged[400] ^= 1;
    later[16] = 4;
    refused(damaged, "a damaged archive of an inspection");
    refused(section.substr(0, 500), "a damaged archive of an inspection");
    refused(with_checksum(section.substr(0, section.size() - 100)),
            "a damaged archive of an inspection");
    refused(later, "an archive of a later version; this program reads versions up to 3");
    Random random = Random::fixed(7);
    for (const char* name : {"s", "t"}) {
        const std::string good = shop.read(name);
        ASSERT_EQ(cause_of(good), 0);
        for (std::size_t size = 0; size < good.size(); ++size) {
            ASSERT_NE(cause_of(good.substr(0, size)), 0) << size;
            if (size + 4 == good.size()) continue; // whose checksum makes it whole again
            ASSERT_NE(cause_of(with_checksum(good.substr(0, size))), 0) << size;
        }
        ASSERT_NE(cause_of(with_checksum(good)), 0) << "bytes after the end";
        for (std::size_t at = 0; at < good.size(); ++at) {
            std::string changed = good;
            changed[at] = static_cast<char>(changed[at] ^ (1 << random.below(8)));
            ASSERT_NE(cause_of(changed), 0) << at;
            cause_of(
                with_checksum(changed.substr(0, changed.size() - 4))); // nothing but exceptions
        }
    }
}

} // namespace
