// CDumpContext: the text stream that Dump operations write to.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

#include <iosfwd>

class CObject;

/// Writes text to a file, to a standard stream or, if default-constructed, to the debug output. The
/// target is not owned and must outlive the context. Numbers are written in full precision and
/// never through a locale.
class VELM_API CDumpContext {
public:
    CDumpContext() = default;
    explicit CDumpContext(CFile* file) : m_pFile(file) {}
    explicit CDumpContext(std::ostream& stream) : m_pStream(&stream) {}
    CDumpContext(const CDumpContext&) = delete;
    CDumpContext& operator=(const CDumpContext&) = delete;
    virtual ~CDumpContext();

    /// 0 asks classes for a shallow dump, more for a deep one.
    int GetDepth() const { return m_nDepth; }
    void SetDepth(int depth) { m_nDepth = depth; }

    CDumpContext& operator<<(const char* text); ///< a null pointer is written as "(NULL)"
    CDumpContext& operator<<(char character);
    CDumpContext& operator<<(int value);
    CDumpContext& operator<<(unsigned int value);
    CDumpContext& operator<<(long value);
    CDumpContext& operator<<(unsigned long value);
    CDumpContext& operator<<(long long value);
    CDumpContext& operator<<(unsigned long long value);
    CDumpContext& operator<<(float value);
    CDumpContext& operator<<(double value);
    CDumpContext& operator<<(const void* address);
    CDumpContext& operator<<(const CObject* object); ///< calls Dump; a null pointer is "NULL\n"
    CDumpContext& operator<<(const CObject& object);

    void Flush();

protected:
    virtual void OutputString(const char* text);

private:
    CFile* m_pFile = nullptr;
    std::ostream* m_pStream = nullptr;
    int m_nDepth = 0;
};
