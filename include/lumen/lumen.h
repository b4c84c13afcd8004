/// @file
/// Everything: the control of the library, its memory, and one header for each family of functions.

#ifndef LUMEN_H
#define LUMEN_H

#include "lumen/lumenArithm.h"
#include "lumen/lumenColor.h"
#include "lumen/lumenColorLayout.h"
#include "lumen/lumenColorRgb.h"
#include "lumen/lumenControl.h"
#include "lumen/lumenFast.h"
#include "lumen/lumenHarris.h"
#include "lumen/lumenMem.h"
#include "lumen/lumenMser.h"
#include "lumen/lumenTypes.h"

#endif  // LUMEN_H
