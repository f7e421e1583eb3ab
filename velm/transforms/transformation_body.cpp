#include "velm/transforms/transformation_body.h"

#include "velm/platform/debug_break.h"
#include "velm/platform/exception.h"
#include "velm/transforms/bodies.h"

#include <utility>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERTr3DRevRep, ERTr3DRev)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERAnySimilitude3D, ERTr3DRevRep)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERAnyIsometrie3D, ERAnySimilitude3D)

namespace {

constinit CThreadLocal<ERTr3DRevRep_ThreadLocalData> thread_identity;

const ERTr3DRevRep* not_reached() {
    DebugBreak();
    return nullptr;
}

} // namespace

const ERTr3DRevRep* ERTr3DRevRep::getReduced() const { return not_reached(); }
const ERTr3DRevRep* ERTr3DRevRep::operator*(const ERTr3DRevRep*) const { return not_reached(); }
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERTranslation3D(const _ERTranslation3D*) const {
    return not_reached();
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERRotation3D(const _ERRotation3D*) const {
    return not_reached();
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERWorkplane(const _ERWorkplane*) const {
    return not_reached();
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERScaling3D(const _ERScaling3D*) const {
    return not_reached();
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERSymetrie3D(const _ERSymetrie3D*) const {
    return not_reached();
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERSimilitude3D(const _ERSimilitude3D*) const {
    return not_reached();
}

const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERIdentity3D(const _ERIdentity3D*) const {
    return shareable();
}

const ERTr3DRevRep* ERTr3DRevRep::shareable() const {
    return isOnTheHeap() == 1 ? this : ERTr3DRevRep::castdown(getCopy());
}

ERTr3DRevRep* ERTr3DRevRep::GetIdentity() {
    ERTr3DRevRep_ThreadLocalData* const data = thread_identity.GetData();
    if (data == nullptr) AfxThrowInvalidArgException();
    if (data->identity == nullptr) {
        data->identity = new _ERIdentity3D;
        data->identity->addReference();
    }
    return data->identity;
}

ERTr3DRevRep_ThreadLocalData::~ERTr3DRevRep_ThreadLocalData() {
    ERTr3DRevRep* const last = std::exchange(identity, nullptr);
    if (last != nullptr && last->removeReference() == 0) delete last;
}
