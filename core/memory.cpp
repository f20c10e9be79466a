#include "core/memory.h"

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

// n characters may take n * AtMaxCharSize bytes in the ANSI code page.
void AtAllocAnsiOut(AtStringSlot& slot, DWORD n)
{
    slot.value = n ? AtAlloc(n * AtMaxCharSize) : nullptr;
}

void AtAllocWideOut(AtStringSlot& slot, DWORD n)
{
    slot.value = n ? AtAlloc(2 * n) : nullptr;
}

void AtFreeString(AtStringSlot& slot)
{
    if (!AtIsIntegerValue(slot.value))
        AtFree(slot.value);
    slot.value = nullptr;
}
