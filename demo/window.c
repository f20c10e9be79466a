#include "demo.h"

void DemoWindow(void)
{
}
