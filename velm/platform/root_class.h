// CObject, CRuntimeClass, AfxClassInit: the framework's root class and its class records.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"
#include "velm/platform/integer_types.h"

class CObject;

/// One record per class: its name, size and stored version, how to make an instance, and its base's
/// record. An aggregate, so that a static record needs no code to run at load.
struct VELM_API CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize;
    UINT m_wSchema; ///< 0xFFFF for a class that is not stored by class
    CObject* (*m_pfnCreateObject)();
    CRuntimeClass* (*m_pfnGetBaseClass)();
    CRuntimeClass* m_pNextClass; ///< the next class entered by AfxClassInit

    /// A new instance owned by the caller, or null if the class can't be made this way.
    CObject* CreateObject() const;
    BOOL IsDerivedFrom(const CRuntimeClass* base) const;
    /// The first class known under the name, or null.
    static CRuntimeClass* FromName(const char* name);
};

/// Enters a class among those that FromName finds. Called while the library loads, by one thread.
VELM_API void AfxClassInit(CRuntimeClass* new_class);

/// Enters a class at load, by its constructor.
struct AFX_CLASSINIT {
    explicit AFX_CLASSINIT(CRuntimeClass* new_class) { AfxClassInit(new_class); }
};

/// The root of all framework classes. The order of the virtual operations is fixed.
class VELM_API CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    virtual void Serialize(CArchive& archive);
    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& context) const;

    BOOL IsKindOf(const CRuntimeClass* wanted) const;
    /// Whether the class may be stored by class, that is, has a schema other than 0xFFFF.
    BOOL IsSerializable() const;

    static CRuntimeClass classCObject;
    static CRuntimeClass* GetThisClass() { return &classCObject; }

protected:
    static CRuntimeClass* _GetBaseClass() { return nullptr; }

    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};
