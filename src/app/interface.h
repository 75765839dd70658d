// Buttons and pictures cut from the installer sheet (texture 376).
#pragma once

// Draws the w by h cell at texel (u, v) of the sheet at (x, y). With hot set
// the cell moves down the sheet: v - (h + 1) under the pointer, v - 2 (h + 1)
// while also pressed. tint 1 green, 2 red, else white. Returns 1 on a click
// inside, whatever hot is.
int interface_rect(float x, float y, float u, float v, float w, float h, int hot, int tint);
// The 64 by 64 cell i of the sheet, neither hot nor tinted.
void interface_icon(float x, float y, int i);
// The v that interface_rect draws from for the present pointer (for tests).
float interface_rect_v(float x, float y, float v, float w, float h, int hot);
