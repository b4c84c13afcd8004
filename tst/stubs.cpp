#include "lumenTestBuffer.h"
