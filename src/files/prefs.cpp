// Loading and writing the tagged preference file.
#include "files/prefs.h"

#include <cstdio>
#include <cstdlib>

#include "files/log.h"
#include "files/xmap.h"

namespace {
const int kPrefsVersion = 8500;
}

scan_class::scan_class(const std::string& path, int dir) : direction(dir) {
  if (direction == scan_write) {
    ouf_open(path, file_type_text, kPrefsVersion, "no-copyright-string");
    return;
  }
  tags.clear();
  xmap_class map(path);
  int versions[] = {kPrefsVersion, 0};
  if (map.check_file(file_type_text, versions, nullptr, nullptr) == 0) return;
  std::string tag, value;
  while (map.mem_ptr < map.mem_end) {
    const unsigned char* before = map.mem_ptr;
    map.TXT_str_scan_space(&tag);
    if (!tag.empty()) {
      map.TXT_str_scan_eoln(&value);
      tags[tag] = value;  // a tag given twice: the last one wins
    } else {
      map.TXT_str_scan_eoln(nullptr);
    }
    if (map.mem_ptr == before) break;  // never spin on bytes no scan consumes
  }
}

scan_class::~scan_class() {
  // A failed close leaves ouf in its failed state, which is all the report there is.
  if (direction == scan_write) ouf.close();
}

const std::string* scan_class::find(const std::string& tag) const {
  auto it = tags.find(tag);
  return it == tags.end() ? nullptr : &it->second;
}

bool scan_class::int_io(int* value, const std::string& tag) {
  if (direction == scan_write) {
    char buf[32];
    snprintf(buf, sizeof buf, "%d", *value);
    ouf << tag << ' ' << buf << '\n';
    return false;
  }
  const std::string* text = find(tag);
  if (!text) return false;
  *value = static_cast<int>(strtol(text->c_str(), nullptr, 10));
  return true;
}

bool scan_class::float_io(float* value, const std::string& tag) {
  if (direction == scan_write) {
    char buf[64];
    snprintf(buf, sizeof buf, "%f", static_cast<double>(*value));
    ouf << tag << ' ' << buf << '\n';
    return false;
  }
  const std::string* text = find(tag);
  if (!text) return false;
  *value = static_cast<float>(strtod(text->c_str(), nullptr));
  return true;
}

bool scan_class::string_io(std::string* value, const std::string& tag) {
  if (direction == scan_write) {
    if (!value->empty()) ouf << tag << ' ' << *value << '\n';
    return false;
  }
  const std::string* text = find(tag);
  if (!text) return false;
  *value = *text;
  return true;
}
