#include <sys/time.h>

#include "lumen/lumenControl.h"

int64_t lumGetTime() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  return int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}
