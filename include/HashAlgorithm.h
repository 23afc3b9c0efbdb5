#pragma once

#include <cstdint>
#include <string>

// The choice of the digest, handed to every operation as a 32-bit code. Codes other than the two named here
// are legal values: each operation says what it does with them.
enum class HashAlgorithm : int32_t { SHA1 = 0, MD5 = 1 };

// The label that hash lists use: "MD5" for MD5, "SHA1" for every other code.
inline std::string hashAlgorithmLabel(HashAlgorithm algorithm) {
  return algorithm == HashAlgorithm::MD5 ? "MD5" : "SHA1";
}

// The label in lower case ("md5", "sha1"); it names the hash list's folder and file extension.
inline std::string lowerCaseHashAlgorithmLabel(HashAlgorithm algorithm) {
  return algorithm == HashAlgorithm::MD5 ? "md5" : "sha1";
}
