#include "files/loading.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "fakes/failures/failing_threads.h"

namespace lumivex_test {
namespace {

struct Word {
  static Word Failed(const std::string &reason) { return {"failed: " + reason}; }
  std::string text;
};

using Words = lumivex::Loading<Word>;

TEST(Loader, DoesOneAfterTheOtherOnAThreadOfItsOwn) {
  std::promise<std::vector<int>> done;
  std::vector<int> order;
  const auto own = std::this_thread::get_id();
  lumivex::Loader loader;
  for (int i = 0; i < 5; ++i) loader.Do([&, i] { order.push_back(std::this_thread::get_id() == own ? -1 : i); });
  loader.Do([&] { done.set_value(order); });
  EXPECT_EQ(done.get_future().get(), (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(Loading, BringsNothingUntilItIsThere) {
  std::promise<void> go_on;
  lumivex::Loader loader;
  Words words;
  words.Start(loader, [&](const std::atomic<bool> &) {
    go_on.get_future().wait();
    return Word{"read"};
  });
  EXPECT_FALSE(words.Take(false));
  EXPECT_TRUE(words.Pending());
  go_on.set_value();
  const std::optional<Word> word = words.Take(true);
  ASSERT_TRUE(word);
  EXPECT_EQ(word->text, "read");
  EXPECT_FALSE(words.Pending());
  EXPECT_FALSE(words.Take(true)) << "once";
}

TEST(Loading, IsCancelledWithoutWaitingForTheReader) {
  std::promise<void> begun;
  std::promise<void> go_on;
  std::promise<bool> told;
  lumivex::Loader loader;
  Words words;
  words.Start(loader, [&](const std::atomic<bool> &cancelled) {
    begun.set_value();
    go_on.get_future().wait();
    told.set_value(cancelled);
    return Word{"first"};
  });
  begun.get_future().wait();
  words.Start(loader, [](const std::atomic<bool> &) { return Word{"second"}; });  // would stand here for ever
  go_on.set_value();
  EXPECT_TRUE(told.get_future().get());
  const std::optional<Word> word = words.Take(true);
  ASSERT_TRUE(word);
  EXPECT_EQ(word->text, "second");
}

TEST(Loading, CountsAsPendingUntilItIsTakenOrCancelled) {
  lumivex::Loader loader;
  Words taken;
  Words cancelled;
  const int before = lumivex::PendingLoad::Count();
  for (Words *words : {&taken, &cancelled})
    words->Start(loader, [](const std::atomic<bool> &) { return Word{"read"}; });
  EXPECT_EQ(lumivex::PendingLoad::Count(), before + 2);
  taken.Take(true);
  EXPECT_EQ(lumivex::PendingLoad::Count(), before + 1);
  cancelled.Cancel();
  EXPECT_EQ(lumivex::PendingLoad::Count(), before);
}

TEST(Loading, TurnsWhatIsThrownIntoAFailure) {
  lumivex::Loader loader;
  Words words;
  words.Start(loader, [](const std::atomic<bool> &) -> Word { throw std::runtime_error("no memory"); });
  EXPECT_EQ(words.Take(true)->text, "failed: no memory");
}

TEST(Loading, FailsWhereNoThreadCanBeMadeAndReadsOnceOneCan) {
  lumivex::Loader loader;
  Words words;
  const auto read = [](const std::atomic<bool> &) { return Word{"read"}; };
  {
    const vanta_test::failing_threads::Limit none(0);
    words.Start(loader, read);
  }
  const std::optional<Word> failed = words.Take(false);
  ASSERT_TRUE(failed);
  EXPECT_EQ(failed->text.rfind("failed: no thread to read it: ", 0), 0u) << failed->text;
  words.Start(loader, read);
  EXPECT_EQ(words.Take(true)->text, "read");
}

}  // namespace
}  // namespace lumivex_test
