// ERPtrVector: a vector of raw pointers, the base of the typed pointer vectors and of the hash
// dictionary.
#pragma once

#include "velm/export.h"

/// Owns the array of slots, never what they point to. Indices are not checked. Counts below zero
/// are taken as zero.
class VELM_API ERPtrVector {
public:
    ERPtrVector() = default;
    /// `n` slots of unspecified value (they are null).
    explicit ERPtrVector(int n);
    ERPtrVector(int n, void* value);
    ERPtrVector(const ERPtrVector& other);
    ERPtrVector(ERPtrVector&& other) noexcept;
    ~ERPtrVector();

    ERPtrVector& operator=(const ERPtrVector& other);
    ERPtrVector& operator=(ERPtrVector&& other) noexcept;
    /// Sets every slot to `value`.
    ERPtrVector& operator=(void* value);

    /// Same length and the same pointers.
    friend bool operator==(const ERPtrVector& a, const ERPtrVector& b) { return a.equals(b); }

    void*& operator[](int i) { return array[i]; }
    void* operator[](int i) const { return array[i]; }
    void*& at(int i) { return array[i]; }
    void* at(int i) const { return array[i]; }

    int length() const { return npts; }
    int size() const { return npts; }
    void* const* data() const { return array; }
    void** begin() { return array; }
    void** end() { return array + npts; }
    void* const* begin() const { return array; }
    void* const* end() const { return array + npts; }

    /// A new array of `n` slots that takes over the first min(old, new) ones; further slots have no
    /// specified value (they are null). The same length changes nothing.
    void reshape(int n);
    /// `reshape`, with null guaranteed in the slots beyond the old length.
    void resize(int n);

protected:
    int npts = 0;
    void** array = nullptr;

private:
    bool equals(const ERPtrVector& other) const;
};
