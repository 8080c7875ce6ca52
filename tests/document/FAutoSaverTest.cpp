#include "document/FAutoSaver.h"

#include <gtest/gtest.h>

#include <vector>

namespace vantor {
namespace {

// Saves whenever the clock has reached its due time.
class TestSaver : public FAutoSaver {
 public:
  TestSaver(int64_t dueMs, std::vector<int>* log, int id) : due_(dueMs), log_(log), id_(id) {}
  bool autoSaveIfDue(const FClock& clock) override {
    if (clock.nowMs() < due_) return false;
    log_->push_back(id_);
    if (onSave) onSave();
    return true;
  }
  std::function<void()> onSave;

 private:
  int64_t due_;
  std::vector<int>* log_;
  int id_;
};

TEST(FAutoSavers, RunsEverySaverInOrderAndCountsTheSaves) {
  FAutoSavers list;
  std::vector<int> log;
  TestSaver early(100, &log, 1);
  TestSaver late(500, &log, 2);
  list.add(&early);
  list.add(&late);
  list.add(&early);  // once only
  EXPECT_EQ(list.count(), 2u);
  FManualClock clock(0);
  EXPECT_EQ(list.runDue(clock), 0);
  clock.set(100);
  EXPECT_EQ(list.runDue(clock), 1);
  clock.set(500);
  EXPECT_EQ(list.runDue(clock), 2);
  EXPECT_EQ(log, (std::vector<int>{1, 1, 2}));
  list.remove(&early);
  EXPECT_FALSE(list.contains(&early));
  EXPECT_EQ(list.runDue(clock), 1);
}

TEST(FAutoSavers, ASaverRemovedWhileTheListRunsIsSkipped) {
  FAutoSavers list;
  std::vector<int> log;
  TestSaver first(0, &log, 1);
  TestSaver second(0, &log, 2);
  first.onSave = [&] { list.remove(&second); };
  list.add(&first);
  list.add(&second);
  FManualClock clock;
  EXPECT_EQ(list.runDue(clock), 1);
  EXPECT_EQ(log, std::vector<int>{1});
}

}  // namespace
}  // namespace vantor
