#pragma once

// Prints the program's name and what it is, above the usage text.
void printProgramHeader();

// Prints the usage text.
void printUsage();
