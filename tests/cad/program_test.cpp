// velm-cad-import as a process: its exit codes, and files that are damaged.
#include "inspect/hostile_files.h"
#include "velm/inspection/nominal_part.h"

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <IGESControl_Writer.hxx>
#include <STEPControl_Writer.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Pln.hxx>

namespace {

using namespace velm_test;

struct Outcome {
    int code; // -1: ended by a signal
    std::string complaint;
};
Outcome run(const TemporaryFolder& folder, const std::string& arguments) {
    const std::string errors = folder.path("errors");
    // The kernel's own leaks are not looked for.
    const std::string command = "ASAN_OPTIONS=detect_leaks=0 " + std::string(VELM_CAD_PROGRAM) +
                                " " + arguments + " >/dev/null 2>" + errors;
    const int status = std::system(command.c_str());
    std::ifstream in(errors);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}};
}

// Solids, and with them a plane without bounds, which no trimmed surface can be.
TopoDS_Compound some_shapes(bool with_bad_face) {
    TopoDS_Compound all;
    BRep_Builder builder;
    builder.MakeCompound(all);
    builder.Add(all, BRepPrimAPI_MakeBox(30, 20, 15).Shape());
    builder.Add(all,
                BRepPrimAPI_MakeTorus(gp_Ax2(gp_Pnt(80, 0, 0), gp_Dir(0, 0, 1)), 9, 3).Shape());
    if (with_bad_face) builder.Add(all, BRepBuilderAPI_MakeFace(gp_Pln()).Face());
    return all;
}

TEST(CadProgram, ExitCodesSayWhatWasTaken) {
    const TemporaryFolder folder;
    const std::string good = folder.path("good.brep"), bad = folder.path("bad.brep");
    BRepTools::Write(some_shapes(false), good.c_str());
    BRepTools::Write(some_shapes(true), bad.c_str());
    const auto result = [&](const std::string& name) { return folder.path(name); };
    ASSERT_EQ(run(folder, good + " " + result("all")).code, 0);
    const std::string first = velm::read_part(result("all")).faces.front().path;
    struct Case {
        std::string arguments, result;
        int code;
        std::size_t faces;
        const char* complaint;
    };
    const Case cases[] = {
        {good + " " + result("a"), "a", 0, 7, ""},
        {good + " " + result("a"), "", 4, 0, "exists"}, // it isn't written over
        {bad + " " + result("b"), "b", 3, 0, "no bounds"},
        {bad + " " + result("c") + " --skip-bad", "c", 0, 7, "no bounds"},
        {good + " " + result("d") + " --part '" + first + "'", "d", 0, 1, ""},
        {good + " " + result("e") + " --part /nothing", "e", 3, 0, "no face is below it"},
        {good, "", 2, 0, "OUT"},
        {good + " " + result("f") + " --nonsense", "f", 2, 0, "--nonsense"},
        {result("missing.stp") + " " + result("g"), "g", 4, 0, "missing.stp"},
        {folder.path(".") + " " + result("h"), "h", 4, 0, "Is a directory"},
        {folder.file("empty.stp", "") + " " + result("j"), "j", 4, 0, "the file is empty"},
        {good + " " + result("none/i"), "", 4, 0, "none"}};
    for (const Case& made : cases) {
        const Outcome outcome = run(folder, made.arguments);
        EXPECT_EQ(outcome.code, made.code) << made.arguments << ": " << outcome.complaint;
        EXPECT_NE(outcome.complaint.find(made.complaint), std::string::npos) << outcome.complaint;
        if (made.faces > 0) {
            EXPECT_EQ(velm::read_part(result(made.result)).faces.size(), made.faces);
        } else if (!made.result.empty()) {
            EXPECT_FALSE(std::filesystem::exists(result(made.result))) << made.arguments;
        }
    }
}

// A face's own name, a name that some share, a mark for none.
TEST(CadProgram, NamesOfFacesAreLevelsOfTheirPaths) {
    const TemporaryFolder folder;
    const std::string step = folder.path("box.stp");
    STEPControl_Writer writer;
    writer.Transfer(BRepPrimAPI_MakeBox(30, 20, 15).Shape(), STEPControl_AsIs);
    writer.Write(step.c_str());
    std::string text = TemporaryFolder::bytes_of(step);
    std::size_t at = 0;
    for (const char* const name : {"lid/top", "seal", "NONE", "seal"}) {
        at = text.find("ADVANCED_FACE('", at) + 15;
        text.insert(at, name);
    }
    folder.file("named.stp", text);
    ASSERT_EQ(run(folder, folder.path("named.stp") + " " + folder.path("r")).code, 0);
    std::string names;
    for (const velm::NominalFace& face : velm::read_part(folder.path("r")).faces)
        names += face.path.substr(face.path.find('/', 1)) + " ";
    EXPECT_EQ(names, "/lid_top /seal/face 2 /face 3 /seal/face 4 /face 5 /face 6 ");
}

TEST(CadProgram, HostileFilesEndInASentenceOrWholeOutputs) {
    const Workshop shop;
    Random draw{4711};
    shop.write("p.csv", "x,y,z\n1,2,16\n");
    const auto name = [&](const char* extension) {
        return shop.path("part" + std::string(extension));
    };
    STEPControl_Writer step;
    step.Transfer(some_shapes(false), STEPControl_AsIs);
    step.Write(name(".stp").c_str());
    IGESControl_Writer iges;
    iges.AddShape(some_shapes(false));
    iges.ComputeModel();
    iges.Write(name(".igs").c_str());
    BRepTools::Write(some_shapes(false), name(".brep").c_str());
    const bool is_thorough = std::getenv("VELM_TEST_THOROUGH") != nullptr;
    for (const std::string kind : {".stp", ".igs", ".brep"}) {
        const auto files = damaged_files(shop.read("part" + kind), draw, is_thorough ? 100 : 1);
        for (const std::string& bytes : files) {
            if (!is_thorough && draw.below(4) > 0) continue;
            shop.write("bad" + kind, bytes);
            expect_defined_end(shop, "bad" + kind + " p.csv --keep-nominal kept --import-limit 4",
                               bytes);
        }
    }
}

} // namespace
