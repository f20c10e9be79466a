#include "core/memory.h"

#include <cstring>

AtStringSlot::~AtStringSlot()
{
    AtFreeString(*this);
}

void* AtAlloc(SIZE_T n)
{
    void* p = HeapAlloc(AtModuleState.processHeap, 0, n);
    if (!p) {
        SetLastError(ERROR_OUTOFMEMORY);
        throw CAtException(CAtException::OutOfMemory);
    }
    return p;
}

BOOL AtFree(void* p)
{
    return HeapFree(AtModuleState.processHeap, 0, p);
}

SIZE_T AtHeapSize(const void* p)
{
    return p ? HeapSize(AtModuleState.processHeap, 0, p) : 0;
}

void AtAllocBuffer(AtStringSlot& slot, SIZE_T n)
{
    slot.value = n ? AtAlloc(n) : nullptr;
}

void AtFreeBuffer(AtStringSlot& slot)
{
    if (slot.value)
        AtFree(slot.value);
    slot.value = nullptr;
}

namespace {

// A byte size beyond the address space is asked of the heap as the largest size,
// so that it fails as an allocation rather than wrapping to a small block that an
// A function would then write past.
SIZE_T Bytes(DWORD n, UINT charSize)
{
    SIZE_T bytes;
    return __builtin_mul_overflow(SIZE_T(n), SIZE_T(charSize), &bytes) ? ~SIZE_T(0) : bytes;
}

}  // namespace

// n characters may take n * AtMaxCharSize bytes in the ANSI code page.
void AtAllocAnsiOut(AtStringSlot& slot, DWORD n)
{
    slot.value = n ? AtAlloc(Bytes(n, AtMaxCharSize)) : nullptr;
}

void AtAllocWideOut(AtStringSlot& slot, DWORD n)
{
    slot.value = n ? AtAlloc(Bytes(n, 2)) : nullptr;
}

void AtAllocEmptyAnsiOut(AtStringSlot& slot, DWORD n)
{
    AtAllocAnsiOut(slot, n);
    if (slot.value)
        memset(slot.value, 0, AtHeapSize(slot));
}

void AtFreeString(AtStringSlot& slot)
{
    if (!AtIsIntegerValue(slot.value))
        AtFree(slot.value);
    slot.value = nullptr;
}
