#include "assets/images.h"
#include "toolkit/sheet.h"

raster draw_installer_sheet(const image_fonts&) { return raster(sheet_installer_w, sheet_installer_h); }
