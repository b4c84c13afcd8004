#include "lumen/lumen.h"
