#include "demo.h"

void DemoFormat(void)
{
}
