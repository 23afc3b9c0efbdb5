#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "platform/threads/RVXAtomicProperty.h"

TEST(RVXAtomicPropertyTest, KeepsWhatItIsGivenAndReleasesWhatItHad) {
  RVXAtomicProperty<std::shared_ptr<int>> property;
  EXPECT_EQ(property.get(), nullptr);
  property.set(std::make_shared<int>(1));
  const std::weak_ptr<int> first = property.get();
  property.set(std::make_shared<int>(2));
  EXPECT_TRUE(first.expired());
  EXPECT_EQ(*property.get(), 2);
}

TEST(RVXAtomicPropertyTest, IsReadAndWrittenWhole) {
  const std::string shortText(10, 'a');
  const std::string longText(1000, 'b');
  RVXAtomicProperty<std::string> property(shortText);
  std::atomic<bool> isTorn{false};
  {
    const std::jthread writer([&] {
      for (int i = 0; i < 1000; ++i) property.set(i % 2 == 0 ? longText : shortText);
    });
    for (int i = 0; i < 1000; ++i) {
      const std::string text = property.get();
      if (text != shortText && text != longText) isTorn = true;
    }
  }
  EXPECT_FALSE(isTorn);
}
