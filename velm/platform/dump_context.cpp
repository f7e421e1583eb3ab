#include "velm/platform/dump_context.h"

#include "velm/platform/debug_output.h"
#include "velm/platform/file.h"
#include "velm/platform/root_class.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <ostream>

namespace {

template <class Number, class... Format>
void write_number(CDumpContext& context, Number value, Format... format) {
    char text[40];
    char* const end = std::to_chars(text, text + sizeof text - 1, value, format...).ptr;
    *end = '\0';
    context << static_cast<const char*>(text);
}

} // namespace

CDumpContext::~CDumpContext() = default;

void CDumpContext::OutputString(const char* text) {
    if (m_pFile != nullptr) {
        m_pFile->Write(text, static_cast<UINT>(std::strlen(text)));
    } else if (m_pStream != nullptr) {
        *m_pStream << text;
    } else {
        OutputDebugStringA(text);
    }
}

void CDumpContext::Flush() {
    if (m_pFile != nullptr) m_pFile->Flush();
    if (m_pStream != nullptr) m_pStream->flush();
}

CDumpContext& CDumpContext::operator<<(const char* text) {
    OutputString(text != nullptr ? text : "(NULL)");
    return *this;
}

CDumpContext& CDumpContext::operator<<(char character) {
    const char text[2] = {character, '\0'};
    return *this << static_cast<const char*>(text);
}

CDumpContext& CDumpContext::operator<<(int value) { return *this << static_cast<long long>(value); }
CDumpContext& CDumpContext::operator<<(unsigned int value) {
    return *this << static_cast<unsigned long long>(value);
}
CDumpContext& CDumpContext::operator<<(long value) {
    return *this << static_cast<long long>(value);
}
CDumpContext& CDumpContext::operator<<(unsigned long value) {
    return *this << static_cast<unsigned long long>(value);
}

CDumpContext& CDumpContext::operator<<(long long value) {
    write_number(*this, value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(unsigned long long value) {
    write_number(*this, value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(float value) {
    write_number(*this, value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(double value) {
    write_number(*this, value);
    return *this;
}

CDumpContext& CDumpContext::operator<<(const void* address) {
    *this << "0x";
    write_number(*this, reinterpret_cast<std::uintptr_t>(address), 16);
    return *this;
}

CDumpContext& CDumpContext::operator<<(const CObject* object) {
    if (object == nullptr) return *this << "NULL\n";
    object->Dump(*this);
    return *this;
}

CDumpContext& CDumpContext::operator<<(const CObject& object) { return *this << &object; }
