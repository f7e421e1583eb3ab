#include "velm/transforms/transformation_handle.h"

#include "velm/frame/stored_form.h"
#include "velm/transforms/bodies.h"

VELM_DEFINE_CLASS_NOT_CREATABLE(ERTr3DRevEnveloppe, ERTr3DRev)
VELM_DEFINE_CLASS(ERPmSimilitude3D, ERTr3DRevEnveloppe)
VELM_DEFINE_CLASS(ERPmIsometrie3D, ERPmSimilitude3D)

namespace {

// The body itself, or a heap copy of it, or the identity for null; with one more reference.
const ERTr3DRevRep* acquired(const ERTr3DRevRep* body) {
    const ERTr3DRevRep* held = body;
    if (held == nullptr) {
        held = ERTr3DRevRep::GetIdentity();
    } else if (held->isOnTheHeap() != 1) {
        held = ERTr3DRevRep::castdown(body->getCopy());
    }
    const_cast<ERTr3DRevRep*>(held)->addReference();
    return held;
}

void release(const ERTr3DRevRep* body) {
    if (body->isOnTheHeap() == 1 && const_cast<ERTr3DRevRep*>(body)->removeReference() == 0)
        delete body;
}

} // namespace

ERTr3DRevEnveloppe::ERTr3DRevEnveloppe() : body_(acquired(nullptr)) {}

ERTr3DRevEnveloppe::ERTr3DRevEnveloppe(const ERTr3DRevRep* body)
    : ERTr3DRevEnveloppe(Acquired{acquired(body)}) {
    reduce();
}

ERTr3DRevEnveloppe::ERTr3DRevEnveloppe(const ERTr3DRevEnveloppe& other)
    : ERTr3DRev(other), body_(acquired(other.body_)) {}

ERTr3DRevEnveloppe::~ERTr3DRevEnveloppe() { release(body_); }

ERTr3DRevEnveloppe& ERTr3DRevEnveloppe::operator=(const ERTr3DRevEnveloppe& other) {
    ERTr3DRev::operator=(other);
    release(std::exchange(body_, acquired(other.body_)));
    return *this;
}

ERTr3DRevEnveloppe& ERTr3DRevEnveloppe::operator=(const ERTr3DRevRep* body) {
    release(std::exchange(body_, acquired(body)));
    reduce();
    return *this;
}

void ERTr3DRevEnveloppe::reduce() {
    const ERTr3DRevRep* const reduced = body_->getReduced();
    if (reduced != body_) release(std::exchange(body_, acquired(reduced)));
}

ERVec<ERPole3DH>& ERTr3DRevEnveloppe::TransTo(ERVec<ERPole3DH>& poles) const {
    return body_->TransTo(poles);
}
void ERTr3DRevEnveloppe::TransTo(ERPoint3D* points, int n) const { body_->TransTo(points, n); }
ERVec<ERPoint3D>& ERTr3DRevEnveloppe::TransTo(ERVec<ERPoint3D>& points) const {
    return body_->TransTo(points);
}
ERVector3D& ERTr3DRevEnveloppe::TransTo(ERVector3D& v) const { return body_->TransTo(v); }
ERPoint3D& ERTr3DRevEnveloppe::TransTo(ERPoint3D& p) const { return body_->TransTo(p); }
int ERTr3DRevEnveloppe::isEqual(const ERTr3D& other) const { return body_->isEqual(other); }
ERPole2DH ERTr3DRevEnveloppe::Project(const ERPole3DH& pole) const { return body_->Project(pole); }
ERPoint2D ERTr3DRevEnveloppe::Project(const ERPoint3D& p) const { return body_->Project(p); }

const ERTr3DRevRep* ERTr3DRevEnveloppe::getInverse() const { return body_->getInverse(); }
ERVec<ERPole3DH>& ERTr3DRevEnveloppe::TransFrom(ERVec<ERPole3DH>& poles) const {
    return body_->TransFrom(poles);
}
ERVec<ERPoint3D>& ERTr3DRevEnveloppe::TransFrom(ERVec<ERPoint3D>& points) const {
    return body_->TransFrom(points);
}
void ERTr3DRevEnveloppe::TransFrom(ERPoint3D* points, int n) const { body_->TransFrom(points, n); }
ERVector3D& ERTr3DRevEnveloppe::TransFrom(ERVector3D& v) const { return body_->TransFrom(v); }
ERPoint3D& ERTr3DRevEnveloppe::TransFrom(ERPoint3D& p) const { return body_->TransFrom(p); }
ERMatrix<double> ERTr3DRevEnveloppe::getMatrix() const { return body_->getMatrix(); }
ERPoint3D ERTr3DRevEnveloppe::getTrans() const { return body_->getTrans(); }
double ERTr3DRevEnveloppe::getFactHomo() const { return body_->getFactHomo(); }
int ERTr3DRevEnveloppe::isDirect() const { return body_->isDirect(); }
ERPoint3D ERTr3DRevEnveloppe::origine() const { return body_->origine(); }
ERVector3D ERTr3DRevEnveloppe::getVector(Coord3D axis) const { return body_->getVector(axis); }

int ERTr3DRevEnveloppe::isValid() const { return body_->isValid(); }
void ERTr3DRevEnveloppe::printOn(std::ostream& out) const { body_->printOn(out); }

// The stored form of a handle is that of a similarity, regardless of the kind of the body.

void ERTr3DRevEnveloppe::saveGuts(ERFile& file) const {
    ERTr3DRev::saveGuts(file);
    _ERSimilitude3D(getMatrix(), getTrans(), getFactHomo()).saveGuts(file);
}

void ERTr3DRevEnveloppe::restoreGuts(ERFile& file) {
    ERTr3DRev::restoreGuts(file);
    _ERSimilitude3D read(getMatrix(), getTrans(), getFactHomo());
    read.restoreGuts(file);
    *this = &read;
}

unsigned int ERTr3DRevEnveloppe::binaryStoreSize() const {
    return ERTr3DRev::binaryStoreSize() +
           _ERSimilitude3D(getMatrix(), getTrans(), getFactHomo()).binaryStoreSize();
}

ERObject* ERPmSimilitude3D::getCopy() const { return new ERPmSimilitude3D(*this); }
ERObject* ERPmIsometrie3D::getCopy() const { return new ERPmIsometrie3D(*this); }

ERPmIsometrie3D ERPmIsometrie3D::get_rotation_matrix() const {
    return new _ERRotation3D(getMatrix());
}
ERPmIsometrie3D ERPmIsometrie3D::get_translation_matrix() const {
    return new _ERTranslation3D(getTrans());
}

ERPmSimilitude3D operator*(const ERPmSimilitude3D& a, const ERPmSimilitude3D& b) {
    return *a.body() * b.body();
}
ERPmIsometrie3D operator*(const ERPmIsometrie3D& a, const ERPmIsometrie3D& b) {
    return *a.body() * b.body();
}
ERPmSimilitude3D operator~(const ERPmSimilitude3D& t) { return t.getInverse(); }
ERPmIsometrie3D operator~(const ERPmIsometrie3D& t) { return t.getInverse(); }
