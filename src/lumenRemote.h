// Functions that run on a remote unit: what the optional shared build puts into the tables.

#ifndef LUMEN_REMOTE_H
#define LUMEN_REMOTE_H

#include "lumenTable.h"

inline constexpr uint32_t LUM_REMOTE_COUNT = 406;

// Lets the shared build fill columns of the tables through the manager.
void lumTableHWInitRemote(LUM_FUNC_MANAGER* manager, lumOperationMode mode);

#endif  // LUMEN_REMOTE_H
