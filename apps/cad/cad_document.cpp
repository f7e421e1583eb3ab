#include "cad/cad_document.h"

#include "inspect/base/failure.h"

#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <IGESCAFControl_Reader.hxx>
#include <IGESData_IGESEntity.hxx>
#include <IGESData_IGESModel.hxx>
#include <Message.hxx>
#include <Message_PrinterOStream.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <StepData_StepModel.hxx>
#include <StepRepr_RepresentationItem.hxx>
#include <StepShape_FaceSurface.hxx>
#include <TColStd_HSequenceOfExtendedString.hxx>
#include <TColStd_SequenceOfAsciiString.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Iterator.hxx>
#include <Transfer_Binder.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <set>

namespace velm::cad {

namespace {

using inspect::Failure;
using inspect::FailureKind;

enum class Format { step, iges, brep, unknown };

// By the first lines: a STEP file begins with its keyword, a line of an IGES file has the letter of
// its section in column 73, a BREP file names its kind.
Format format_of(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) inspect::fail_file(path, "can't be read", errno);
    errno = 0;
    if (in.peek() == std::ifstream::traits_type::eof()) {
        if (errno != 0) inspect::fail_file(path, "can't be read", errno); // a folder
        throw Failure(FailureKind::file, path + ": the file is empty");
    }
    std::string start(4096, '\0');
    in.read(start.data(), std::streamsize(start.size()));
    start.resize(std::size_t(in.gcount()));
    const std::size_t first = start.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (first != std::string::npos && start.compare(first, 12, "ISO-10303-21") == 0)
        return Format::step;
    if (start.find("DBRep_DrawableShape") != std::string::npos ||
        start.find("CASCADE Topology") != std::string::npos)
        return Format::brep;
    const std::size_t line_end = start.find_first_of("\r\n");
    if (line_end != std::string::npos && line_end > 72 && line_end <= 80 &&
        (start[72] == 'S' || start[72] == 'F' || start[72] == 'B' || start[72] == 'C'))
        return Format::iges;
    return Format::unknown;
}

// A name is one level of a path, whose levels are separated by slashes of both kinds.
std::string one_level(std::string text) {
    for (char& c : text)
        if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < ' ') c = '_';
    return text;
}

std::string level_name(const TDF_Label& label) {
    Handle(TDataStd_Name) attribute;
    if (!label.FindAttribute(TDataStd_Name::GetID(), attribute)) return {};
    const TCollection_ExtendedString& wide = attribute->Get();
    std::string text(std::size_t(wide.LengthOfCString()) + 1, '\0');
    Standard_PCharacter place = text.data();
    text.resize(std::size_t(std::max(wide.ToUTF8CString(place), 0)));
    while (!text.empty() && text.back() == '\0')
        text.pop_back();
    return one_level(text);
}

// The last levels of the faces' paths: a name that no other face of the product has; a name that
// some share, and the face below it; else, also where all have the same, the face alone.
std::vector<std::string> face_names(const std::vector<std::string>& given) {
    std::map<std::string, std::size_t> counts;
    for (const std::string& name : given)
        ++counts[name];
    std::vector<std::string> names;
    for (std::size_t n = 0; n < given.size(); ++n) {
        const std::size_t count = counts[given[n]];
        std::string name = "face " + std::to_string(n + 1);
        if (!given[n].empty() && count == 1)
            name = given[n];
        else if (!given[n].empty() && count < given.size())
            name = given[n] + "/" + name;
        names.push_back(std::move(name));
    }
    return names;
}

// Walks the tree of products and collects the faces.
class FaceCollector {
public:
    FaceCollector(const Handle(TDocStd_Document) & document,
                  const Handle(XSControl_WorkSession) & work)
        : shapes(XCAFDoc_DocumentTool::ShapeTool(document->Main())),
          colors(XCAFDoc_DocumentTool::ColorTool(document->Main())),
          layers(XCAFDoc_DocumentTool::LayerTool(document->Main())), session(work) {}

    std::vector<CadFace> collect() {
        TDF_LabelSequence roots;
        shapes->GetFreeShapes(roots);
        for (int i = 1; i <= roots.Length(); ++i)
            walk(roots.Value(i), TopLoc_Location(), "", Marks());
        return std::move(faces);
    }

    // What could not be read, or was tried without a result, which the kernel passes over.
    std::vector<long> lost() const {
        std::vector<long> numbers;
        const Handle(Interface_InterfaceModel) model = session->Model();
        const auto process = session->TransferReader()->TransientProcess();
        for (int i = 1; i <= model->NbEntities(); ++i) {
            const Handle(Standard_Transient) entity = model->Value(i);
            if (!should_be_face(entity)) continue;
            const Handle(Transfer_Binder) tried = process->Find(entity);
            if (model->IsErrorEntity(i) || (!tried.IsNull() && !tried->HasResult()))
                numbers.push_back(number_of(entity));
        }
        return numbers;
    }

private:
    struct Marks {
        std::optional<unsigned long> colour;
        std::string layer;
    };

    static unsigned long rgb(const Quantity_Color& color) {
        double r = 0.0, g = 0.0, b = 0.0;
        color.Values(r, g, b, Quantity_TOC_sRGB);
        const auto byte = [](double x) {
            return static_cast<unsigned long>(std::clamp(x, 0.0, 1.0) * 255.0 + 0.5);
        };
        return byte(r) << 16 | byte(g) << 8 | byte(b);
    }

    // What is marked at a label or a shape beats what was marked above.
    template <class Place>
    Marks marks_at(const Place& place, Marks marks) const {
        Quantity_Color color;
        if (colors->GetColor(place, XCAFDoc_ColorSurf, color) ||
            colors->GetColor(place, XCAFDoc_ColorGen, color))
            marks.colour = rgb(color);
        Handle(TColStd_HSequenceOfExtendedString) names;
        if (layers->GetLayers(place, names) && !names.IsNull() && names->Length() > 0) {
            const TCollection_AsciiString first(names->Value(1), '?');
            marks.layer = first.ToCString();
        }
        return marks;
    }

    std::string unique(const std::string& path) {
        std::string result = path;
        for (int n = 2; !used.insert(result).second; ++n)
            result = path + " (" + std::to_string(n) + ")";
        return result;
    }

    void walk(const TDF_Label& label, const TopLoc_Location& above, const std::string& parent,
              const Marks& outer) {
        TDF_Label product = label;
        const bool is_instance = XCAFDoc_ShapeTool::IsReference(label);
        if (is_instance) XCAFDoc_ShapeTool::GetReferredShape(label, product);
        std::string name = level_name(label);
        if (name.empty()) name = level_name(product);
        if (name.empty()) name = "part";
        const std::string path = unique(parent + "/" + name);
        const TopLoc_Location place = above * XCAFDoc_ShapeTool::GetLocation(label);
        Marks marks = marks_at(product, outer);
        if (is_instance) marks = marks_at(label, marks);

        TDF_LabelSequence components;
        if (XCAFDoc_ShapeTool::GetComponents(product, components)) {
            for (int i = 1; i <= components.Length(); ++i)
                walk(components.Value(i), place, path, marks);
            return;
        }
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(product);
        if (shape.IsNull()) return;
        FacesOfProduct own;
        take(shape, marks, false, own);
        // The location of the product's own shape is part of the shape.
        const TopLoc_Location here = is_instance ? place : above;
        const std::vector<std::string> names = face_names(own.names);
        for (std::size_t n = 0; n < own.faces.size(); ++n) {
            CadFace& face = own.faces[n];
            face.shape = TopoDS::Face(face.shape.Moved(here));
            face.path = unique(path + "/" + names[n]);
            faces.push_back(std::move(face));
        }
    }

    // In the product's own coordinates, in which what is named and marked is found.
    struct FacesOfProduct {
        std::vector<CadFace> faces;
        std::vector<std::string> names; // as the file has them
    };

    // Solids and shells are looked into one by one: what is in a solid has an inner side.
    void take(const TopoDS_Shape& shape, const Marks& outer, bool in_solid, FacesOfProduct& own) {
        const Marks marks = marks_at(shape, outer);
        if (shape.ShapeType() == TopAbs_FACE) {
            CadFace face;
            face.shape = TopoDS::Face(shape);
            face.colour = marks.colour;
            face.layer = marks.layer;
            face.entity = entity_of(shape);
            face.bounds_a_solid = in_solid;
            own.faces.push_back(std::move(face));
            own.names.push_back(name_of(shape));
            return;
        }
        in_solid = in_solid || shape.ShapeType() == TopAbs_SOLID;
        for (TopoDS_Iterator part(shape); part.More(); part.Next())
            take(part.Value(), marks, in_solid, own);
    }

    // What the file has of a face; null if that isn't known.
    Handle(Standard_Transient) source_of(const TopoDS_Shape& face) const {
        if (session.IsNull() || session->TransferReader().IsNull()) return {};
        for (const TopoDS_Shape& shape : {face, face.Located(TopLoc_Location())}) {
            const Handle(Standard_Transient) entity =
                session->TransferReader()->EntityFromShapeResult(shape, 1);
            if (!entity.IsNull()) return entity;
        }
        return {};
    }

    // The number before a STEP entity, the directory line of an IGES entity.
    long entity_of(const TopoDS_Shape& face) const {
        const Handle(Standard_Transient) entity = source_of(face);
        return entity.IsNull() ? 0 : number_of(entity);
    }

    static bool should_be_face(const Handle(Standard_Transient) & entity) {
        constexpr int bounded = 143, trimmed = 144, face = 510; // types of IGES entities
        const auto iges = Handle(IGESData_IGESEntity)::DownCast(entity);
        if (iges.IsNull()) return entity->IsKind(STANDARD_TYPE(StepShape_FaceSurface));
        const int type = iges->TypeNumber();
        return type == bounded || type == trimmed || type == face;
    }

    long number_of(const Handle(Standard_Transient) & entity) const {
        const Handle(Interface_InterfaceModel) model = session->Model();
        if (const auto step = Handle(StepData_StepModel)::DownCast(model))
            return step->IdentLabel(entity);
        if (const auto iges = Handle(IGESData_IGESModel)::DownCast(model))
            return 2L * iges->Number(entity) - 1;
        return 0;
    }

    // STEP keeps names with the faces themselves, where the kernel's reader doesn't look by itself.
    std::string name_of(const TopoDS_Shape& face) const {
        const auto item = Handle(StepRepr_RepresentationItem)::DownCast(source_of(face));
        if (!item.IsNull() && !item->Name().IsNull()) {
            const std::string name = one_level(item->Name()->ToCString());
            if (name != "NONE") return name;
        }
        TDF_Label label;
        return shapes->SearchUsingMap(face, label, Standard_False, Standard_True)
                   ? level_name(label)
                   : std::string();
    }

    Handle(XCAFDoc_ShapeTool) shapes;
    Handle(XCAFDoc_ColorTool) colors;
    Handle(XCAFDoc_LayerTool) layers;
    Handle(XSControl_WorkSession) session;
    std::vector<CadFace> faces;
    std::set<std::string> used;
};

[[noreturn]] void fail_content(const std::string& path, const std::string& why) {
    throw Failure(FailureKind::input, "'" + path + "': " + why);
}

// A document, which the application keeps until it is closed; shapes outlive it.
class OpenDocument {
public:
    OpenDocument() { XCAFApp_Application::GetApplication()->NewDocument("BinXCAF", document_); }
    OpenDocument(const OpenDocument&) = delete;
    OpenDocument& operator=(const OpenDocument&) = delete;
    ~OpenDocument() { XCAFApp_Application::GetApplication()->Close(document_); }

    Handle(TDocStd_Document) & get() { return document_; }

private:
    Handle(TDocStd_Document) document_;
};

void take_faces(FaceCollector&& from, CadDocument& document) {
    document.faces = from.collect();
    document.lost = from.lost();
}

// Reads with colours, names and layers; the document has its format.
template <class Reader>
CadDocument begin_reading(Reader& reader, const std::string& path, const std::string& format) {
    reader.SetColorMode(Standard_True);
    reader.SetNameMode(Standard_True);
    reader.SetLayerMode(Standard_True);
    if (reader.ReadFile(path.c_str()) != IFSelect_RetDone)
        fail_content(path, "the " + format + " file can't be understood");
    CadDocument result;
    result.format = format;
    return result;
}

CadDocument read_step(const std::string& path) {
    OpenDocument document;
    STEPCAFControl_Reader reader;
    CadDocument result = begin_reading(reader, path, "STEP");
    TColStd_SequenceOfAsciiString lengths, angles, solid_angles;
    reader.ChangeReader().FileUnits(lengths, angles, solid_angles);
    if (lengths.Length() > 0) result.file_unit = lengths.Value(1).ToCString();
    if (!reader.Transfer(document.get())) fail_content(path, "the STEP file has no shapes");
    take_faces(FaceCollector(document.get(), reader.Reader().WS()), result);
    return result;
}

// The last line is that of the terminate section; the kernel takes what comes before as it is.
void require_iges_end(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string line, last;
    while (std::getline(in, line))
        if (line.find_first_not_of(" \t\r\x1a") != std::string::npos) last = line;
    constexpr std::size_t section_column = 72;
    if (last.size() <= section_column || last[section_column] != 'T')
        fail_content(path, "the IGES file ends before its terminate section");
}

CadDocument read_iges(const std::string& path) {
    require_iges_end(path);
    OpenDocument document;
    IGESCAFControl_Reader reader;
    CadDocument result = begin_reading(reader, path, "IGES");
    const Handle(IGESData_IGESModel) model =
        Handle(IGESData_IGESModel)::DownCast(reader.WS()->Model());
    if (!model.IsNull() && !model->GlobalSection().UnitName().IsNull())
        result.file_unit = model->GlobalSection().UnitName()->ToCString();
    if (!reader.Transfer(document.get())) fail_content(path, "the IGES file has no shapes");
    take_faces(FaceCollector(document.get(), reader.WS()), result);
    return result;
}

CadDocument read_brep(const std::string& path) {
    TopoDS_Shape shape;
    if (!BRepTools::Read(shape, path.c_str(), BRep_Builder()) || shape.IsNull())
        fail_content(path, "the BREP file can't be understood");
    OpenDocument document;
    XCAFDoc_DocumentTool::ShapeTool(document.get()->Main())->AddShape(shape, Standard_False);
    CadDocument result;
    result.format = "BREP";
    result.faces = FaceCollector(document.get(), {}).collect();
    return result;
}

} // namespace

CadDocument read_cad(const std::string& path) {
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));
    const Format format = format_of(path);
    if (format == Format::unknown)
        fail_content(path, "this is neither a STEP nor an IGES nor a BREP file");
    try {
        CadDocument document = format == Format::step   ? read_step(path)
                               : format == Format::iges ? read_iges(path)
                                                        : read_brep(path);
        if (document.faces.empty()) fail_content(path, "the file has no faces");
        return document;
    } catch (const Standard_Failure& failure) {
        const char* const what = failure.GetMessageString();
        fail_content(path, std::string("the reader gives up: ") +
                               (what && *what ? what : failure.DynamicType()->Name()));
    }
}

} // namespace velm::cad
