#pragma once

// Every status with which the process ends itself. Drivers depend on the numbers.
enum class ExitStatus : int {
  finished = 0,
  tooFewArguments = 100,
  destinationFolderNotCreated = 101,
  sourceArgumentMissing = 102,
  destinationArgumentMissing = 103,
  sourceNotAFile = 104,
  depthWrong = 106,
  destinationFileExists = 107,
  hashTypeWrong = 108,
  // One number for three unrelated causes. Drivers depend on it, so it stays shared.
  writeHashListValueMissing = 109,
  wrongHash = 109,
  verifyReadFailed = 109,
  sequenceIdentifierWrong = 113,
  hashFolderNotCreated = 114,
  hashListNotWritten = 115,
  destinationFileMissing = 116,
  // The machine refuses something that every run needs: a digest, a thread, memory.
  machineRefused = 117,
  sourceNotOpened = 200,
  destinationNotOpened = 201,
  writeFailed = 211,
  noSpaceLeft = 212,
  readFailed = 220,
};
