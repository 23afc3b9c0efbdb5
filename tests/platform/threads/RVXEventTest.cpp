#include <gtest/gtest.h>

#include "platform/threads/RVXEvent.h"
#include "platform/threads/RVXThread.h"
#include "tests/support/Waiting.h"

namespace {

using std::chrono_literals::operator""h;
using std::chrono_literals::operator""ms;

class RVXEventTest : public testing::Test {
 protected:
  const Deadline mDeadline;  // ends a wait that nothing else does
  RVXEvent mEvent;
};

}  // namespace

TEST_F(RVXEventTest, SignalEndsAWait) {
  const RVXThread signaller([&] { mEvent.signal(); });
  mEvent.waitAtMost(1h);
}

TEST_F(RVXEventTest, SignalBeforeAWaitEndsItAtOnce) {
  mEvent.signal();
  mEvent.waitAtMost(1h);
}

TEST_F(RVXEventTest, OfTheFirstSignalsOnlyTheLastCountsAndFromThenOnEach) {
  RVXEvent event(3);
  const auto start = std::chrono::steady_clock::now();
  event.signal();
  event.signal();
  event.waitAtMost(5ms);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 5ms);
  event.signal();
  event.waitAtMost(1h);
  event.signal();
  event.waitAtMost(1h);
}

TEST_F(RVXEventTest, WaitEndsByItself) {
  mEvent.signal();
  mEvent.waitAtMost(1h);
  mEvent.waitAtMost(1ms);
}

TEST_F(RVXEventTest, ThreadSignalsItsEndWhenItIsFinished) {
  const auto ended = std::make_shared<RVXEvent>();
  const RVXThread thread([] {}, RVXThreadStanding::normal, ended);
  ended->waitAtMost(1h);
  EXPECT_TRUE(thread.isFinished());
}
