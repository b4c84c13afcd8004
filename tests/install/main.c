// Uses an installed library from C; says where it comes from only by its success.

#include <lumen/lumen.h>
#include <stdio.h>
#include <string.h>

int main(void) {
  char version[8];
  const uint8_t a[4] = {9, 8, 7, 6}, b[4] = {6, 7, 8, 9}, expected[4] = {3, 1, 1, 3};
  uint8_t difference[4] = {0};
  void* block = lumMemAlloc(100, 64);

  lumGetVersion(version, sizeof(version));
  lumMemFree(block);
  if (strcmp(version, "1.7.1") != 0 || !block) return 1;
  if (lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE) != 0) return 2;
  lumAbsDiffu8(a, b, 4, 1, 0, difference, 0);
  lumCleanUp();
  return memcmp(difference, expected, sizeof(expected)) == 0 ? 0 : 3;
}
