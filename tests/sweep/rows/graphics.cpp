#include "sweep/sweep.h"

namespace sweep {

std::vector<Row> GraphicsRows()
{
    return {};
}

}  // namespace sweep
