#include "frontend/UsageText.h"

#include "include/Print.h"

void printProgramHeader() {
  print(
      "rvxcopy\n"
      "Secure Copy and Verify of movies and image sequences (comes without any warranty)\n"
      "\n");
}

void printUsage() {
  // "filname" stays as it is spelt: drivers compare the text.
  print(
      "Usage:\n"
      "  rvxcopy [-s] /source/file.mov /path/dest1/ [/path/dest2/[filname.mov] /path/dest3/[filname.mov] "
      "..]\n"
      "\n"
      "  Options: -v             : verbose, prints progress during copy and verify\n"
      "           -s             : marks a sequence (including #### etc.)\n"
      "           -t (md5|sha1)  : hash type, md5 or sha1 (default: sha1)\n"
      "           -f             : force overwrite mode (if file exists, don't error but overwrite it)\n"
      "           -p n           : preserve the source folder structure to a depth of n. n can be between 0 "
      "and 6 (default is 0)\n"
      "           -o (0|1)       : write output hash file (default: 1)\n"
      "           -n             : skip file verification after copy\n");
}
