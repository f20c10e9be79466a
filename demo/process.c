#include "demo.h"

void DemoProcess(void)
{
}
