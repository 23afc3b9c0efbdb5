#pragma once

#include <string>

// Whether the file is a manifest of ASC MHL that describes what is sent separately ("flatten"), so that its
// names say nothing of what lies around it. Reads only as far as it takes to know. False also for a file that
// can't be read.
bool isPackingList(const std::string& path);
