#include "lumenTable.h"

#include <gtest/gtest.h>

TEST(Table, IsFilledWithReferencesAtStart) {
  EXPECT_EQ(LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_GPU], lumAbsDiffu8C);
}
