// The global output streams: xer is the log every subsystem writes to, ouf
// the one data file being written at the moment.
#pragma once
#include <fstream>
#include <string>

extern std::ofstream xer;   // "Log.txt" beside the program
extern std::ofstream ouf;   // the one output file of the moment
extern std::ofstream dat;   // reserved, never opened here
extern std::ofstream cyc;   // reserved, never opened here

enum { file_type_binary = 10000, file_type_text = 10001 };

// Opens ouf on path (any separator style) and writes the versioned header
// that xmap_class::check_file expects. False, after a warning, on failure.
bool ouf_open(std::string path, int type, int version, std::string copyright);

// Opens the log (truncating) at path and writes its header. A log that can't
// be opened leaves xer failed: later writes are lost, nothing else happens.
void log_open(const std::string& path);
// Opens the log as "Log.txt" in folder, the program's own; where that can't
// be written (an installed program in /usr/local/bin), in ~/.zephyra/
// instead. Returns the path of the log, "" when neither could be opened.
std::string log_open_beside(const std::string& folder);
// The header lines that begin every log.
void write_log_header(std::ostream& out);
// The compiler's date and time ("Oct  4 2006", "12:19:22") as the header
// shows them: "Oct 04 2006 12:19:22".
std::string build_date_text(const char* date, const char* time);

// What --version prints: the program's name, version, build and build date.
std::string version_text(const std::string& program);
