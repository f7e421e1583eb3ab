#include "velm/platform/root_class.h"

#include "velm/platform/dump_context.h"

#include <cstring>

namespace {

constinit CRuntimeClass* first_class = nullptr;

} // namespace

CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF,
                                       nullptr,   nullptr,         nullptr};

CObject* CRuntimeClass::CreateObject() const {
    return m_pfnCreateObject != nullptr ? m_pfnCreateObject() : nullptr;
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* c = this; c != nullptr;
         c = c->m_pfnGetBaseClass != nullptr ? c->m_pfnGetBaseClass() : nullptr) {
        if (c == base) return 1;
    }
    return 0;
}

CRuntimeClass* CRuntimeClass::FromName(const char* name) {
    for (CRuntimeClass* c = first_class; c != nullptr; c = c->m_pNextClass) {
        if (std::strcmp(c->m_lpszClassName, name) == 0) return c;
    }
    return nullptr;
}

void AfxClassInit(CRuntimeClass* new_class) {
    new_class->m_pNextClass = first_class;
    first_class = new_class;
}

CObject::~CObject() = default;

CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext& context) const {
    context << "a " << GetRuntimeClass()->m_lpszClassName << " at "
            << static_cast<const void*>(this) << "\n";
}

BOOL CObject::IsKindOf(const CRuntimeClass* wanted) const {
    return GetRuntimeClass()->IsDerivedFrom(wanted);
}

BOOL CObject::IsSerializable() const { return GetRuntimeClass()->m_wSchema != 0xFFFF; }
