#include "demo.h"

void DemoFiles(void)
{
}
