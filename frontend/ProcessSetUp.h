#pragma once

// Prepares the process before any argument is looked at. Standard descriptors that the caller closed lead to
// /dev/null. The signal handler is installed. As many files may be open as the parent allows. Standard output
// is unbuffered, so that a driver sees every line at once, also through a pipe. A write beyond the file size
// limit becomes a failed write instead of ending the process, and memory that is refused ends the process
// with ExitStatus::machineRefused.
void setUpProcess();

// Ends the process with ExitStatus::machineRefused when the machine refuses one of the digests (a host in
// FIPS mode has no MD5), so that this is found before anything is copied.
void requireDigests();
