// Temporaries of the ANSI path: allocation on the process heap and the slots
// that own what an export converts.
#pragma once

#include "core/exception.h"
#include "core/state.h"

// One pointer-sized value owned by an export's frame: a converted string or
// buffer, or an integer passed through because its upper 16 bits are zero (an
// atom, an integer resource identifier, null). It frees what it owns when the
// frame is left, also while CAtException unwinds it.
class AtStringSlot {
public:
    AtStringSlot() = default;
    ~AtStringSlot();
    AtStringSlot(const AtStringSlot&) = delete;
    AtStringSlot& operator=(const AtStringSlot&) = delete;

    operator void*() const { return value; }
    operator char*() const { return static_cast<char*>(value); }
    operator WCHAR*() const { return static_cast<WCHAR*>(value); }

    void* value = nullptr;
};

// True for a pointer argument that is really an atom or an integer identifier.
inline bool AtIsIntegerValue(const void* p)
{
    return (reinterpret_cast<UINT_PTR>(p) >> 16) == 0;
}

void* AtAlloc(SIZE_T n);  // never returns null: throws CAtException(0)
BOOL AtFree(void* p);
SIZE_T AtHeapSize(const void* p);

void AtAllocBuffer(AtStringSlot& slot, SIZE_T n);
void AtFreeBuffer(AtStringSlot& slot);
void AtAllocAnsiOut(AtStringSlot& slot, DWORD n);
void AtAllocWideOut(AtStringSlot& slot, DWORD n);
// An ANSI out buffer that reads as an empty string until the A function writes it:
// an A function that fails or finds the buffer too small may leave it untouched,
// and what is converted back is then an empty text, never the heap's contents.
// Every byte is cleared, so a text written without its terminator ends where the
// writer stopped.
void AtAllocEmptyAnsiOut(AtStringSlot& slot, DWORD n);
void AtFreeString(AtStringSlot& slot);
