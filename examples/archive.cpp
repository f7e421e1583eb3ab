// Writes targets with their identifiers and a selection into an archive, and reads them back.
#include <velm/archive.h>

#include <cstdio>

namespace {

const char* const document = "targets.arc";

void write() {
    CFile file(document, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive);
    CArchive archive(&file, CArchive::store);
    CADObjectID lid(7, utString("/housing/lid"), utString("face"), 1);
    lid.serialize(archive);
    archive << gmTargetPoint({10, 20, 5},
                             ERCMMPointWithDiameter({10, 20, 6.02}, ERVector3D(0, 0, 1), 2.0, 1),
                             {0, 0, 1});
    gmBinaryFlagsEx out_of_tolerance{0};
    out_of_tolerance.serialize(archive);
    archive.Close();
}

void read() {
    CFile file(document, CFile::modeRead | CFile::shareDenyWrite);
    CArchive archive(&file, CArchive::load);
    CADObjectID face;
    gmTargetPoint target;
    gmBinaryFlagsEx selected;
    face.serialize(archive);
    archive >> target;
    selected.serialize(archive);
    std::printf("%s: %+.3f, %d selected\n", face.as_string(gmRepresentationFull).GetString(),
                target.distance_to_plane(), selected.num_of_selected_points());
}

} // namespace

int main() {
    int code = 0;
    // Files and archives report by exceptions that their catcher deletes.
    try {
        write();
        read();
    } catch (CFileException* failure) {
        failure->Delete();
        code = 1;
    } catch (CArchiveException* failure) {
        failure->Delete();
        code = 1;
    }
    std::remove(document);
    return code;
}
