#include "sweep/sweep.h"

namespace sweep {

std::vector<Row> WindowRows()
{
    return {};
}

}  // namespace sweep
