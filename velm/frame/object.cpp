#include "velm/frame/object.h"

#include "velm/frame/detail/heap_mark.h"
#include "velm/platform/debug_output.h"
#include "velm/platform/dump_context.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>

VELM_DETAIL_DEFINE_CLASS(ERObject, nullptr, CObject::GetThisClass(), )

void* ERObject::_castdown(ERClassRegistration const& wanted) const {
    return &wanted == &m_ClassDef_ERObject ? const_cast<ERObject*>(this) : nullptr;
}

ERObject::ERObject() {
    const velm::detail::HeapMark mark = velm::detail::claim_mark(this);
    onTheHeap = mark.on_the_heap();
    if (mark.database) saveAsAsked(mark.database);
    if (mark.earlier()) takeOver(*mark.earlier(), mark.earlier_was_saved());
}

ERObject::ERObject(ERObject const&) : CObject(), ERReference() {
    const velm::detail::HeapMark mark = velm::detail::claim_mark(this);
    onTheHeap = mark.on_the_heap();
    ERObject* const earlier = mark.earlier();
    if (!earlier) return;
    earlier->onTheHeap = 0;
    if (mark.earlier_was_saved()) earlier->ERObject::Delete(); // a copy is not saved
}

void ERObject::takeOver(ERObject& earlier, bool was_saved) {
    earlier.onTheHeap = 0;
    if (!was_saved) return;
    // The record there is that of a bare ERObject, so it serves this object too.
    objectID = std::exchange(earlier.objectID, -1);
    database = std::exchange(earlier.database, nullptr);
}

ERObject& ERObject::operator=(ERObject const&) {
    objectID = -1;
    dirty = 0;
    database = nullptr;
    return *this;
}

void* ERObject::operator new(std::size_t size) { return velm::detail::allocate_marked(size); }
void* ERObject::operator new(std::size_t size, char const*, int) { return operator new(size); }
void* ERObject::operator new(std::size_t, void* place) { return place; }
void ERObject::operator delete(void* block) { velm::detail::free_marked(block); }
void ERObject::operator delete(void* block, char const*, int) { operator delete(block); }
void ERObject::operator delete(void*, void*) {}
void ERObject::operator delete(void* block, ERObjectDataBase*) { operator delete(block); }

void* ERObject::operator new(std::size_t size, std::align_val_t alignment) {
    return velm::detail::allocate_marked(size, alignment);
}
void* ERObject::operator new(std::size_t size, std::align_val_t alignment, char const*, int) {
    return operator new(size, alignment);
}
void* ERObject::operator new(std::size_t, std::align_val_t, void* place) { return place; }
void ERObject::operator delete(void* block, std::align_val_t alignment) {
    velm::detail::free_marked(block, alignment);
}
void ERObject::operator delete(void* block, std::align_val_t alignment, char const*, int) {
    operator delete(block, alignment);
}
void ERObject::operator delete(void*, std::align_val_t, void*) {}
void ERObject::operator delete(void* block, std::align_val_t alignment, ERObjectDataBase*) {
    operator delete(block, alignment);
}

int ERObject::isKindOf(ERClassRegistration const* other) const { return isA()->isKindOf(other); }

int ERObject::isMemberOf(ERClassRegistration const* other) const {
    return other ? other->hasMember(isA()) : 0;
}

int ERObject::isValid() const { return 1; }
void ERObject::saveGuts(ERFile&) const {}
void ERObject::restoreGuts(ERFile&) {}
unsigned int ERObject::binaryStoreSize() const { return 0; }
void ERObject::CleanUpTemporaries(int) {}

void ERObject::Dump(CDumpContext& dc) const {
    dc << "ERObject which is a " << className() << "\n";
    dc << "E : " << isA()->getName() << "\n";
    std::ostringstream text;
    printOn(text);
    dc << text.str().c_str();
}

void ERObject::assertValid(char const* file, int line) const {
    if (!isValid()) ER_assert(className(), file, line);
}

std::ostream& operator<<(std::ostream& out, ERObject const& object) {
    object.printOn(out);
    return out;
}

ERFile& operator<<(ERFile& file, ERObject const& object) {
    object.saveGuts(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERObject& object) {
    object.restoreGuts(file);
    return file;
}

void ER_assert(char const* message, char const* file, int line) {
    char text[1024];
    wsprintfA(text, "Erreur : %s \n Fichier %s Ligne %d", message, file, line);
}

namespace velm::detail {

void* castdown_failed(ERClassRegistration const& wanted, ERObject const& object) {
    erreurCastDown(&wanted, object.isA());
    return nullptr;
}

void castdown_refused(ERClassRegistration const& wanted, ERObject const& object) {
    castdown_failed(wanted, object);
    std::fprintf(stderr, "velm: castdown of an object of class %s to a reference of class %s.\n",
                 object.className(), wanted.getName());
    std::abort();
}

} // namespace velm::detail
