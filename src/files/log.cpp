#include "files/log.h"

#include <cctype>
#include <cstdint>
#include <sstream>

#include "files/alert.h"
#include "files/paths.h"

#ifndef ZEPHYRA_BUILD_NUMBER
#define ZEPHYRA_BUILD_NUMBER 0
#endif
#ifndef ZEPHYRA_VERSION
#define ZEPHYRA_VERSION "8.50"
#endif

std::ofstream xer;
std::ofstream ouf;
std::ofstream dat;
std::ofstream cyc;

std::string build_date_text(const char* date, const char* time) {
  std::string d = date;
  // The compiler pads a one-digit day with a blank; the header keeps the
  // fixed "Mmm dd yyyy" width with a zero instead.
  if (d.size() > 4 && d[4] == ' ') d[4] = '0';
  return d + " " + time;
}

void write_log_header(std::ostream& out) {
  out << "log.txt for " << "Zephyra 8.50" << ' ' << "Installer " << " build "
      << ZEPHYRA_BUILD_NUMBER << " compiled on " << build_date_text(__DATE__, __TIME__) << '\n';
  out << "This log file is generated automatically by Vantrell applications and contains "
         "diagnostics about your graphics hardware, installatoin, and\n";
  out << "any error conditions. If you need to contact tech support or file a bug, please send "
         "us this file. NOTE: this file is rewritten every time you\n";
  out << "start ANY of your Cirrovan applications.\n\n";
}

void log_open(const std::string& path) {
  xer.clear();
  if (xer.is_open()) xer.close();
  xer.clear();
  xer.open(path, std::ios::out | std::ios::trunc);
  xer.setf(std::ios::fixed, std::ios::floatfield);
  write_log_header(xer);
  xer.flush();
}

std::string log_open_beside(const std::string& folder) {
  log_open(folder + "Log.txt");
  if (xer.is_open()) return folder + "Log.txt";
  std::string home;
  get_OS_abs_path(4, home);
  if (home.empty()) return "";
  log_open(home + "Log.txt");
  return xer.is_open() ? home + "Log.txt" : "";
}

std::string version_text(const std::string& program) {
  std::ostringstream out;
  out << program << " " << ZEPHYRA_VERSION << " build " << ZEPHYRA_BUILD_NUMBER << " (compiled on "
      << build_date_text(__DATE__, __TIME__) << ")";
  return out.str();
}

bool ouf_open(std::string path, int type, int version, std::string copyright) {
  if (type != file_type_binary && type != file_type_text)
    MACIBM_alert(0, "Bad ouf_open type!", path, "", "", alert_fatal);

  std::string full = app_path + path;
  // Extensions are stored lower case whatever the caller wrote (".PRF").
  if (full.size() > 3)
    for (size_t i = full.size() - 3; i < full.size(); ++i)
      full[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(full[i])));
  if (full.size() >= 500) MACIBM_alert(0, "String too long!", full, "", "", alert_fatal);

  // findPath works in place on a buffer of the size the file layer allows.
  char buf[500] = {0};
  size_t n = full.size() < sizeof(buf) - 1 ? full.size() : sizeof(buf) - 1;
  for (size_t i = 0; i < n; ++i) {
    char c = full[i];
    buf[i] = (c == '\\' || c == ':' || c == '/') ? '/' : c;
  }
  buf[n] = 0;
  if (g_case_sensitive) findPath(buf);
  full = buf;

  ouf.clear();
  if (ouf.is_open()) ouf.close();
  ouf.clear();

  if (type == file_type_binary) {
    ouf.open(full, std::ios::out | std::ios::binary | std::ios::trunc);
    // "i" and the version in the machine's own byte order: the reader
    // learns the writer's order from them.
    ouf.put('i');
    int32_t v = version;
    ouf.write(reinterpret_cast<const char*>(&v), sizeof(v));
  } else {
    ouf.open(full, std::ios::out | std::ios::trunc);
    ouf.setf(std::ios::fixed, std::ios::floatfield);
    ouf << "I\n" << version << " version";
    if (copyright != "no-copyright-string") ouf << copyright;
    ouf << '\n';
  }

  if (ouf.fail()) {
    MACIBM_alert(0,
                 "I could not save the file! Could the directory that the file sits in be "
                 "missing? Or flagged as READ-ONLY by the operating system? (Windows machines "
                 "typically do this).",
                 full,
                 "Could the file be flagged as read-only? This happens in Windows if you copy it "
                 "from a CD!",
                 "Try putting this stg.in the background and then flag the file as NOT read-only, "
                 "or creating the folder listed in the path above.",
                 alert_warning);
    return false;
  }
  return true;
}
