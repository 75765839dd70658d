// The keyboard: an X keysym becomes the program's key code and typed
// character, which feed the text buffer stl_input, return_hit and the
// application's key hook.
#pragma once

// Codes in the form of the classic scan codes; character keys have code 0.
enum {
  key_return = 0x2400,
  key_tab = 0x3000,
  key_erase = 0x3300,       // never produced here, but still erases
  key_backspace = 0x752F,   // Delete shares it
  key_insert = 0x6D00,      // F10 shares it
  key_down = 0x7D00,
  key_up = 0x7E00,
  key_right = 0x7C00,
  key_left = 0x7B00,
  key_prior = 0xEA65,
  key_next = 0xEA66,
  key_unknown = -999,
  // Arrows with Shift held.
  key_shift_up = 50000,
  key_shift_left = 50001,
  key_shift_down = 50002,
  key_shift_right = 50003,
};

class keys_class {
 public:
  // Reads the key-list file; alerts when there is none. Not called here.
  void init();
  // Every non-modifier key press.
  void handle_key(unsigned long keysym);
};
extern keys_class keys;

void function_key(int);

// What a keysym name stands for before Shift: its code and character (0 for
// none). Unknown names give key_unknown and no character.
void key_lookup(const char* name, int* code, int* ch);
// The character on a United States keyboard with Shift held.
int key_shift_char(int ch);

// Puts keys into the shell's key hook.
void KEYS_install_hook();
