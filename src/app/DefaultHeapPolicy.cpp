#include "app/HeapPolicy.h"

void keepHeapCompact()
{
}

void returnFreeMemory()
{
}

void prepareLargeBlock()
{
}
