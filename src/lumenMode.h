// Building blocks of lumSetOperationMode.

#ifndef LUMEN_MODE_H
#define LUMEN_MODE_H

#include "lumenTable.h"

void uCTable(LUM_IMPL column);  // reference implementations into a column of both tables
void uVTable(LUM_IMPL column);  // vector implementations into a column, where there are any
void uCIndex();                 // every row selects its reference implementation
void uVIndex();                 // every row that has a vector implementation selects it

void uCRoutines();  // every shared routine is the reference one
void uVRoutines();  // every shared routine that has a vector twin is that

// Binds the remote entry points of the optional shared build: for each function that can run
// remotely, and for which it has one, the given column holds the entry point and the row selects
// it.
void uR(lumOperationMode mode, LUM_IMPL column);

#endif  // LUMEN_MODE_H
