#include "demo.h"

void DemoProfile(void)
{
}
