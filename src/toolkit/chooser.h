// The program's own folder chooser: a modal screen on window 998 that lists
// a folder, walks the tree and picks a folder. Its listing lives in the core
// (files/listing.h) so the destination check can read a folder without it.
#pragma once
#include <string>

// Runs the chooser from start (null: where it last stood). 1 with the chosen
// folder in result (at least 2048 bytes), 0 on Cancel or when another screen
// took the window. Only start and result are read: the chooser always picks a
// folder and shows its own texts.
int GetFilePathFromUser(int mode, const char* prompt, const char* action, int filter,
                        const char* start, char* result);

// The scrolled list of the listing's first count entries, rows of 20 pixels
// with the kind's icon. (x, y) is the left end of the list's middle line; w or
// h of 0 or less take the chooser's 280 by 200. A click in a row selects it
// and returns 1. index is the scroll bar's slider number; type 994, 998 or 999.
int BTN_big_name_list(int type, int index, float x, float y, float w, float h, int* top,
                      int* selected, int count);

// A path field with a browse button that opens the chooser on the path; 1
// when a new path was chosen. open_save 998 or 999, file_path 0 or 1,
// file_type 0 to 17: anything else is a fatal mistake of the caller.
int BTN_select_file_stl(float x, float y, int open_save, int file_path, int file_type,
                        std::string* path, const std::string& label);
// The same over a char array of at least 2048 bytes.
int BTN_select_file_chr(float x, float y, int open_save, int file_path, int file_type,
                        char* path, const std::string& label);

