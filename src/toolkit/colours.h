// The table of named interface colours. Every drawing call takes a slot
// number; some slots come from the interface picture's palette column, so a
// new picture is a new look, and five slots blink with the frame pulse.
#pragma once

enum { colr_slots = 100, colr_spectrum_size = 1000 };
// Slots from this one up are plain colours that the light does not tint.
enum { colr_first_plain = 45 };

class colr_class {
 public:
  colr_class();   // the constant slots; all others black

  void assign(int slot, float r, float g, float b);   // no bounds check
  // Raises each channel of lit to at least 0.75.
  void set_lites_for_interface();
  // Slot 47 from the light: 0 channel-wise max of lit and the light value,
  // 1 the light value, 2 the second light value; others raise "bad col_type!".
  void set_lit_col(int kind);
  void spectrum_init(int kind);
  void spectrum_plotscale(float lo, float hi, float x, float y);

  float col[colr_slots][3];
  float lit[3] = {1, 1, 1};
  float spec_lo = 0, spec_hi = 0, spec_span = 0;
  float spectrum[colr_spectrum_size][3];
};
extern colr_class colr;

// The light values that set_lit_col reads (the simulator's sun); constant here.
extern float ren_light_value[3];
extern float ren_light_value_2[3];

// Reads the image-derived slots from an RGBA picture of 512 by 512, row 0
// first (the interface sheet as it lies in scratch_array), then slot 38 as
// the mean of 37 and 40.
void colr_read_palette(const unsigned char* rgba, int width, int height);
// The five blinking slots for a pulse p (0.7 + 0.3 sin(20 t)).
void colr_set_blink(float p);
// The seven-stop scale (black, red, orange, yellow, green, blue, violet) at
// f clamped to 0..1, with the mono rule applied: what OGL_spectrum_rgb sends.
void colr_spectrum_value(float f, float out[3]);
// Sets the current GL colour from the seven-stop scale; f clamped to 0..1.
void OGL_spectrum_rgb(float f);
