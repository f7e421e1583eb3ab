// Identifiers, group structures and name spaces: texts, paths, orders, and their archive forms byte
// by byte with the older versions.
#include "velm/measure/cad_containers.h"
#include "velm/measure/named_database_object.h"

#include "support/archives.h"
#include "velm/platform/dump_context.h"
#include "velm/platform/name_comparison.h"

namespace {

using namespace velm_test;
using Strings = std::vector<std::string>;

const stoClass plane_class("plane");
constexpr DWORD none = 0xFFFFFFFF;

Strings names(const gmCADGroupStructure& group) {
    Strings result;
    for (int n = 0; n < group.depth(); ++n)
        result.emplace_back(group.level(n).text().view());
    return result;
}

TEST(CadGroups, SplitPathsAtBothSlashes) {
    const std::string accents = "\xC3\xA9t\xC3\xA9";
    const std::pair<utString, Strings> cases[] = {{"a//b\\c", {"a", "b", "c"}},
                                                  {"\\/", {}},
                                                  {utString(), {}},
                                                  {"/x 10/" + accents + "/", {"x 10", accents}}};
    for (const auto& [path, levels] : cases) {
        const gmCADGroupStructure group(path);
        std::string text;
        for (const std::string& level : levels)
            text += "/" + level;
        EXPECT_EQ(names(group), levels);
        EXPECT_EQ(group.path(), text.c_str());
        EXPECT_EQ(group.path_hash(), hxu_fnv1a_hash(text));
    }
    // A level may contain slashes, which the path does not distinguish; names lose them.
    gmCADGroupStructure group;
    group.start_group("a/b");
    EXPECT_TRUE(group.path() == "/a/b" && !(group == gmCADGroupStructure("a/b")));
    utString name("a/b\\c/"), null;
    gm_replace_name_slashes(name);
    gm_replace_name_slashes(null);
    EXPECT_TRUE(name == "a\\b\\c\\" && null.null());
}

TEST(CadGroups, KnowWhereASolidBegins) {
    gmCADGroupStructure group("car");
    group.start_solid("door");
    group.start_group("skin");
    EXPECT_TRUE(!group.is_solid_at_depth(0) && group.is_solid_at_depth(1));
    EXPECT_TRUE(!group.group_to_depth(0).is_solid() && group.group_to_depth(1).is_solid());
    EXPECT_EQ(names(group.group_to_depth(1)), (Strings{"car", "door"}));
    EXPECT_EQ(group.group_to_depth(9).depth() + group.group_to_depth(-5).depth(), 3);
    group.end_group();
    EXPECT_TRUE(group.is_solid() && group.path() == "/car/door");
    group.set_unlinked_solid_for_current_depth();
    EXPECT_TRUE(group.is_unlinked_solid() && group.is_solid_at_depth(1));
    group.end_group();
    EXPECT_FALSE(group.is_solid());
    group.set_solid_for_current_depth();
    group.start_group("x");
    group.end_solid();
    EXPECT_TRUE(!group.is_solid() && group.path() == "/car");
    group.end_group();
    group.end_solid();
    EXPECT_TRUE(group.empty() && group.leaf().invalid());
}

// In order: by the first level that differs, then by depth.
TEST(CadGroups, AreOrderedLevelByLevel) {
    std::vector<gmCADGroupStructure> sorted;
    for (const char* path : {"", "a2", "a2/b9", "a2/b10", "a2/b10/c", "a10"})
        sorted.emplace_back(path);
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t j = 0; j < sorted.size(); ++j) {
            const auto &a = sorted[i], &b = sorted[j];
            EXPECT_EQ(a.compare(b), (i > j) - (i < j));
            EXPECT_EQ(a == b, i == j);
            const bool start =
                i > 0 && a.depth() < b.depth() && b.path().view().starts_with(a.path().view());
            EXPECT_EQ(a.is_start_of(b), start) << i << ' ' << j;
            EXPECT_EQ(gmCADGroupStructure(gmRootGroup).is_start_of(b), j > 0);
        }
    }
    EXPECT_EQ(sorted[1].compare_at_depth(sorted[3], 1), 1) << "a missing level comes after";
    EXPECT_TRUE(sorted[2].matches_at_depth(sorted[3], 0) &&
                !sorted[1].matches_at_depth(sorted[1], 1));
    ERDBObject object;
    sorted[1].set_name_on_object(object);
    const std::string leaf = object.name();
    sorted[3].set_name_on_object(object);
    EXPECT_EQ(leaf + object.name(), "a2/a2/b10");
}

TEST(CadObjectId, TextsAndHashes) {
    const CADObjectID named(7, gmCADGroupStructure("top/leaf"), &plane_class, 9);
    CADObjectID displayed(7, "top/leaf", "plane", 9), in_file(displayed);
    displayed.set_name_space({gmNSTypeName, "model"});
    in_file.set_name_space({gmNSTypeFile, "m.igs"});
    const std::pair<CADObjectID, Strings> cases[] = {
        {CADObjectID(), {"H-1S-1", "H-1S-1", "H-1S-1", "H-1S-1"}},
        {CADObjectID(~0ul, 2), Strings(4, "H4294967295S2")},
        {named, {"H7S9 (leaf)", "H7S9 (leaf)", "H7S9 ((null) \"/top/leaf\" (plane))", ""}},
        {displayed, {"H7S9 (leaf)", "H7S9 (model leaf)", "H7S9 (model \"/top/leaf\" (plane))", ""}},
        {in_file, {"H7S9 (leaf)", "H7S9 (leaf)", "H7S9 (m.igs \"/top/leaf\" (plane))", ""}}};
    std::ostringstream out, dumped;
    CDumpContext dump(dumped);
    for (const auto& [id, texts] : cases) {
        for (std::size_t n = 0; n < 4; ++n)
            EXPECT_EQ(id.as_string(static_cast<gmRepresentation>(n)), texts[n].c_str());
        EXPECT_EQ(co_hash(id), hxu_fnv1a_hash(texts[1]));
        out << id;
        dump << id;
    }
    EXPECT_EQ(out.str(), "H4294967295S4294967295H4294967295S2H7S9 (/top/leaf)H7S9 (/top/leaf)"
                         "H7S9 (/top/leaf)");
    EXPECT_EQ(dumped.str(), out.str());
}

TEST(CadObjectId, IsInvalidWithoutItsParts) {
    const gmCADGroupStructure group("a");
    for (const CADObjectID& id :
         {CADObjectID(~0ul, ~0ul), CADObjectID(0xFFFFFFFFul, group, &plane_class, 1),
          CADObjectID(1, group, &plane_class, ~0ul), CADObjectID(1, group, nullptr, 1),
          CADObjectID(1, gmCADGroupStructure(), &plane_class, 1), CADObjectID(1, "", "plane", 2),
          CADObjectID(1, "a", utString(), 2), CADObjectID(~0ul, "a", "plane", 2)})
        EXPECT_TRUE(id.invalid() && id == CADObjectID() && id.InternalID() == none);
    EXPECT_TRUE(gmIDNameSpace(gmNSTypeFile, "").invalid());
    const gmIDNameSpace a(gmNSTypeName, "m2"), b(gmNSTypeName, "m10"), c(gmNSTypeFile, "a");
    EXPECT_TRUE(a.compare(b) == -1 && c.compare(b) == 1 && gmIDNameSpace().compare(a) == -1);
    gmIDNameSpace again(a);
    again.become(gmNSTypeFile, again.name());
    EXPECT_TRUE(again.name() == "m2" && again != a) << "its own name is none that goes away";
    EXPECT_TRUE(a.compare(a) == 0 && gmIDNameSpace().compare({}) == 0 && a != b);
}

// The parts of a stored identifier in order: a version has those whose first version it reaches.
struct Part {
    int since, until;
    std::string bytes;
};

TEST(CadObjectId, LoadsEveryVersionAndStoresTheNewest) {
    const std::string place = bytes_of(DWORD{2}, text_bytes("top"), text_bytes("a/\xE9"), DWORD{1});
    const Part parts[] = {{3, 6, bytes_of(DWORD{2})},
                          {2, 6, bytes_of(DWORD{7})},
                          {5, 6, place},
                          {6, 6, bytes_of(BYTE{1})},
                          {3, 4, text_bytes("top/n")},
                          {3, 6, text_bytes("plane")},
                          {1, 6, bytes_of(DWORD{9})},
                          {4, 6, bytes_of(DWORD{1}, text_bytes("model"))}};
    const char* const full[] = {"H0S9",
                                "H7S9",
                                "H7S9 ((null) \"/top/n\" (plane))",
                                "H7S9 (model \"/top/n\" (plane))",
                                "H7S9 (model \"/top/a/\xE9\" (plane))",
                                "H7S9 (model \"/top/a/\xE9\" (plane))"};
    const auto serialize = [](CArchive& archive, CADObjectID& id) { id.serialize(archive); };
    for (int version = 1; version <= 6; ++version) {
        std::string bytes;
        for (const Part& part : parts)
            bytes += part.since <= version && version <= part.until ? part.bytes : "";
        CADObjectID::set_deserializing_version(version);
        CADObjectID id(3, 4);
        expect_loaded(bytes, id, serialize);
        CADObjectID::restore_deserializing_version();
        EXPECT_EQ(id.as_string(gmRepresentationFull), full[version - 1]);
        EXPECT_EQ(id.group_structure().is_solid(), version >= 5);
        EXPECT_EQ(id.group_structure().is_unlinked_solid(), version == 6);
        if (version < 6) continue;
        EXPECT_EQ(archived([&](CArchive& archive) { id.serialize(archive); }), bytes);
    }
    // No texts, and -1 twice in a version without kinds.
    EXPECT_EQ(archived([](CArchive& archive) { CADObjectID().serialize(archive); }),
              bytes_of(DWORD{0}, none, DWORD{0}, none, BYTE{0}, none, none, DWORD{0}, none));
    CADObjectID ids[2] = {CADObjectID(1, 2), CADObjectID(3, 4)};
    CADObjectID::set_deserializing_version(2);
    const auto both = [&](CArchive& archive) { SerializeElements(archive, ids, 2); };
    EXPECT_EQ(load_cause(bytes_of(none, none, none, DWORD{1}), both), 0);
    CADObjectID::restore_deserializing_version();
    EXPECT_TRUE(ids[0].invalid() && ids[1] == CADObjectID(none, 1));
}

TEST(CadObjectId, HashedNamesTellNullFromEmpty) {
    gmHashedString null, empty(utString("")), x(utString("x"));
    EXPECT_TRUE(null.invalid() && null.hash() == 0 && empty.hash() == 0x811C9DC5);
    EXPECT_TRUE(null == gmHashedString(utString()) && null != empty && empty != x);
    EXPECT_TRUE(null.compare(x) == 1 && x.compare(null) == -1 && null.compare(null) == 0);
    const auto all = [&](CArchive& a) { null.serialize(a), x.serialize(a), empty.serialize(a); };
    EXPECT_EQ(archived(all), bytes_of(none, DWORD{1}, "x", DWORD{0}));
    EXPECT_EQ(load_cause(bytes_of(DWORD{0}, none, DWORD{1}, "y"), all), 0);
    EXPECT_TRUE(null == gmHashedString(utString("")) && x.invalid() && empty.text() == "y");
}

// Identifiers that differ in any part, each in two equal copies.
TEST(CadObjectId, IsAKeyOfTables) {
    struct Surface : tqkSurf {};
    CADObjectIDtqkSurfPtrcoTable table;
    CADObjectIDcoPageArr ids;
    for (unsigned long n = 0; n < 4000; ++n) {
        CADObjectID& id = ids[static_cast<int>(n)];
        id = CADObjectID(n % 10, ("g/" + std::to_string(n % 20)).c_str(), n < 2000 ? "a" : "b",
                         n % 50);
        id.set_name_space({n % 3 == 0 ? gmNSTypeName : gmNSTypeFile, n % 4 == 0 ? "m" : "n"});
        tqkSurfPtr& surface = table[CADObjectID(id)];
        if (!surface) surface = tqkSurfPtr(new Surface);
        EXPECT_EQ(table.read(id), surface);
    }
    EXPECT_EQ(table.size(), 400u) << "2 types, 100 remainders, 2 kinds of name space";
    for (tqkSurfPtrCADObjectIDcoTablecoIterator2 walk(table); walk; ++walk)
        EXPECT_EQ(table.read(walk.index()), walk());
    const CADObjectIDtqkSurfPtrcoTable moved(std::move(table));
    EXPECT_TRUE(moved.size() == 400 && table.size() == 0 && !table.read(ids[5]));
    const t_SmartPtr<ERDBObject> object(new ERDBObject);
    EXPECT_EQ(gmNamedDBObject(ids[5], object).id(), ids[5]);
}

} // namespace
