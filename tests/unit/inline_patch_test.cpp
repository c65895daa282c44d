// What refuses to be redirected, on every system.
#include <gtest/gtest.h>

#include "win/util/InlinePatch.h"

namespace qx {
namespace {

TEST(InlinePatch, WhatIsNoFunctionIsRefusedAndStaysAsItWas) {
  EXPECT_EQ(nullptr, FindSystemFunction(L"no-such-module.dll", "GetVersion"));
  EXPECT_EQ(nullptr, FindSystemFunction(L"kernel32.dll", "NoSuchFunction"));
  static int data = 0;
  for (void* const address : {static_cast<void*>(&data), static_cast<void*>(nullptr)}) {
    std::atomic<void*> function = address;
    EXPECT_NE("", Redirect(function, &data));
    EXPECT_EQ(address, function.load());
  }
}

}  // namespace
}  // namespace qx
