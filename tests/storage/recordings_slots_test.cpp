// The slots of event recordings: which is oldest, and which comes next.

#include "storage/recordings_stage.hpp"

namespace dravik::test {
namespace {

class RecordingSlots : public recordings_fixture {};

TEST_F(RecordingSlots, HaveOldestInEverySetOfSlots) {
  for (unsigned set = 1; set < 32; ++set)
    for (int oldest = 0; oldest < 5; ++oldest) {
      std::array<bool, 5> used = {};
      if ((set >> oldest & 1) == 0)
        continue;
      clear();
      for (int slot = 0; slot < 5; ++slot)
        if ((set >> slot & 1) != 0) {
          used[static_cast<size_t>(slot)] = true;
          add(event_name(slot), slot == oldest ? 10 : 20 + slot);
        }
      const int32_t count = used[0] + used[1] + used[2] + used[3] + used[4];
      EXPECT_EQ(found(), (survey{0, -1, 0, count, oldest, next_slot(used, oldest)})) << set << ' ' << oldest;
    }
}

TEST_F(RecordingSlots, HaveNextAfterOldest) {
  add("EMA00001.TS", 300);
  add("EMB00001.TS", 100);
  add("EMD00001.TS", 200);
  EXPECT_EQ(found(), (survey{0, -1, 0, 3, 1, 2}));
  add("EMD00001.TS", 50);
  EXPECT_EQ(found(), (survey{0, -1, 0, 3, 3, 4}));
}

TEST_F(RecordingSlots, HaveNextCyclically) {
  add("EME00001.TS", 100);
  EXPECT_EQ(found(), (survey{0, -1, 0, 1, 4, 0}));
}

TEST_F(RecordingSlots, HaveNoNextIfAllAreInUse) {
  for (int slot = 0; slot < 5; ++slot)
    add(event_name(slot, slot + 1), 100 + slot);
  EXPECT_EQ(found(), (survey{0, -1, 0, 5, 0, -1}));
}

} // namespace
} // namespace dravik::test
