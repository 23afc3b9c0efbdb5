#include "platform/files/RVXChunkReader.h"

bool RVXChunkReader::readNext() {
  RVXBlock& chunk = mChunks[mCurrent];
  mCurrent = 1 - mCurrent;
  if (chunk.storage().empty()) chunk = RVXBlock::withCapacity(mChunkSize);
  mReader.read(chunk, mRecovery);
  mQueue.waitUntilAllOperationsAreFinished();
  mBytesRead += chunk.length();
  const bool isLast = chunk.length() != mChunkSize;
  for (const Taker& taker : mTakers) {
    // After the last chunk there is nothing to read meanwhile, and for a small file a thread costs more than
    // it saves.
    if (isLast) {
      taker(chunk.bytes());
    } else {
      mQueue.addOperation([&taker, &chunk] { taker(chunk.bytes()); });
    }
  }
  return !isLast;
}
