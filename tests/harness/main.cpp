// The test programs' main: torwen's imports are routed through the harness
// before the first test can make torwen bind anything.
#include "harness/harness.h"

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    harness::InstallRouting();
    return RUN_ALL_TESTS();
}
