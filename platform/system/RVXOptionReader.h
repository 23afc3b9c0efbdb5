#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

// Reads a command line by the GNU rules: options before or after operands, "--" ends them, values joined or
// apart, long names may be cut where only one fits. To be used once in a process, by one thread.
class RVXOptionReader {
 public:
  // An option that the program knows. Short ones have a letter, long ones a name.
  struct Known {
    char letter = '\0';
    const char* name = nullptr;
    bool takesValue = false;
  };

  struct Read {
    enum class Kind { option, operand, unknown, valueMissing };
    Kind kind = Kind::operand;
    std::string option;  // its letter or whole long name; what was given where it is unknown
    std::string value;   // of an option that takes one, or the operand
  };

  // All the arguments after the program's name, in order.
  static std::vector<Read> readAll(int argumentCount, char* argumentVector[], std::span<const Known> known);
};
