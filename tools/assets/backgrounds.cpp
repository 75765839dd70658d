#include "assets/images.h"
#include "toolkit/sheet.h"

raster draw_background(int) { return raster(sheet_back_w, sheet_back_h); }
