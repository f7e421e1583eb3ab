// VELM_DECLARE_CLASS and VELM_DEFINE_CLASS: the registration group of a class, written once.
//
// In the class body, as its first line (it leaves the access at `public`):
//
//     class VELM_API ERSegment2D : public ERFiniteEntity2DWF {
//         VELM_DECLARE_CLASS(ERSegment2D)
//
// In the class's source file, with its registered direct bases in the order of declaration:
//
//     VELM_DEFINE_CLASS(ERSegment2D, ERFiniteEntity2DWF)
//
// VELM_DEFINE_CLASS registers a class that can be created by name, through its default constructor;
// VELM_DEFINE_CLASS_NOT_CREATABLE one that can't, abstract or not. Up to four bases; any of them
// may be virtual.
//
// VELM_DECLARE_STORED_FORM(); declares the operations of the stored form, which the macros of
// stored_form.h define; the comment above it describes the form.
//
// The group: the registration m_ClassDef_X with its arrays m_Inherite_X and m_Member_X; the runtime
// class record classX with GetThisClass, GetRuntimeClass and _GetBaseClass; desc, isA, className,
// _castdown, and the four forms of castdown. The pointer forms of castdown give null for an object
// that is no X, and for null; the reference forms end the process then.
#pragma once

#include "velm/export.h"
#include "velm/frame/class_registration.h"
#include "velm/platform/root_class.h"

namespace velm::detail {

/// Calls erreurCastDown for an object that is no `wanted`; returns null.
VELM_API void* castdown_failed(ERClassRegistration const& wanted, ERObject const& object);

/// The same, then ends the process with one sentence on stderr.
[[noreturn]] VELM_API void castdown_refused(ERClassRegistration const& wanted,
                                            ERObject const& object);

/// The subobject of the wanted class that the direct bases find. If two bases find different ones,
/// the later base decides: part of the contract.
template <class Base, class... More, class X>
void* castdown_through(X const* object, ERClassRegistration const& wanted) {
    void* found = static_cast<Base const*>(object)->Base::_castdown(wanted);
    if constexpr (sizeof...(More) > 0) {
        void* const later = castdown_through<More...>(object, wanted);
        if (found && later && found != later) erreurCastDown(&wanted, object->isA());
        if (later) found = later;
    }
    return found;
}

} // namespace velm::detail

#define VELM_DECLARE_CLASS(X) VELM_DETAIL_DECLARE_CLASS(X, , override)

// FIRST and LAST enclose the virtual operations of the group: `virtual` and nothing where they are
// introduced, nothing and `override` everywhere else.
#define VELM_DETAIL_DECLARE_CLASS(X, FIRST, LAST)                                                  \
public:                                                                                            \
    static const ERClassRegistration m_ClassDef_##X;                                               \
    static ERClassRegistration const* m_Inherite_##X[];                                            \
    static ERClassRegistration const* m_Member_##X[];                                              \
    static CRuntimeClass class##X;                                                                 \
    static CRuntimeClass* GetThisClass() { return &class##X; }                                     \
    CRuntimeClass* GetRuntimeClass() const override;                                               \
    static constexpr ERClassRegistration const* desc() { return &m_ClassDef_##X; }                 \
    FIRST ERClassRegistration const* isA() const LAST;                                             \
    FIRST char const* className() const LAST;                                                      \
    FIRST void* _castdown(ERClassRegistration const& wanted) const LAST;                           \
    static X* castdown(ERObject* object) {                                                         \
        if (!object) return nullptr;                                                               \
        void* const found = object->_castdown(m_ClassDef_##X);                                     \
        return static_cast<X*>(found ? found                                                       \
                                     : velm::detail::castdown_failed(m_ClassDef_##X, *object));    \
    }                                                                                              \
    static X const* castdown(ERObject const* object) {                                             \
        return castdown(const_cast<ERObject*>(object));                                            \
    }                                                                                              \
    static X& castdown(ERObject& object) {                                                         \
        void* const found = object._castdown(m_ClassDef_##X);                                      \
        if (!found) velm::detail::castdown_refused(m_ClassDef_##X, object);                        \
        return *static_cast<X*>(found);                                                            \
    }                                                                                              \
    static X const& castdown(ERObject const& object) {                                             \
        return castdown(const_cast<ERObject&>(object));                                            \
    }                                                                                              \
                                                                                                   \
protected:                                                                                         \
    static CRuntimeClass* _GetBaseClass();                                                         \
                                                                                                   \
public:

#define VELM_DECLARE_STORED_FORM()                                                                 \
    void saveGuts(ERFile& file) const override;                                                    \
    void restoreGuts(ERFile& file) override;                                                       \
    unsigned int binaryStoreSize() const override

#define VELM_DEFINE_CLASS(X, ...)                                                                  \
    VELM_DETAIL_DEFINE_REGISTERED(X, ([]() -> ERObject* { return new X(); }), __VA_ARGS__)
#define VELM_DEFINE_CLASS_NOT_CREATABLE(X, ...)                                                    \
    VELM_DETAIL_DEFINE_REGISTERED(X, nullptr, __VA_ARGS__)

#define VELM_DETAIL_DEFINE_REGISTERED(X, CREATOR, ...)                                             \
    VELM_DETAIL_DEFINE_CLASS(X, CREATOR, VELM_DETAIL_FIRST(__VA_ARGS__, )::GetThisClass(),         \
                             VELM_DETAIL_DESC_1(__VA_ARGS__))                                      \
    void* X::_castdown(ERClassRegistration const& wanted) const {                                  \
        if (&wanted == &m_ClassDef_##X) return const_cast<X*>(this);                               \
        return velm::detail::castdown_through<__VA_ARGS__>(this, wanted);                          \
    }

// All but _castdown; the trailing arguments are the registrations of the direct bases, each
// followed by a comma. The arrays and classX are filled before any code runs.
#define VELM_DETAIL_DEFINE_CLASS(X, CREATOR, BASE_CLASS, ...)                                      \
    constinit ERClassRegistration const* X::m_Inherite_##X[] = {__VA_ARGS__ nullptr};              \
    constinit ERClassRegistration const* X::m_Member_##X[] = {nullptr};                            \
    VELM_INIT_FIRST const ERClassRegistration X::m_ClassDef_##X(#X, sizeof(X), m_Inherite_##X,     \
                                                                m_Member_##X, CREATOR);            \
    constinit CRuntimeClass X::class##X = {#X,      static_cast<int>(sizeof(X)), 0xFFFF,           \
                                           nullptr, &X::_GetBaseClass,           nullptr};         \
    CRuntimeClass* X::_GetBaseClass() { return BASE_CLASS; }                                       \
    CRuntimeClass* X::GetRuntimeClass() const { return &class##X; }                                \
    ERClassRegistration const* X::isA() const { return &m_ClassDef_##X; }                          \
    char const* X::className() const { return m_ClassDef_##X.getName(); }

#define VELM_DETAIL_FIRST(FIRST_BASE, ...) FIRST_BASE
#define VELM_DETAIL_DESC_1(B, ...) B::desc(), __VA_OPT__(VELM_DETAIL_DESC_2(__VA_ARGS__))
#define VELM_DETAIL_DESC_2(B, ...) B::desc(), __VA_OPT__(VELM_DETAIL_DESC_3(__VA_ARGS__))
#define VELM_DETAIL_DESC_3(B, ...) B::desc(), __VA_OPT__(VELM_DETAIL_DESC_4(__VA_ARGS__))
#define VELM_DETAIL_DESC_4(B) B::desc(),
