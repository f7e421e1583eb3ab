#include "velm/transforms/transformation_archive.h"

#include "velm/frame/value_archive.h"
#include "velm/numerics/matrix_archive.h"
#include "velm/platform/archive.h"
#include "velm/transforms/transformation_factories.h"

CArchive& operator<<(CArchive& archive, const ERPmIsometrie3D& t) {
    return archive << t.getVector(Coord3D_X) << t.getVector(Coord3D_Y) << t.getTrans();
}

CArchive& operator>>(CArchive& archive, ERPmIsometrie3D& t) {
    ERVector3D x, y;
    ERPoint3D origin;
    archive >> x >> y >> origin;
    t = ERChgRepere3D(x, y, origin);
    return archive;
}

CArchive& operator<<(CArchive& archive, const ERPmSimilitude3D& t) {
    return archive << t.getMatrix() << t.getTrans() << t.getFactHomo();
}

CArchive& operator>>(CArchive& archive, ERPmSimilitude3D& t) {
    ERMatrix<double> matrix;
    ERPoint3D translation;
    double factor;
    archive >> matrix >> translation >> factor;
    if (matrix.rows() != 3 || matrix.columns() != 3) archive.raise(CArchiveException::badIndex);
    t = ERSimilitude3D(matrix, translation, factor);
    return archive;
}
