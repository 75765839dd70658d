// Keeping the installer's writes inside one folder. Names come from the
// network, and links restored by an earlier archive can stand anywhere on
// the way, so every judgement is made on the real path, links followed.
#pragma once
#include <string>

// The real path of a folder that may not exist yet: its deepest existing
// ancestor resolved through links, the rest joined as written. Empty when
// the rest climbs with ".." or passes a link that leads nowhere.
std::string real_folder(const std::string& path);

// True when creating, replacing or removing path touches nothing outside
// root: the folder holding it, links followed, is root or lies below it, and
// its own name is no "." or "..". Both go through the separator rule first.
bool lies_inside(const std::string& path, const std::string& root);

// True when a symbolic link made at link_path with this target leads to a
// place inside root. Absolute targets never do; a ".." may only lead the
// target, where it climbs from the link's real folder.
bool link_stays_inside(const std::string& link_path, const std::string& target,
                       const std::string& root);
