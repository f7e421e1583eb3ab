#include "inspect/command/sentences.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/inspection/nominal_surfaces.h"
#include "inspect/inspection/reported_kinds.h"
#include "inspect/inspection/section_points.h"
#include "inspect/inspection/surface.h"
#include "inspect/keep/store_file.h"

#include <variant>

namespace velm::inspect {
namespace {

Failure input_failure(const std::string& file, const std::string& why) {
    return {FailureKind::input, file + ": " + why};
}

std::string reversed_text(const char* nominal, bool turned_directions) {
    return std::string("more than half of the points belong to the ") + nominal +
           " only with the other sign of i, j, k; " +
           (turned_directions ? "with --direction in these point into the material"
                              : "these point out of the material unless --direction in is given");
}

Failure failure_of(const SectionRefusal& refusal) {
    switch (refusal.fault) {
    case SectionFault::reversed_directions:
        return input_failure(refusal.measured, reversed_text("outline", refusal.turned_directions));
    case SectionFault::none_assigned:
        return input_failure(refusal.measured, "no point has a place whose outward normal is "
                                               "within --max-angle of its i, j, k");
    case SectionFault::out_of_plane:
        break;
    }
    return input_failure(refusal.measured,
                         "z spreads from " + shortest(refusal.lowest) + " to " +
                             shortest(refusal.highest) +
                             ", more than the tolerance: points out of the outline's plane need "
                             "--frame before --align bestfit");
}

Failure failure_of(const SurfaceRefusal& refusal) {
    switch (refusal.fault) {
    case SurfaceFault::reversed_directions:
        return input_failure(refusal.measured, reversed_text("part", refusal.turned_directions));
    case SurfaceFault::none_assigned:
        return input_failure(refusal.measured, "no point has a place on the part within "
                                               "--max-distance and within --max-angle of its i, "
                                               "j, k");
    case SurfaceFault::too_many_to_store:
        break;
    }
    return {FailureKind::file, "--store: the object file has room for about " +
                                   grouped(refusal.most, ",") + " points in its 2 GiB; " +
                                   refusal.measured + " has " +
                                   (refusal.count > 0 ? grouped(refusal.count, ",") : "more") +
                                   "; --archive has no such limit"};
}

Failure failure_of(const NominalRefusal& refusal) {
    switch (refusal.fault) {
    case NominalFault::kept_already:
        return {FailureKind::usage,
                "--keep-nominal: " + refusal.path + " is no CAD file but is kept already"};
    case NominalFault::lacks_faces:
        return input_failure(refusal.path, "lacks " + std::to_string(refusal.faces) +
                                               (refusal.faces == 1 ? " face" : " faces") +
                                               " of its CAD file; with --skip-bad it is used "
                                               "without");
    case NominalFault::unusable_face:
        break;
    }
    return input_failure(refusal.path, "face '" + clipped(refusal.face, 60) + "': " +
                                           refusal.reason + "; with --skip-bad it is left out");
}

Failure failure_of(const StoreRefusal& refusal) {
    const std::string rebuilding = "velm-inspect store " + refusal.file + " --salvage NEW";
    switch (refusal.fault) {
    case StoreFault::damaged_tree:
        return input_failure(refusal.file, "the head of a tree in it is damaged; rebuild it "
                                           "first: " +
                                               rebuilding);
    case StoreFault::stale_counters:
        return input_failure(refusal.file, "its counters are behind its contents, as a program "
                                           "leaves them that was stopped; rebuild it first: " +
                                               rebuilding);
    case StoreFault::faulty_trees:
        return input_failure(refusal.file, "its trees have faults, which --check names; rebuild "
                                           "it: " +
                                               rebuilding);
    case StoreFault::outdated_inspection:
        break;
    }
    return {FailureKind::input,
            refusal.file + ", " + refusal.why + "; inspect it again with --store"};
}

Failure failure_of(OutputFault fault) {
    return {FailureKind::usage,
            fault == OutputFault::no_picture
                ? "--svg: an inspection of surfaces has none; --html has the pictures of its page"
                : "--ply and --vtp: only an inspection of surfaces has them"};
}

std::string points_text(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " point" : " points");
}

std::string sentence(const std::string& note) { return note; }

std::string sentence(const UnassignedPoints& note) {
    std::string why = std::string("no place of the ") + note.nominal;
    if (note.max_distance) why += " within " + shortest(*note.max_distance);
    if (note.max_angle)
        why += " has an outward normal within " + shortest(*note.max_angle) +
               " degrees of the direction";
    return note.measured + ": " + points_text(note.count) + (note.count == 1 ? " is" : " are") +
           " not assigned: " + why + "; not judged";
}

std::string sentence(const UncertainPlaces& note) {
    return note.measured + ": of " + points_text(note.count) +
           " the place was not proved to be the nearest";
}

std::string sentence(const UnusedHeights& note) {
    return note.measured + ": column z, from " + shortest(note.lowest) + " to " +
           shortest(note.highest) + ", is not used: there is no frame of the section";
}

} // namespace

ExitCode with_sentences(const std::function<ExitCode()>& work) {
    try {
        return work();
    } catch (const SectionRefusal& refusal) {
        throw failure_of(refusal);
    } catch (const SurfaceRefusal& refusal) {
        throw failure_of(refusal);
    } catch (const NominalRefusal& refusal) {
        throw failure_of(refusal);
    } catch (const StoreRefusal& refusal) {
        throw failure_of(refusal);
    } catch (OutputFault fault) {
        throw failure_of(fault);
    }
}

std::string note_sentence(const InspectionNote& note) {
    return std::visit([](const auto& one) { return sentence(one); }, note);
}

} // namespace velm::inspect
