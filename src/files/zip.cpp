// Zip archives on top of minizip: unpacking with modes, dates and links,
// and packing one file.
#include "files/zip.h"

#include <minizip/zip.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "files/inside.h"
#include "files/log.h"
#include "files/paths.h"
#include "files/xmap.h"

namespace {

const char* const kUnit = "Files/io_utils";

void note_error(int line) {
  sErrFile = kUnit;
  sErrLine = line;
}

const char* err_file() { return sErrFile ? sErrFile : ""; }

// minizip cannot open an archive whose end record sits at offset 0, which is
// exactly what an archive with no members looks like. Such a file is a
// valid, empty archive, not a damaged one.
bool is_empty_archive(const std::string& path) {
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return false;
  unsigned char rec[22];
  size_t got = fread(rec, 1, sizeof rec, f);
  long size = -1;
  if (got == sizeof rec && fseek(f, 0, SEEK_END) == 0) size = ftell(f);
  fclose(f);
  if (got != sizeof rec || size < 22) return false;
  if (memcmp(rec, "PK\x05\x06", 4) != 0) return false;
  unsigned entries_here = rec[8] | (rec[9] << 8);
  unsigned entries = rec[10] | (rec[11] << 8);
  unsigned comment_len = rec[20] | (rec[21] << 8);
  return entries_here == 0 && entries == 0 && size == 22 + static_cast<long>(comment_len);
}

// Opens, reads whole and closes the current member. On success data holds
// malloc'ed bytes the caller frees.
int read_member(void* zip, const unz_file_info& info, unsigned char** data, int* line) {
  *data = nullptr;
  int err = unzOpenCurrentFile(zip);
  if (err != UNZ_OK) {
    *line = __LINE__;
    return err;
  }
  unsigned long size = info.uncompressed_size;
  unsigned char* buf = static_cast<unsigned char*>(malloc(size ? size : 1));
  if (!buf) {
    unzCloseCurrentFile(zip);
    *line = __LINE__;
    return 12;
  }
  // unzReadCurrentFile counts in int; a member that large can't be read whole.
  int got = size <= static_cast<unsigned long>(INT_MAX)
                ? unzReadCurrentFile(zip, buf, static_cast<unsigned>(size))
                : -1;
  if (got < 0 || static_cast<unsigned long>(got) != size) {
    free(buf);
    unzCloseCurrentFile(zip);
    *line = __LINE__;
    return 20002;
  }
  err = unzCloseCurrentFile(zip);  // also where a bad CRC shows up
  if (err != UNZ_OK) {
    free(buf);
    *line = __LINE__;
    return err;
  }
  *data = buf;
  return 0;
}

// Where a member is written before it is renamed into place. The path has
// passed the separator rule already, and the longer name must not run into
// its limit; where ".part" would make the name too long for the system, it
// takes the place of the name's last characters.
std::string part_name(const std::string& path) {
  const size_t leaf = path.size() - (path.rfind('/') + 1);
  if (leaf + 5 <= 255) return path + ".part";
  return path.substr(0, path.size() - 5) + ".part";
}

void report_member(const char* words, int err, const std::string& path) {
  xer << words << err << ". file = " << err_file() << " line = " << sErrLine
      << ". inFile=" << path << "." << "\n";
}

}  // namespace

bool zip_name_escapes(const std::string& name) {
  if (name.empty()) return false;
  if (name[0] == '/' || name[0] == '\\' || name[0] == ':') return true;
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = name.find_first_of("/\\:", start);
    if (end == std::string::npos) end = name.size();
    if (end - start == 2 && name.compare(start, 2, "..") == 0) return true;
    start = end + 1;
  }
  return false;
}

int unzip_file(void* zip, std::string path, const unz_file_info& info) {
  unsigned char* data = nullptr;
  int line = 0;
  int err = read_member(zip, info, &data, &line);
  if (err == 0) {
    set_dir_chars(path);
    // The member is written beside its place and renamed over it when whole,
    // so a run killed part-way leaves the old file, never a cut-short one
    // that the next run would take for the user's own edit. The rename
    // replaces a link or read-only file in the way, never writes through it.
    const std::string part = part_name(path);
    unlink(part.c_str());
    FILE* f = fopen(part.c_str(), "wb");
    if (!f) {
      err = errno;
      line = __LINE__;
    } else {
      size_t size = info.uncompressed_size;
      if (fwrite(data, 1, size, f) != size) {
        err = ferror(f);
        if (err == 0) err = 5;
        line = __LINE__;
      }
      // Buffered bytes meet a full disk only here.
      if (fclose(f) != 0 && err == 0) {
        err = errno ? errno : 5;
        line = __LINE__;
      }
    }
    if (err == 0 && info.external_fa != 0) {
      chmod(part.c_str(), (info.external_fa >> 16) & 0777);
      time_t now = time(nullptr);
      struct tm when;
      localtime_r(&now, &when);
      when.tm_sec = info.tmu_date.tm_sec;
      when.tm_min = info.tmu_date.tm_min;
      when.tm_hour = info.tmu_date.tm_hour;
      when.tm_mday = info.tmu_date.tm_mday;
      when.tm_mon = info.tmu_date.tm_mon;
      when.tm_year = static_cast<int>(info.tmu_date.tm_year) - 1900;
      when.tm_isdst = -1;
      struct timeval times[2];
      times[0].tv_sec = mktime(&when);
      times[0].tv_usec = 0;
      times[1] = times[0];
      err = utimes(part.c_str(), times);
      if (err != 0) line = __LINE__;
    }
    if (err == 0 && rename(part.c_str(), path.c_str()) != 0) {
      err = errno ? errno : 5;
      line = __LINE__;
    }
    if (err != 0) unlink(part.c_str());
  }
  free(data);
  if (err != 0) {
    note_error(line);
    report_member("Zip to file failed with error ", err, path);
  }
  return err;
}

int unzip_symlink(void* zip, std::string path, const unz_file_info& info, const std::string& root) {
  unsigned char* data = nullptr;
  int line = 0;
  int err = read_member(zip, info, &data, &line);
  if (err == 0) {
    std::string target(reinterpret_cast<const char*>(data), info.uncompressed_size);
    set_dir_chars(path);
    // A link out would carry this run's later members, or the next run's, outside.
    if (!root.empty() && !link_stays_inside(path, target, root)) {
      xer << "UNZIP refused link \"" << path << "\" -> \"" << target << "\": it leads outside "
          << root << "\n";
      free(data);
      note_error(__LINE__);
      report_member("Zip to symlink failed with error ", 20002, path);
      return 20002;
    }
    delete_file(path);
    if (symlink(target.c_str(), path.c_str()) != 0) {
      err = errno ? errno : 5;
      line = __LINE__;
    }
  }
  free(data);
  if (err != 0) {
    note_error(line);
    report_member("Zip to symlink failed with error ", err, path);
  }
  return err;
}

int zip_to_file(std::string zip_path, std::string out_folder, std::string* first_name, int use_name,
                std::string root, unsigned long max_size) {
  zip_path = app_path + zip_path;
  out_folder = app_path + out_folder;
  set_dir_chars(zip_path);
  set_dir_chars(out_folder);
  if (root.empty()) root = out_folder;

  // The name every member goes to when use_name is set, as the caller gave it.
  std::string given_name;
  if (use_name && first_name) given_name = *first_name;
  else use_name = 0;

  unzFile zip = unzOpen(zip_path.c_str());
  if (!zip) {
    if (is_empty_archive(zip_path)) return 0;
    xer << "ok i am about to report that i could not open a zip file for extraction!" << "\n";
    xer << "that incoming file is " << zip_path << "\n";
    xer << "in c-form, it is " << zip_path.c_str() << "\n";
    xer << "the size is " << zip_path.size() << "\n";
    note_error(__LINE__);
    int err = 20001;
    xer << "Zip to file failed with error err = " << err << ". file = " << err_file()
        << " line = " << sErrLine << ". zip_file=" << zip_path << ", out_directory=" << out_folder
        << "." << "\n";
    return err;
  }

  int err = UNZ_OK;
  unz_global_info global;
  if (unzGetGlobalInfo(zip, &global) == UNZ_OK && global.number_entry == 0)
    err = UNZ_END_OF_LIST_OF_FILE;
  else
    unzGoToFirstFile(zip);

  while (err == UNZ_OK) {
    unz_file_info info;
    char name_buf[256];
    err = unzGetCurrentFileInfo(zip, &info, name_buf, sizeof name_buf, nullptr, 0, nullptr, 0);
    if (err != UNZ_OK) {
      xer << "unzGetCurrentFileInfo err != UNZ_OK! err=" << err << "\n";
      break;
    }
    name_buf[sizeof name_buf - 1] = 0;
    std::string name(name_buf);
    std::string rel = use_name ? given_name : name;
    std::string target = out_folder + rel;

    if (first_name) {
      *first_name = name;
      set_dir_chars(*first_name);
      first_name = nullptr;
    }

    bool is_folder = !name.empty() && name.back() == '/';
    // Resource members a Macintosh adds; only the first 8 characters count.
    bool mac_junk = name.compare(0, 8, "__MACOSX") == 0;

    if (!mac_junk) {
      std::string os_target = target;
      set_dir_chars(os_target);
      if (zip_name_escapes(rel) || !lies_inside(os_target, root)) {
        xer << "UNZIP refused member \"" << name << "\": it would land outside the folder "
            << out_folder << "\n";
        note_error(__LINE__);
        err = 20002;
      } else if (!is_folder && info.uncompressed_size > max_size) {
        // Members are read whole; the size must be judged before the memory is taken.
        xer << "UNZIP refused member \"" << name << "\": " << info.uncompressed_size
            << " bytes, more than the " << max_size << " it may have\n";
        note_error(__LINE__);
        err = 27;
      } else if (is_folder) {
        err = make_folder(target);
        if (!show_make_dir_err(err)) err = 0;
      } else if (((info.external_fa >> 16) & 0xA000) == 0xA000) {
        err = unzip_symlink(zip, target, info, root);
      } else {
        err = unzip_file(zip, target, info);
      }
      if (err != 0) {
        xer << "UNZIP zip_to_file failed with err=" << err << "\n";
        note_error(__LINE__);
        break;
      }
    }
    err = unzGoToNextFile(zip);
  }

  unzClose(zip);
  if (err == UNZ_END_OF_LIST_OF_FILE || err == 0) return 0;
  xer << "Zip to file failed with error err = " << err << ". file = " << err_file()
      << " line = " << sErrLine << ". zip_file=" << zip_path << ", out_directory=" << out_folder
      << "." << "\n";
  return err;
}

int file_to_zip(std::string path, std::string zip_path) {
  path = app_path + path;
  zip_path = app_path + zip_path;
  set_dir_chars(zip_path);
  std::string os_path = path;
  set_dir_chars(os_path);
  size_t cut = os_path.rfind('/');
  std::string name = cut == std::string::npos ? os_path : os_path.substr(cut + 1);

  int err = 0;
  xmap_class map(path);
  if (!map.mem_beg) {
    err = 20006;
    note_error(__LINE__);
  } else {
    zipFile zf = zipOpen(zip_path.c_str(), APPEND_STATUS_CREATE);
    if (!zf) {
      err = 20003;
      note_error(__LINE__);
    } else {
      zip_fileinfo zi;
      memset(&zi, 0, sizeof zi);
      struct stat st;
      if (stat(os_path.c_str(), &st) == 0) {
        struct tm when;
        localtime_r(&st.st_mtime, &when);
        zi.tmz_date.tm_sec = when.tm_sec;
        zi.tmz_date.tm_min = when.tm_min;
        zi.tmz_date.tm_hour = when.tm_hour;
        zi.tmz_date.tm_mday = when.tm_mday;
        zi.tmz_date.tm_mon = when.tm_mon;
        zi.tmz_date.tm_year = when.tm_year + 1900;
        zi.external_fa = static_cast<uLong>(st.st_mode) << 16;
      }
      err = zipOpenNewFileInZip(zf, name.c_str(), &zi, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                                Z_DEFAULT_COMPRESSION);
      size_t size = static_cast<size_t>(map.mem_end - map.mem_beg);
      // One write call takes an unsigned count.
      if (err == ZIP_OK && size > UINT_MAX) err = 20005;
      if (err == ZIP_OK) err = zipWriteInFileInZip(zf, map.mem_beg, static_cast<unsigned>(size));
      if (err == ZIP_OK) err = zipCloseFileInZip(zf);
      int close_err = zipClose(zf, nullptr);
      if (err == ZIP_OK) err = close_err;
      if (err != ZIP_OK) note_error(__LINE__);
    }
  }
  if (err != 0) {
    xer << "file_to_zip failed with error " << err << "." << "\n"
        << "file = " << err_file() << " line = " << sErrLine << "\n";
  }
  return err;
}
