// Module MEM, in parts.

#ifndef LUMEN_TEST_MEM_H
#define LUMEN_TEST_MEM_H

#include <cstdint>

// Allocates blocks of all sizes and alignments that matter; returns 1 when any of them is missing
// or misaligned, otherwise 0.
int LUMEN_TEST_CheckMemAlignment(void* (*alloc)(uint32_t nBytes, uint32_t byteAlignment),
                                 void (*free)(void* ptr));

// The step that the random copy pattern goes to after `line`; it visits each of `lineCount` (a
// power of two) once before it comes back to where it began.
uint32_t LUMEN_TEST_NextRandomLine(uint32_t line, uint32_t lineCount);

#endif  // LUMEN_TEST_MEM_H
